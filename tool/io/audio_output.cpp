// WAV output through libsndfile.
#include "io/audio_output.h"

#include <sndfile.h>

#include "cli/errors.h"

namespace ezossl_tool {

void WriteWav16(const std::string& path, const std::vector<int16_t>& interleaved, int channels, uint32_t sample_rate) {
    SF_INFO info{};
    info.samplerate = static_cast<int>(sample_rate);
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (!file) throw RunError("cannot write \"" + path + "\": " + sf_strerror(nullptr) + " (choose a writable path)");
    const sf_count_t frames = static_cast<sf_count_t>(interleaved.size() / channels);
    const sf_count_t written = sf_writef_short(file, interleaved.data(), frames);
    const std::string error = sf_strerror(file);
    if (sf_close(file) != 0 || written != frames) {
        throw RunError("cannot write \"" + path + "\": " + error + " (is the disk full?)");
    }
}

}  // namespace ezossl_tool
