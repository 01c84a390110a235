// A stream of library-sized blocks: 128 instants of the four microphones, interleaved.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "ezossl.h"

namespace ezossl_tool {

using Block = std::array<int16_t, EZOSSL_POINT_NUMBER * EZOSSL_MIC_NUM>;

// TotalInstants() of a stream whose end is not known in advance.
constexpr int64_t kUnknownInstants = -1;

class BlockSource {
  public:
    virtual ~BlockSource() = default;
    // Fills the next block; instants past the end of the recording are zero. Returns how many
    // instants are real, 0 when the recording is exhausted.
    virtual int NextBlock(Block& block) = 0;
    virtual uint32_t SampleRate() const = 0;
    // Instants in the whole recording, or kUnknownInstants.
    virtual int64_t TotalInstants() const = 0;
    // Samples that had to be clipped to 16 bits on the way in.
    virtual int64_t ClippedSamples() const { return 0; }
    // Times a capture device overran and samples were lost.
    virtual int64_t Overruns() const { return 0; }
    // Samples that were not numbers (NaN in a float recording), read as 0.
    virtual int64_t NanSamples() const { return 0; }
};

// A recording already in memory, four channels interleaved.
class MemorySource : public BlockSource {
  public:
    MemorySource(std::vector<int16_t> interleaved, uint32_t sample_rate);
    int NextBlock(Block& block) override;
    uint32_t SampleRate() const override { return sample_rate_; }
    int64_t TotalInstants() const override;

  private:
    std::vector<int16_t> samples_;
    uint32_t sample_rate_;
    size_t position_ = 0;
};

}  // namespace ezossl_tool
