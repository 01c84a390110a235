// Reordering the interleaved microphones of each block.
#include "io/reordered_source.h"

namespace ezossl_tool {

int ReorderedSource::NextBlock(Block& block) {
    const int real = inner_.NextBlock(inner_block_);
    for (int n = 0; n < EZOSSL_POINT_NUMBER; ++n) {
        for (int mic = 0; mic < EZOSSL_MIC_NUM; ++mic) {
            block[n * EZOSSL_MIC_NUM + mic] = inner_block_[n * EZOSSL_MIC_NUM + order_[mic]];
        }
    }
    return real;
}

}  // namespace ezossl_tool
