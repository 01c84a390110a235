// ALSA capture: opening and configuring the device with messages that say how to fix a refusal.
#include "io/alsa_capture.h"

#include <alsa/asoundlib.h>

#include <cerrno>
#include <algorithm>

#include "analysis/library_facts.h"
#include "analysis/library_options.h"
#include "cli/errors.h"
#include "io/channel_map.h"
#include "io/pcm_samples.h"
#include "io/stop_request.h"

namespace ezossl_tool {
namespace {

// Periods of several blocks keep wake-ups rare; a buffer of several periods rides out a busy system.
constexpr snd_pcm_uframes_t kPeriodFrames = 4 * EZOSSL_POINT_NUMBER;
constexpr snd_pcm_uframes_t kPeriodsPerBuffer = 8;
constexpr double kMaxDurationS = 1e7;   // over a hundred days: any real request fits
// Formats a board may offer, named when the one asked for is missing.
constexpr snd_pcm_format_t kCommonFormats[] = {SND_PCM_FORMAT_S16_LE, SND_PCM_FORMAT_S32_LE,  SND_PCM_FORMAT_S24_LE,
                                               SND_PCM_FORMAT_S24_3LE, SND_PCM_FORMAT_FLOAT_LE, SND_PCM_FORMAT_U8};

// ALSA prints its own diagnostics on standard error; the tool's one line says it better.
extern "C" void IgnoreAlsaMessage(const char*, int, const char*, int, const char*, ...) {}

std::string Quoted(const std::string& device) { return "\"" + device + "\""; }

std::string PlugHint(const std::string& device) {
    if (device.rfind("hw:", 0) == 0) return "plug" + device + ", which converts";
    return "a plughw: device, which converts (arecord -L lists them)";
}

snd_pcm_format_t FormatOfBits(int bits) { return bits == 16 ? SND_PCM_FORMAT_S16_LE : SND_PCM_FORMAT_S32_LE; }

std::string Range(unsigned lowest, unsigned highest, const char* unit) {
    return lowest == highest ? std::to_string(lowest) + unit
                             : std::to_string(lowest) + " to " + std::to_string(highest) + unit;
}

void RequireOptions(const CaptureOptions& options) {
    RequireLibraryRate(options.rate);
    if (options.channels < EZOSSL_MIC_NUM) {
        throw UsageError("--channels must be at least 4, one per microphone, got " + std::to_string(options.channels));
    }
    if (options.bits != 16 && options.bits != 32) {
        throw UsageError("--bits must be 16 or 32 (S16_LE or S32_LE samples), got " + std::to_string(options.bits));
    }
    if (options.duration_s && !(*options.duration_s > 0.0 && *options.duration_s <= kMaxDurationS)) {
        throw UsageError("--duration must be a positive number of seconds");
    }
}

snd_pcm_t* OpenDevice(const std::string& device) {
    snd_lib_error_set_handler(IgnoreAlsaMessage);
    snd_pcm_t* pcm = nullptr;
    const int error = snd_pcm_open(&pcm, device.c_str(), SND_PCM_STREAM_CAPTURE, 0);
    if (error == 0) return pcm;
    const std::string reason = snd_strerror(error);
    if (error == -EBUSY) {
        throw RunError("capture device " + Quoted(device) +
                       " is busy: another program is recording from it; stop that program (fuser -v /dev/snd/*) "
                       "or share the card through a dsnoop device");
    }
    if (error == -ENOENT || error == -ENODEV || error == -ENXIO) {
        throw RunError("no capture device " + Quoted(device) + " (" + reason +
                       "); list the devices with arecord -L, or the cards with arecord -l, e.g. --device plughw:1,0");
    }
    throw RunError("cannot open capture device " + Quoted(device) + ": " + reason + "; list the devices with arecord -L");
}

// Refines the device's configuration space step by step; each refusal names what the device offers.
void Configure(snd_pcm_t* pcm, const CaptureOptions& options) {
    const std::string device = Quoted(options.device);
    snd_pcm_hw_params_t* hw = nullptr;
    snd_pcm_hw_params_alloca(&hw);
    snd_pcm_hw_params_any(pcm, hw);
    if (snd_pcm_hw_params_set_access(pcm, hw, SND_PCM_ACCESS_RW_INTERLEAVED) < 0) {
        throw RunError(device + " cannot deliver interleaved samples; use " + PlugHint(options.device));
    }
    if (snd_pcm_hw_params_set_channels(pcm, hw, options.channels) < 0) {
        unsigned lowest = 0, highest = 0;
        snd_pcm_hw_params_get_channels_min(hw, &lowest);
        snd_pcm_hw_params_get_channels_max(hw, &highest);
        throw RunError(device + " cannot give " + std::to_string(options.channels) + " channels, it gives " +
                       Range(lowest, highest, "") + "; " +
                       (highest >= EZOSSL_MIC_NUM ? "set --channels within that and pick the microphones with --map"
                                                  : "choose the 4-microphone board's device (arecord -l lists the cards)"));
    }
    if (snd_pcm_hw_params_set_format(pcm, hw, FormatOfBits(options.bits)) < 0) {
        std::string offered;
        for (const snd_pcm_format_t format : kCommonFormats) {
            if (snd_pcm_hw_params_test_format(pcm, hw, format) == 0) {
                offered += (offered.empty() ? "" : ", ") + std::string(snd_pcm_format_name(format));
            }
        }
        const int other_bits = options.bits == 16 ? 32 : 16;
        const bool other_works = snd_pcm_hw_params_test_format(pcm, hw, FormatOfBits(other_bits)) == 0;
        throw RunError(device + " cannot give " + snd_pcm_format_name(FormatOfBits(options.bits)) + " samples, it gives " +
                       (offered.empty() ? "other formats" : offered) + "; use " +
                       (other_works ? "--bits " + std::to_string(other_bits) + " or " : "") + PlugHint(options.device));
    }
    if (snd_pcm_hw_params_set_rate(pcm, hw, options.rate, 0) < 0) {
        unsigned lowest = 0, highest = 0;
        snd_pcm_hw_params_get_rate_min(hw, &lowest, nullptr);
        snd_pcm_hw_params_get_rate_max(hw, &highest, nullptr);
        std::string usable;
        for (const uint32_t rate : kSupportedRates) {
            if (rate >= lowest && rate <= highest) usable += (usable.empty() ? "" : " or ") + std::to_string(rate);
        }
        throw RunError(device + " cannot capture at " + std::to_string(options.rate) + " Hz, it gives " +
                       Range(lowest, highest, " Hz") + "; use " + (usable.empty() ? "" : "--rate " + usable + ", or ") +
                       PlugHint(options.device) + " and resamples");
    }
    snd_pcm_uframes_t period = kPeriodFrames;
    snd_pcm_uframes_t buffer = kPeriodFrames * kPeriodsPerBuffer;
    snd_pcm_hw_params_set_period_size_near(pcm, hw, &period, nullptr);
    snd_pcm_hw_params_set_buffer_size_near(pcm, hw, &buffer);
    const int error = snd_pcm_hw_params(pcm, hw);
    if (error < 0) {
        throw RunError("cannot set up capture on " + device + ": " + snd_strerror(error) + "; try " + PlugHint(options.device));
    }
}

class CaptureSource : public BlockSource {
  public:
    CaptureSource(snd_pcm_t* pcm, const CaptureOptions& options, const ChannelMap& map)
        : pcm_(pcm), device_(options.device), rate_(options.rate), pcm_frames_(options.channels, options.bits, map) {
        // Truncation is intended: --duration counts whole sample instants.
        if (options.duration_s) limit_ = static_cast<int64_t>(*options.duration_s * options.rate);
    }
    ~CaptureSource() override {
        snd_pcm_drop(pcm_);
        snd_pcm_close(pcm_);
    }

