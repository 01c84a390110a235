// Small vector helpers on float arrays: the first minimum.
#include "vector_ops.h"

namespace ezossl {

int ArgMin(const float* x, int n) {
    int best = 0;
    for (int i = 1; i < n; ++i) {
        if (x[i] < x[best]) best = i;
    }
    return best;
}

}  // namespace ezossl
