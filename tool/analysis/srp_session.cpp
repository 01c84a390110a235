// Driving the SRP library through its public header: Init from the tool's settings, blocks, periods.
#include "analysis/srp_session.h"

#include <map>

#include "cli/errors.h"

namespace ezossl_tool {
namespace {

constexpr double kCmPerMetre = 100.0;

const std::map<uint32_t, const char*>& SrpStatusNames() {
    static const std::map<uint32_t, const char*> names = {
        {EZOSSL_SRP_RET_OK, "OK"},
        {EZOSSL_SRP_RET_PERIOD_FULL, "PERIOD_FULL"},
        {EZOSSL_SRP_RET_NULL_POINTER, "NULL_POINTER"},
        {EZOSSL_SRP_RET_INVALID_HANDLE, "INVALID_HANDLE"},
        {EZOSSL_SRP_RET_INVALID_SAMPLE_RATE, "INVALID_SAMPLE_RATE"},
        {EZOSSL_SRP_RET_INVALID_POSITIONS, "INVALID_POSITIONS"},
        {EZOSSL_SRP_RET_COINCIDENT_MICS, "COINCIDENT_MICS"},
        {EZOSSL_SRP_RET_ARRAY_TOO_SMALL, "ARRAY_TOO_SMALL"},
        {EZOSSL_SRP_RET_ARRAY_TOO_LARGE, "ARRAY_TOO_LARGE"},
        {EZOSSL_SRP_RET_INVALID_BAND, "INVALID_BAND"},
        {EZOSSL_SRP_RET_INVALID_FRAMES, "INVALID_FRAMES"},
        {EZOSSL_SRP_RET_INVALID_TEMPERATURE, "INVALID_TEMPERATURE"},
        {EZOSSL_SRP_RET_INVALID_THRESHOLD, "INVALID_THRESHOLD"},
        {EZOSSL_SRP_RET_SILENT, "SILENT"},
        {EZOSSL_SRP_RET_NO_BLOCKS, "NO_BLOCKS"},
    };
    return names;
}

}  // namespace

std::string SrpStatusName(uint32_t status) { return NamedStatus(SrpStatusNames(), status); }

SrpSession::SrpSession(const LibrarySettings& settings) {
    EzoSslSrpSetup setup = {};
    setup.sample_rate = settings.sample_rate;
    const MicPositions mics = MicrophonePositionsM(settings.array);
    for (int i = 0; i < EZOSSL_MIC_NUM; ++i) {
        setup.mic_pos_cm[2 * i] = static_cast<float>(mics[i].x * kCmPerMetre);
        setup.mic_pos_cm[2 * i + 1] = static_cast<float>(mics[i].y * kCmPerMetre);
    }
    setup.temperature_c = static_cast<float>(settings.temperature_c);
    setup.frames_per_period = static_cast<uint32_t>(settings.frames_per_vote);
    setup.level_threshold_db = static_cast<float>(settings.threshold_db);
    const uint32_t words = (EzoSslSrp_GetBufferSize() + sizeof(uint64_t) - 1) / sizeof(uint64_t);
    buffer_ = std::make_unique<uint64_t[]>(words);
    uint32_t status = EZOSSL_SRP_RET_OK;
    handle_ = EzoSslSrp_Init(buffer_.get(), &setup, &status);
    if (!handle_) throw LibraryRefusal("EzoSslSrp_Init", SrpStatusName(status), "");
}

void SrpSession::Process(const Block& block) { EzoSslSrp_Process(handle_, block.data()); }

SrpDirection SrpSession::ClosePeriod() {
    EzoSslSrpResult result = {};
    SrpDirection direction;
    direction.status = EzoSslSrp_GetDirection(handle_, &result);
    if (direction.status == EZOSSL_SRP_RET_OK) direction.degrees = result.direction_deg;
    direction.confidence = result.confidence;
    direction.level_dbfs = result.level_dbfs;
    return direction;
}

}  // namespace ezossl_tool
