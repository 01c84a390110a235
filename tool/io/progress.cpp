// Progress on a terminal: one line rewritten in place, erased when the work ends.
#include "io/progress.h"

#include <unistd.h>

#include <cstdio>

namespace ezossl_tool {
namespace {
constexpr double kMinimumSeconds = 60.0;
}

Progress::Progress(std::string label, int64_t total_instants, uint32_t sample_rate)
    : Progress(std::move(label), total_instants, total_instants > kMinimumSeconds * sample_rate) {}

Progress::Progress(std::string label, int64_t total, bool long_work)
    : label_(std::move(label)), total_(total), shown_(isatty(STDERR_FILENO) && long_work && total > 0) {}

Progress::~Progress() {
    if (shown_ && last_percent_ >= 0) std::fprintf(stderr, "\r\033[K");
}

void Progress::Update(int64_t done_instants) {
    if (!shown_) return;
    const int percent = static_cast<int>(100 * done_instants / total_);
    if (percent == last_percent_) return;
    last_percent_ = percent;
    std::fprintf(stderr, "\r%s: %3d %%", label_.c_str(), percent);
    std::fflush(stderr);
}

}  // namespace ezossl_tool
