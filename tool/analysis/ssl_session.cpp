// Driving the library through its public header: set-up, frames, voting periods, release.
#include "analysis/ssl_session.h"

#include <cmath>

#include "cli/errors.h"
#include "io/console.h"

namespace ezossl_tool {
namespace {

LibraryRefusal Refusal(const char* function, const std::string& status) {
    return LibraryRefusal(function, status, Console::LastLibraryMessage());
}

}  // namespace

SslSession::SslSession(const LibrarySettings& settings) : mic_order_(settings.mic_order), gain_db_(settings.gain_db) {
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
            Require(EzoSsl_Set_Shape(handle_.get(), kUniformLinearShape), "EzoSsl_Set_Shape");
            break;
        case ArrayKind::kCircular:
            Require(EzoSsl_Set_Shape(handle_.get(), kUniformCircularShape), "EzoSsl_Set_Shape");
            break;
        case ArrayKind::kArbitrary: {
            float positions[2 * EZOSSL_MIC_NUM];
            for (int i = 0; i < EZOSSL_MIC_NUM; ++i) {
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
    if (mic_order_ != std::array<int, EZOSSL_MIC_NUM>{0, 1, 2, 3}) {
        const Block given = block;
        for (int n = 0; n < EZOSSL_POINT_NUMBER; ++n) {
            for (int mic = 0; mic < EZOSSL_MIC_NUM; ++mic) {
                block[n * EZOSSL_MIC_NUM + mic] = given[n * EZOSSL_MIC_NUM + mic_order_[mic]];
            }
        }
    }
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
    if (!ClosesVotingPeriod(result.status)) Require(result.status, "EzoSsl_Get_Direction");
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
        if (std::abs(sample * gain_factor_) >= kSampleFullScale) ++wrapped_samples_;
    }
}

}  // namespace ezossl_tool
