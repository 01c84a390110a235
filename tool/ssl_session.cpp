// Driving the library through its public header: set-up, frames, voting periods, release.
#include "ssl_session.h"

#include <cmath>
#include <cstdio>
#include <map>

#include "console.h"
#include "errors.h"

namespace ezossl_tool {
namespace {

constexpr uint32_t kUniformLinear = 0;
constexpr uint32_t kUniformCircular = 1;
constexpr double kInt16Limit = 32768.0;

const std::map<uint32_t, const char*>& StatusNames() {
    static const std::map<uint32_t, const char*> names = {
        {SSL_RET_OK, "OK"},
        {SSL_RET_INIT_ERROR, "INIT_ERROR"},
        {SSL_RET_INVALID_CONFIG, "INVALID_CONFIG"},
        {SSL_RET_INVALID_HANDLE, "INVALID_HANDLE"},
        {SSL_RET_INVALID_SAMPLE_RATE, "INVALID_SAMPLE_RATE"},
        {SSL_RET_INVALID_POINT_NUMBER, "INVALID_POINT_NUMBER"},
        {SSL_RET_INVALID_BF_MODE, "INVALID_BF_MODE"},
        {SSL_RET_DELAY_TOO_LARGE, "DELAY_TOO_LARGE"},
        {SSL_RET_CALL_ORDER_ERROR, "CALL_ORDER_ERROR"},
        {SSL_RET_RUN_STATE_ERROR, "RUN_STATE_ERROR"},
        {SSL_RET_INVALID_MIC_NUMBER, "INVALID_MIC_NUMBER"},
        {SSL_RET_INVALID_GEOMETRY, "INVALID_GEOMETRY"},
        {SSL_RET_INVALID_ARRAY_POS, "INVALID_ARRAY_POS"},
        {SSL_RET_SIGNAL_TOO_WEAK, "SIGNAL_TOO_WEAK"},
        {SSL_RET_NO_DIRECTION, "NO_DIRECTION"},
        {SSL_RET_INVALID_MODE, "INVALID_MODE"},
        {SSL_RET_MODE_NOT_INCLUDED, "MODE_NOT_INCLUDED"},
        {SSL_RET_NULL_POINTER, "NULL_POINTER"},
        {SSL_RET_INVALID_GAIN, "INVALID_GAIN"},
    };
    return names;
}

LibraryRefusal Refusal(const char* function, const std::string& status) {
    return LibraryRefusal(function, status, Console::LastLibraryMessage());
}

}  // namespace

std::string StatusName(uint32_t status) {
    const auto found = StatusNames().find(status);
    if (found != StatusNames().end()) return found->second;
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", status);
    return text;
}

SslSession::SslSession(const LibrarySettings& settings) : gain_db_(settings.gain_db) {
    const uint32_t words = (EzoSsl_GetBufferSize() + sizeof(uint64_t) - 1) / sizeof(uint64_t);
    buffer_ = std::make_unique<uint64_t[]>(words);
    const SslInit init = {EZOSSL_POINT_NUMBER, settings.sample_rate,
                          static_cast<float>(InitDistanceCm(settings.array)), settings.delays_only ? 1u : 0u,
                          EZOSSL_MIC_NUM};
    // Init reports why it failed only in its message, so that is what the user gets.
    handle_.reset(EzoSsl_Init(buffer_.get(), &init));
    if (!handle_) throw Refusal("EzoSsl_Init", "no handle");

    const SslConfig config = {settings.temperature_c, settings.threshold_db, settings.frames_per_vote};
    Require(EzoSsl_Config(handle_.get(), &config), "EzoSsl_Config");
    switch (settings.array.kind) {
        case ArrayKind::kLinear:
            Require(EzoSsl_Set_Shape(handle_.get(), kUniformLinear), "EzoSsl_Set_Shape");
            break;
        case ArrayKind::kCircular:
            Require(EzoSsl_Set_Shape(handle_.get(), kUniformCircular), "EzoSsl_Set_Shape");
            break;
        case ArrayKind::kArbitrary: {
            float positions[2 * kMicrophones];
            for (int i = 0; i < kMicrophones; ++i) {
                positions[2 * i] = static_cast<float>(settings.array.positions_cm[i].x);
                positions[2 * i + 1] = static_cast<float>(settings.array.positions_cm[i].y);
            }
            Require(EzoSsl_Set_ArbitraryShape(handle_.get(), positions), "EzoSsl_Set_ArbitraryShape");
            break;
        }
    }
    Require(EzoSsl_Cal_Params(handle_.get()), "EzoSsl_Cal_Params");
    if (gain_db_) gain_factor_ = std::pow(10.0, *gain_db_ / 20.0);
}

PairDelays SslSession::Run(Block& block) {
    if (gain_db_) {
        CountWrappedSamples(block);
        Require(EzoSsl_ApplyDigitalGain(handle_.get(), block.data(), *gain_db_), "EzoSsl_ApplyDigitalGain");
    }
    PairDelays delays{};
    Require(EzoSsl_Run(handle_.get(), block.data(), delays.data()), "EzoSsl_Run");
    return delays;
}

PeriodDirection SslSession::CloseVotingPeriod() {
    int32_t degrees = EZOSSL_NO_DIRECTION;
    PeriodDirection result;
    result.status = EzoSsl_Get_Direction(handle_.get(), &degrees);
    const bool period_closed = result.status == SSL_RET_OK || result.status == SSL_RET_SIGNAL_TOO_WEAK ||
                               result.status == SSL_RET_NO_DIRECTION || result.status == SSL_RET_DELAY_TOO_LARGE;
    if (!period_closed) Require(result.status, "EzoSsl_Get_Direction");
    if (result.status == SSL_RET_OK) result.degrees = degrees;
    Require(EzoSsl_Reset_Mapping(handle_.get()), "EzoSsl_Reset_Mapping");
    return result;
}

void SslSession::Require(uint32_t status, const char* function) const {
    if (status != SSL_RET_OK) throw Refusal(function, StatusName(status));
}

// The library scales without saturating, so an over-large gain wraps loud samples around
// to the opposite sign; count them so the user can be warned.
void SslSession::CountWrappedSamples(const Block& block) {
    for (const int16_t sample : block) {
        if (std::abs(sample * gain_factor_) >= kInt16Limit) ++wrapped_samples_;
    }
}

}  // namespace ezossl_tool
