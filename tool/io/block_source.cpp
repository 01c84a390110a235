// Blocks cut from a recording held in memory.
#include "io/block_source.h"

#include <algorithm>

namespace ezossl_tool {

MemorySource::MemorySource(std::vector<int16_t> interleaved, uint32_t sample_rate)
    : samples_(std::move(interleaved)), sample_rate_(sample_rate) {}

int MemorySource::NextBlock(Block& block) {
    const size_t available = std::min(block.size(), samples_.size() - position_);
    std::copy_n(samples_.begin() + position_, available, block.begin());
    std::fill(block.begin() + available, block.end(), 0);
    position_ += available;
    return static_cast<int>(available / EZOSSL_MIC_NUM);
}

int64_t MemorySource::TotalInstants() const { return static_cast<int64_t>(samples_.size() / EZOSSL_MIC_NUM); }

}  // namespace ezossl_tool