    int NextBlock(Block& block) override {
        const int64_t wanted = limit_ < 0 ? EZOSSL_POINT_NUMBER : std::min<int64_t>(EZOSSL_POINT_NUMBER, limit_ - delivered_);
        int64_t got = 0;
        while (got < wanted && !StopRequested()) {
            snd_pcm_sframes_t read = snd_pcm_readi(pcm_, pcm_frames_.Buffer() + got * pcm_frames_.FrameBytes(),
                                                   static_cast<snd_pcm_uframes_t>(wanted - got));
            if (read >= 0) {
                got += read;
                continue;
            }
            if (read == -EINTR) continue;   // a signal: the loop looks at the stop request
            if (read == -EPIPE || read == -ESTRPIPE) {
                ++overruns_;
                read = snd_pcm_recover(pcm_, static_cast<int>(read), 1);
                if (read == 0) continue;
            }
            throw RunError("capture from " + Quoted(device_) + " failed: " + snd_strerror(static_cast<int>(read)) +
                           "; check that the device is still connected");
        }
        pcm_frames_.ToBlock(static_cast<int>(got), block);
        delivered_ += got;
        return static_cast<int>(got);
    }
    uint32_t SampleRate() const override { return rate_; }
    // A capture's length is open; no progress line competes with the rows on a terminal.
    int64_t TotalInstants() const override { return kUnknownInstants; }
    int64_t ClippedSamples() const override { return pcm_frames_.ClippedSamples(); }
    int64_t Overruns() const override { return overruns_; }

  private:
    snd_pcm_t* pcm_;
    std::string device_;
    uint32_t rate_;
    PcmFrames pcm_frames_;
    int64_t limit_ = -1;
    int64_t delivered_ = 0;
    int64_t overruns_ = 0;
};

}  // namespace

std::unique_ptr<BlockSource> OpenCapture(const CaptureOptions& options) {
    RequireOptions(options);
    const ChannelMap map = ResolveChannelMap(options.map, options.channels, "the capture from " + Quoted(options.device));
    snd_pcm_t* pcm = OpenDevice(options.device);
    try {
        Configure(pcm, options);
        return std::make_unique<CaptureSource>(pcm, options, map);
    } catch (...) {
        snd_pcm_close(pcm);
        throw;
    }
}

}  // namespace ezossl_tool
