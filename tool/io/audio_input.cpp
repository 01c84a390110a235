// Reading recordings through libsndfile, mapping channels and converting samples to 16 bits.
#include "io/audio_input.h"

#include <sndfile.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "analysis/library_facts.h"
#include "cli/errors.h"
#include "io/channel_map.h"
#include "io/console.h"

namespace ezossl_tool {
namespace {

namespace fs = std::filesystem;

// libsndfile delivers every format as floats in [-1, 1) (integers scaled by their full scale),
// so one conversion serves 16-bit, 24-bit, 32-bit and float recordings alike.
constexpr double kInt16Max = kSampleFullScale - 1;
constexpr double kInt16Min = -kSampleFullScale;

std::string Quoted(const std::string& path) { return "\"" + path + "\""; }

// libsndfile channel limit.
constexpr int kMaxChannels = 1024;

void RequireReadableFile(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) throw RunError("cannot open " + Quoted(path) + ": no such file (check the path)");
    if (fs::is_directory(status)) throw RunError(Quoted(path) + " is a directory, not a recording");
    // A device or FIFO has no length to plan the periods by, and may never end.
    if (!fs::is_regular_file(status)) {
        throw RunError(Quoted(path) + " is not a regular file; save the recording to a file first");
    }
}

// libsndfile refuses a WAV header with a zero sample rate or channel count only as "internal
// error"; the canonical header tells which value is missing.
void RequireWavHeaderValues(const std::string& path) {
    unsigned char header[28] = {};
    std::ifstream(path, std::ios::binary).read(reinterpret_cast<char*>(header), sizeof header);
    if (std::memcmp(header, "RIFF", 4) != 0 || std::memcmp(header + 8, "WAVEfmt ", 8) != 0) return;
    const uint32_t channels = header[22] | header[23] << 8;
    const uint32_t rate = header[24] | header[25] << 8 | header[26] << 16 | uint32_t(header[27]) << 24;
    if (channels == 0 || rate == 0) {
        throw RunError(Quoted(path) + " is a WAV file whose header gives " + std::to_string(rate) + " Hz and " +
                       std::to_string(channels) + " channels; repair the header, or read the samples with --raw "
                       "--rate HZ --channels N");
    }
}

SF_INFO RawFormat(const AudioInputOptions& options) {
    if (!options.raw_rate || !options.raw_channels) {
        throw UsageError("--raw needs --rate HZ and --channels N, the file has no header to tell them");
    }
    if (options.raw_bits != 16 && options.raw_bits != 32) {
        throw UsageError("--bits " + std::to_string(options.raw_bits) + " is not supported; headerless PCM must be 16 or 32 bits");
    }
    if (!IsSupportedRate(*options.raw_rate)) {
        throw UsageError("--rate " + std::to_string(*options.raw_rate) + " Hz is not one the library supports; choose " +
                         SupportedRatesText() + " (resample the recording first)");
    }
    if (*options.raw_channels < 1 || *options.raw_channels > kMaxChannels) {
        throw UsageError("--channels must lie between 1 and " + std::to_string(kMaxChannels) + ", got " +
                         std::to_string(*options.raw_channels));
    }
    SF_INFO info{};
    info.samplerate = static_cast<int>(*options.raw_rate);
    info.channels = *options.raw_channels;
    info.format = SF_FORMAT_RAW | SF_ENDIAN_LITTLE | (options.raw_bits == 16 ? SF_FORMAT_PCM_16 : SF_FORMAT_PCM_32);
    return info;
}

void WarnAboutPartialRawFrame(const AudioInputOptions& options) {
    const uintmax_t frame_bytes = uintmax_t(*options.raw_channels) * (options.raw_bits / 8);
    const uintmax_t extra = fs::file_size(options.path) % frame_bytes;
    if (extra != 0) {
        Console::Warn("ignored the last " + std::to_string(extra) + " bytes of " + Quoted(options.path) +
                      ", too few for one sample of every channel (check --channels and --bits)");
    }
}

void RequireSupportedRate(uint32_t rate, const std::string& path) {
    if (IsSupportedRate(rate)) return;
    const std::string target = std::to_string(NearestSupportedRate(rate));
    throw RunError(Quoted(path) + " is sampled at " + std::to_string(rate) + " Hz, the library supports " +
                   SupportedRatesText() + "; resample it first, e.g. sox " + path + " -r " + target + " out-" +
                   target + ".wav");
}

class SndfileSource : public BlockSource {
  public:
    SndfileSource(SNDFILE* file, const SF_INFO& info, const ChannelMap& map)
        : file_(file), info_(info), map_(map), frames_(size_t(EZOSSL_POINT_NUMBER) * info.channels) {}
    ~SndfileSource() override { sf_close(file_); }

