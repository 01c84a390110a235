// Reading recordings through libsndfile or as headerless PCM, from files, pipes or standard input.
#include "io/audio_input.h"

#include <fcntl.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

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
#include "io/pcm_samples.h"
#include "io/stop_request.h"

namespace ezossl_tool {
namespace {

namespace fs = std::filesystem;

void RequireReadableFile(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) throw RunError("cannot open " + InputName(path) + ": no such file (check the path)");
    if (fs::is_directory(status)) throw RunError(InputName(path) + " is a directory, not a recording");
}

// libsndfile channel limit.
constexpr int kMaxChannels = 1024;

// libsndfile refuses a WAV header with a zero sample rate or channel count only as "internal
// error"; the canonical header tells which value is missing.
void RequireWavHeaderValues(const std::string& path) {
    unsigned char header[28] = {};
    std::ifstream(path, std::ios::binary).read(reinterpret_cast<char*>(header), sizeof header);
    if (std::memcmp(header, "RIFF", 4) != 0 || std::memcmp(header + 8, "WAVEfmt ", 8) != 0) return;
    const uint32_t channels = header[22] | header[23] << 8;
    const uint32_t rate = header[24] | header[25] << 8 | header[26] << 16 | uint32_t(header[27]) << 24;
    if (channels == 0 || rate == 0) {
        throw RunError(InputName(path) + " is a WAV file whose header gives " + std::to_string(rate) + " Hz and " +
                       std::to_string(channels) + " channels; repair the header, or read the samples with --raw "
                       "--rate HZ --channels N");
    }
}

// A regular file has a known length; pipes, FIFOs and devices are read as they come.
bool IsRegularFile(int fd) {
    struct stat status {};
    return fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

void RequireRawFormat(const AudioInputOptions& options) {
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
}

void RequireSupportedRate(uint32_t rate, const std::string& path) {
    if (IsSupportedRate(rate)) return;
    const std::string target = std::to_string(NearestSupportedRate(rate));
    throw RunError(InputName(path) + " is sampled at " + std::to_string(rate) + " Hz, the library supports " +
                   SupportedRatesText() + "; resample it first, e.g. sox " + path + " -r " + target + " out-" +
                   target + ".wav");
}

void RequireSamples(int64_t instants, const std::string& path) {
    if (instants == 0) throw RunError(InputName(path) + " holds no samples; record some sound first");
}

class SndfileSource : public BlockSource {
  public:
    SndfileSource(SNDFILE* file, const SF_INFO& info, const ChannelMap& map, int64_t total)
        : file_(file), info_(info), map_(map), total_(total), frames_(size_t(EZOSSL_POINT_NUMBER) * info.channels) {}
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
    int64_t TotalInstants() const override { return total_; }
    int64_t ClippedSamples() const override { return clipped_; }
    int64_t NanSamples() const override { return nan_; }

  private:
    int16_t ToInt16(float sample) {
        if (std::isnan(sample)) {
            ++nan_;
            return 0;
        }
        return NormalisedToInt16(sample, clipped_);
    }

    SNDFILE* file_;
    SF_INFO info_;
    ChannelMap map_;
    int64_t total_;
    std::vector<float> frames_;
    int64_t clipped_ = 0;
    int64_t nan_ = 0;
};

// Headerless PCM read straight from the descriptor, so a pipe delivers each block as soon as
// its last byte arrives.
class RawSource : public BlockSource {
  public:
    RawSource(int fd, bool owned, const AudioInputOptions& options, const ChannelMap& map, int64_t total)
        : fd_(fd), owned_(owned), path_(options.path), rate_(*options.raw_rate), total_(total),
          pcm_(*options.raw_channels, options.raw_bits, map) {}
    ~RawSource() override {
        if (owned_) close(fd_);
    }

    int NextBlock(Block& block) override {
        const size_t wanted = size_t(EZOSSL_POINT_NUMBER) * pcm_.FrameBytes();
        size_t have = 0;
        while (have < wanted && !ended_) {
            const ssize_t got = read(fd_, pcm_.Buffer() + have, wanted - have);
            if (got > 0) {
                have += size_t(got);
            } else if (got == 0 || StopRequested()) {
                ended_ = true;
            } else if (errno != EINTR) {
                throw RunError("cannot read " + InputName(path_) + ": " + std::strerror(errno));
            }
        }
        const size_t extra = have % pcm_.FrameBytes();
        if (extra != 0) {
            Console::Warn("ignored the last " + std::to_string(extra) + " bytes of " + InputName(path_) +
                          ", too few for one sample of every channel (check --channels and --bits)");
        }
        const int frames = static_cast<int>(have / pcm_.FrameBytes());
        pcm_.ToBlock(frames, block);
        return frames;
    }
    uint32_t SampleRate() const override { return rate_; }
    int64_t TotalInstants() const override { return total_; }
    int64_t ClippedSamples() const override { return pcm_.ClippedSamples(); }

  private:
    int fd_;
    bool owned_;
    std::string path_;
    uint32_t rate_;
    int64_t total_;
    PcmFrames pcm_;
    bool ended_ = false;
};

int OpenDescriptor(const std::string& path) {
    if (path == kStandardInput) return STDIN_FILENO;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw RunError("cannot open " + InputName(path) + ": " + std::strerror(errno));
    return fd;
}

std::unique_ptr<BlockSource> OpenRaw(const AudioInputOptions& options) {
    RequireRawFormat(options);
    RequireSupportedRate(*options.raw_rate, options.path);
    const ChannelMap map = ResolveChannelMap(options.map, *options.raw_channels, DisplayPath(options.path));
    const int fd = OpenDescriptor(options.path);
    const bool owned = fd != STDIN_FILENO;
    int64_t total = kUnknownInstants;
    struct stat status {};
    if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode)) {
        total = status.st_size / (int64_t(*options.raw_channels) * options.raw_bits / 8);
        if (total == 0 && owned) close(fd);
        RequireSamples(total, options.path);
    }
    return std::make_unique<RawSource>(fd, owned, options, map, total);
}

