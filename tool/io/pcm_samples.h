// Sample conversion to the library's 16 bits, shared by files, pipes and the sound card.
#pragma once

#include <cstdint>
#include <vector>

#include "io/block_source.h"
#include "io/channel_map.h"

namespace ezossl_tool {

// Rounds a sample scaled to [-1, 1) to 16 bits; values beyond full scale are clipped and counted.
int16_t NormalisedToInt16(double sample, int64_t& clipped);

// Interleaved little-endian 16 or 32-bit integer frames, as headerless files and ALSA deliver
// them, into library blocks. Converts exactly as libsndfile's floats do, so a recording gives
// the same blocks whether it arrives as WAV, headerless PCM or from a capture device.
class PcmFrames {
  public:
    PcmFrames(int channels, int bits, const ChannelMap& map);
    int FrameBytes() const { return frame_bytes_; }
    // Room for one block of frames, in the device's layout.
    uint8_t* Buffer() { return bytes_.data(); }
    // Converts the first `frames` frames of Buffer(); the rest of the block is zero.
    void ToBlock(int frames, Block& block);
    int64_t ClippedSamples() const { return clipped_; }

  private:
    int channels_;
    int bits_;
    int frame_bytes_;
    ChannelMap map_;
    std::vector<uint8_t> bytes_;
    int64_t clipped_ = 0;
};

}  // namespace ezossl_tool
