// WAV output: a canonical 44-byte header, then little-endian 16-bit samples.
#include "io/audio_output.h"

#include <cerrno>
#include <cstring>
#include <limits>
#include <vector>

#include "cli/errors.h"

namespace ezossl_tool {
namespace {

constexpr uint32_t kHeaderBytesAfterSize = 36;   // RIFF size counts from "WAVE" to the data's end
constexpr uint16_t kPcmFormat = 1;
constexpr uint16_t kBitsPerSample = 16;

void PutLe(std::vector<unsigned char>& out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

void PutTag(std::vector<unsigned char>& out, const char* tag) { out.insert(out.end(), tag, tag + 4); }

}  // namespace

WavWriter::WavWriter(const std::string& write_path, std::string shown_path, int channels, uint32_t sample_rate,
                     uint64_t frames)
    : file_(std::fopen(write_path.c_str(), "wb")),
      shown_path_(std::move(shown_path)),
      channels_(channels),
      remaining_(frames) {
    if (!file_) Fail(errno);
    const uint64_t data_bytes = frames * channels * sizeof(int16_t);
    if (data_bytes > std::numeric_limits<uint32_t>::max() - kHeaderBytesAfterSize) {
        throw RunError("cannot write \"" + shown_path_ + "\": a WAV file holds at most 4 GB (shorten --duration)");
    }
    const uint32_t block_align = static_cast<uint32_t>(channels * sizeof(int16_t));
    std::vector<unsigned char> header;
    PutTag(header, "RIFF");
    PutLe(header, static_cast<uint32_t>(data_bytes) + kHeaderBytesAfterSize, 4);
    PutTag(header, "WAVE");
    PutTag(header, "fmt ");
    PutLe(header, 16, 4);
    PutLe(header, kPcmFormat, 2);
    PutLe(header, static_cast<uint32_t>(channels), 2);
    PutLe(header, sample_rate, 4);
    PutLe(header, sample_rate * block_align, 4);
    PutLe(header, block_align, 2);
    PutLe(header, kBitsPerSample, 2);
    PutTag(header, "data");
    PutLe(header, static_cast<uint32_t>(data_bytes), 4);
    if (std::fwrite(header.data(), 1, header.size(), file_) != header.size()) Fail(errno);
}

WavWriter::~WavWriter() {
    if (file_) std::fclose(file_);
}

void WavWriter::Fail(int error) const {
    throw RunError("cannot write \"" + shown_path_ + "\": " + std::strerror(error ? error : EIO) +
                   " (choose a writable path, or is the disk full?)");
}

void WavWriter::Write(const int16_t* interleaved, size_t frames) {
    const size_t count = frames * channels_;
    std::vector<unsigned char> bytes(2 * count);
    for (size_t i = 0; i < count; ++i) {
        const auto value = static_cast<uint16_t>(interleaved[i]);
        bytes[2 * i] = static_cast<unsigned char>(value & 0xFF);
        bytes[2 * i + 1] = static_cast<unsigned char>(value >> 8);
    }
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) Fail(errno);
    remaining_ -= frames;
}

void WavWriter::Finish() {
    std::FILE* file = file_;
    file_ = nullptr;
    if (std::fclose(file) != 0 || remaining_ != 0) Fail(errno);
}

}  // namespace ezossl_tool
