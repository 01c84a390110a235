// Writing a multi-channel 16-bit WAV file as a stream.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace ezossl_tool {

// A 16-bit PCM WAV whose length is known before the first sample: the header is written
// complete at once and samples follow as they are produced, so nothing is held in memory and
// the file is never sought back (devices and FIFOs take it too). Throws RunError naming the path.
class WavWriter {
  public:
    WavWriter(const std::string& write_path, std::string shown_path, int channels, uint32_t sample_rate,
              uint64_t frames);
    ~WavWriter();
    WavWriter(const WavWriter&) = delete;
    WavWriter& operator=(const WavWriter&) = delete;

    void Write(const int16_t* interleaved, size_t frames);
    // Checks that every announced frame was written and the data reached the file.
    void Finish();

  private:
    void Fail(int error) const;

    std::FILE* file_;
    std::string shown_path_;
    int channels_;
    uint64_t remaining_;
};

}  // namespace ezossl_tool
