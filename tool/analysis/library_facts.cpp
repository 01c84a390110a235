// The library's laws, codes, names and sample rates, as the tool has to match them.
#include "analysis/library_facts.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace ezossl_tool {
namespace {

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

}  // namespace

double SpeedOfSound(double temperature_c) { return 331.0 + 0.6 * temperature_c; }

MicPositions UniformLinearPositions(double spacing) {
    MicPositions positions{};
    for (int i = 0; i < EZOSSL_MIC_NUM; ++i) positions[i] = {(i - 1.5) * spacing, 0.0};
    return positions;
}

MicPositions UniformCircularPositions(double diameter) {
    const double r = diameter / 2;
    return {Vec2{-r, 0.0}, Vec2{0.0, r}, Vec2{r, 0.0}, Vec2{0.0, -r}};
}

bool ClosesVotingPeriod(uint32_t status) {
    return status == SSL_RET_OK || status == SSL_RET_SIGNAL_TOO_WEAK || status == SSL_RET_NO_DIRECTION ||
           status == SSL_RET_DELAY_TOO_LARGE;
}

std::string StatusName(uint32_t status) { return NamedStatus(StatusNames(), status); }

std::string NamedStatus(const std::map<uint32_t, const char*>& names, uint32_t status) {
    const auto found = names.find(status);
    if (found != names.end()) return found->second;
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", status);
    return text;
}

bool IsSupportedRate(uint32_t rate) {
    return std::find(kSupportedRates.begin(), kSupportedRates.end(), rate) != kSupportedRates.end();
}

std::string SupportedRatesText() { return "8000, 16000, 32000 or 48000 Hz"; }

uint32_t NearestSupportedRate(uint32_t rate) {
    return *std::min_element(kSupportedRates.begin(), kSupportedRates.end(), [rate](uint32_t a, uint32_t b) {
        return std::llabs(int64_t(a) - rate) < std::llabs(int64_t(b) - rate);
    });
}

}  // namespace ezossl_tool
