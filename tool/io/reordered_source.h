// A block source whose microphones are taken in another order, for the library's numbering.
#pragma once

#include <array>

#include "io/block_source.h"

namespace ezossl_tool {

class ReorderedSource : public BlockSource {
  public:
    // Microphone i of the blocks handed out is microphone order[i] of the inner source.
    ReorderedSource(BlockSource& inner, const std::array<int, EZOSSL_MIC_NUM>& order) : inner_(inner), order_(order) {}
    int NextBlock(Block& block) override;
    uint32_t SampleRate() const override { return inner_.SampleRate(); }
    int64_t TotalInstants() const override { return inner_.TotalInstants(); }
    int64_t ClippedSamples() const override { return inner_.ClippedSamples(); }

  private:
    BlockSource& inner_;
    std::array<int, EZOSSL_MIC_NUM> order_;
    Block inner_block_{};
};

}  // namespace ezossl_tool
