// A percentage on standard error while long work runs, for terminals only.
#pragma once

#include <cstdint>
#include <string>

namespace ezossl_tool {

class Progress {
  public:
    // Shown only when standard error is a terminal and the work spans more than a minute of audio.
    Progress(std::string label, int64_t total_instants, uint32_t sample_rate);
    // Shown only when standard error is a terminal and the caller expects the work to be long.
    Progress(std::string label, int64_t total, bool long_work);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Update(int64_t done_instants);

  private:
    std::string label_;
    int64_t total_;
    bool shown_;
    int last_percent_ = -1;
};

}  // namespace ezossl_tool
