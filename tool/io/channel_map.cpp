// Parsing and checking the channel map; boards often deliver 6 or 8 channels in their own order.
#include "io/channel_map.h"

#include <cstdlib>
#include <sstream>
#include <vector>

#include "cli/errors.h"

namespace ezossl_tool {
namespace {

const char* const kMapHint = "give four channel numbers separated by commas, e.g. --map 1,2,3,4";

// The number as written, so that one too large for a long is still reported as typed.
struct ChannelNumber {
    long value;
    std::string text;
};

std::vector<ChannelNumber> ParseChannelNumbers(const std::string& text) {
    std::vector<ChannelNumber> numbers;
    std::istringstream stream(text);
    std::string item;
    while (std::getline(stream, item, ',')) {
        char* end = nullptr;
        const long number = std::strtol(item.c_str(), &end, 10);
        if (item.empty() || *end != '\0') throw UsageError("--map \"" + text + "\": " + kMapHint);
        numbers.push_back({number, item});
    }
    if (numbers.size() != EZOSSL_MIC_NUM) throw UsageError("--map \"" + text + "\": " + kMapHint);
    return numbers;
}

ChannelMap IdentityMap(int channels, const std::string& file) {
    if (channels < EZOSSL_MIC_NUM) {
        throw RunError("needs 4 channels, " + file + " has " + std::to_string(channels) +
                       "; record all four microphones into one file");
    }
    if (channels > EZOSSL_MIC_NUM) {
        throw RunError("needs 4 channels, " + file + " has " + std::to_string(channels) +
                       "; pick the microphones' channels with --map, e.g. --map 1,2,3,4");
    }
    return {0, 1, 2, 3};
}

}  // namespace

ChannelMap ResolveChannelMap(const std::optional<std::string>& map_text, int channels, const std::string& file) {
    if (!map_text) return IdentityMap(channels, file);
    const std::vector<ChannelNumber> numbers = ParseChannelNumbers(*map_text);
    ChannelMap map{};
    for (int mic = 0; mic < EZOSSL_MIC_NUM; ++mic) {
        const long channel = numbers[mic].value;
        if (channel < 1 || channel > channels) {
            throw UsageError("--map: " + file + " has channels 1 to " + std::to_string(channels) + ", not " +
                             numbers[mic].text);
        }
        for (int earlier = 0; earlier < mic; ++earlier) {
            if (map[earlier] == channel - 1) {
                throw UsageError("--map: channel " + std::to_string(channel) +
                                 " is given twice; each microphone needs its own channel");
            }
        }
        map[mic] = static_cast<int>(channel - 1);
    }
    return map;
}

}  // namespace ezossl_tool