    int NextBlock(Block& block) override {
        const sf_count_t got = sf_readf_float(file_, frames_.data(), EZOSSL_POINT_NUMBER);
        for (int n = 0; n < EZOSSL_POINT_NUMBER; ++n) {
            for (int mic = 0; mic < EZOSSL_MIC_NUM; ++mic) {
                block[n * EZOSSL_MIC_NUM + mic] = n < got ? ToInt16(frames_[n * info_.channels + map_[mic]]) : 0;
            }
        }
        return static_cast<int>(got);
    }
    uint32_t SampleRate() const override { return static_cast<uint32_t>(info_.samplerate); }
    int64_t TotalInstants() const override { return info_.frames; }
    int64_t ClippedSamples() const override { return clipped_; }
    int64_t NanSamples() const override { return nan_; }

  private:
    // A NaN has no value to keep: it becomes silence, and is counted for the summary.
    int16_t ToInt16(float sample) {
        if (std::isnan(sample)) {
            ++nan_;
            return 0;
        }
        return FullScaleToInt16(sample, clipped_);
    }

    SNDFILE* file_;
    SF_INFO info_;
    ChannelMap map_;
    std::vector<float> frames_;
    int64_t clipped_ = 0;
    int64_t nan_ = 0;
};

}  // namespace

int16_t FullScaleToInt16(double sample, int64_t& clipped) {
    const double scaled = std::nearbyint(sample * kSampleFullScale);
    if (scaled > kInt16Max || scaled < kInt16Min) {
        ++clipped;
        return static_cast<int16_t>(scaled > 0 ? kInt16Max : kInt16Min);
    }
    return static_cast<int16_t>(scaled);
}

std::unique_ptr<BlockSource> OpenRecording(const AudioInputOptions& options) {
    if (!options.raw && (options.raw_rate || options.raw_channels)) {
        throw UsageError("--rate and --channels describe headerless PCM; use them with --raw");
    }
    RequireReadableFile(options.path);
    SF_INFO info = options.raw ? RawFormat(options) : SF_INFO{};
    SNDFILE* file = sf_open(options.path.c_str(), SFM_READ, &info);
    if (!file) {
        const std::string reason = sf_strerror(nullptr);
        if (options.raw) throw RunError("cannot read " + Quoted(options.path) + ": " + reason);
        RequireWavHeaderValues(options.path);
        throw RunError(Quoted(options.path) + " is not a recording libsndfile can read (" + reason +
                       "); for headerless PCM add --raw --rate HZ --channels N");
    }
    try {
        if (options.raw) WarnAboutPartialRawFrame(options);
        RequireSupportedRate(static_cast<uint32_t>(info.samplerate), options.path);
        if (info.frames <= 0) throw RunError(Quoted(options.path) + " holds no samples; record some sound first");
        const ChannelMap map = ResolveChannelMap(options.map, info.channels, options.path);
        return std::make_unique<SndfileSource>(file, info, map);
    } catch (...) {
        sf_close(file);
        throw;
    }
}

}  // namespace ezossl_tool