std::unique_ptr<BlockSource> OpenSndfile(const AudioInputOptions& options) {
    SF_INFO info{};
    const bool from_stdin = options.path == kStandardInput;
    SNDFILE* file = from_stdin ? sf_open_fd(STDIN_FILENO, SFM_READ, &info, SF_FALSE)
                               : sf_open(options.path.c_str(), SFM_READ, &info);
    if (!file) {
        if (!from_stdin) RequireWavHeaderValues(options.path);
        throw RunError(InputName(options.path) + " is not a recording libsndfile can read (" + sf_strerror(nullptr) +
                       "); for headerless PCM add --raw --rate HZ --channels N");
    }
    try {
        RequireSupportedRate(static_cast<uint32_t>(info.samplerate), options.path);
        // A stream's header cannot know its length; only a file's is checked before reading.
        const bool regular = from_stdin ? IsRegularFile(STDIN_FILENO) : fs::is_regular_file(options.path);
        if (regular) RequireSamples(info.frames, options.path);
        const ChannelMap map = ResolveChannelMap(options.map, info.channels, DisplayPath(options.path));
        return std::make_unique<SndfileSource>(file, info, map, regular ? info.frames : kUnknownInstants);
    } catch (...) {
        sf_close(file);
        throw;
    }
}

}  // namespace

std::string DisplayPath(const std::string& path) { return path == kStandardInput ? "standard input" : path; }

std::string InputName(const std::string& path) { return path == kStandardInput ? DisplayPath(path) : "\"" + path + "\""; }

std::unique_ptr<BlockSource> OpenRecording(const AudioInputOptions& options) {
    if (!options.raw && (options.raw_rate || options.raw_channels)) {
        throw UsageError("--rate and --channels describe headerless PCM; use them with --raw");
    }
    if (options.path != kStandardInput) RequireReadableFile(options.path);
    return options.raw ? OpenRaw(options) : OpenSndfile(options);
}

}  // namespace ezossl_tool
