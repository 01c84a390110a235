// Shared helpers for the tests: handle buffers, standard-output capture, scoped environment.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ezossl.h"

namespace ezossl_test {

// EzoSsl_GetBufferSize(), asked once when the test program starts (it prints a note).
uint32_t BufferSize();

// A working buffer of the size the library asks for, word aligned as a malloc result is.
class WorkingBuffer {
  public:
    WorkingBuffer() : words_((BufferSize() + 7) / 8) {}
    void* data() { return words_.data(); }
    SslHandle* handle() { return static_cast<SslHandle*>(data()); }
    uint8_t* bytes() { return reinterpret_cast<uint8_t*>(words_.data()); }

  private:
    std::vector<uint64_t> words_;
};

inline SslInit DefaultInit(uint32_t sample_rate = 16000, float mic_distance_cm = 5.0f, uint32_t bf_mode = 0) {
    return SslInit{EZOSSL_POINT_NUMBER, sample_rate, mic_distance_cm, bf_mode, EZOSSL_MIC_NUM};
}

// Runs fn with standard output captured and returns what it printed.
inline std::string CaptureOutput(const std::function<void()>& fn) {
    fflush(stdout);
    testing::internal::CaptureStdout();
    fn();
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

// Sets (or with nullopt, removes) an environment variable for one scope.
class ScopedEnv {
  public:
    ScopedEnv(const char* name, std::optional<std::string> value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        Set(value);
    }
    ~ScopedEnv() { Set(old_); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

  private:
    void Set(const std::optional<std::string>& value) const {
        value ? setenv(name_.c_str(), value->c_str(), 1) : unsetenv(name_.c_str());
    }
    std::string name_;
    std::optional<std::string> old_;
};

// A fresh temporary directory, removed with its files at the end of the scope.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    const std::string& path() const { return path_; }
    std::string File(const std::string& name) const { return path_ + "/" + name; }
    std::string Write(const std::string& name, const std::string& content) const;

  private:
    std::string path_;
};

std::string ReadFile(const std::string& path);

// The two note lines every Init and Reset prints at the default level.
inline std::string InitPreamble() {
    return "[ALGO_MSG_MSG] [SSL] ver.2024.0315.0000\r\n"
           "[ALGO_MSG_MSG] [SSL] Working buffer size = 27936 bytes\t\n";
}

// Init (silently) with the given record; fails the test if Init refuses.
SslHandle* InitQuietly(WorkingBuffer& buffer, const SslInit& init);

// Init, then Config with temperature 25 and the given voting length and threshold.
SslHandle* InitAndConfigure(WorkingBuffer& buffer, const SslInit& init, int32_t direction_frame_num = 32,
                            int32_t threshold_db = -80);

// Init, Config (25 degrees, threshold_db, voting length), Set_Shape (or, given four microphone
// positions x, y in cm, Set_ArbitraryShape) and Cal_Params, silently; fails the test if any step refuses.
SslHandle* ReadyHandle(WorkingBuffer& buffer, const SslInit& init, uint32_t array_geometry, int32_t direction_frame_num = 32,
                       int32_t threshold_db = -80, const float* positions_cm = nullptr);

}  // namespace ezossl_test
