// The message level: which file is read, which values count, and what each level lets through.
#include <sys/stat.h>

#include <filesystem>

#include "common/msg_level.h"
#include "core/ssl_handle.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

constexpr const char* kErrorsOnly = R"({"debug_level": 1})";

TEST(MessageLevel, IsReadFromTheFileNamedByDmlPath) {
    const struct {
        const char* content;
        uint32_t level;
    } cases[] = {
        {kErrorsOnly, 1},
        {R"({"debug_level": 3})", 3},
        {R"({"debug_level": 7})", 7},
        {R"({"debug_level": 15})", 15},
        {R"({"debug_level": 0})", 7},  // silence cannot be configured
        {R"({"debug_level": 5})", 7},
        {R"({"debug_level": -1})", 7},
        {R"({"debug_level": "1"})", 7},
        {R"({"other": 1})", 7},
        {R"({"debug_level": 1)", 7},  // malformed
        {"[1, 3]", 7},
        {"", 7},  // empty file
        {"\x01\xff garbage", 7},
        {R"(  {"name": "aec", "debug_level": 3}  )", 3},
    };
    TempDir dir;
    for (const auto& c : cases) {
        ScopedEnv path("DML_PATH", dir.Write("audioAlgo.json", c.content));
        EXPECT_EQ(ezossl::LoadMessageLevel(), c.level) << c.content;
    }
}

// A directory chain under dir whose file path has exactly `length` characters.
std::string PathOfLength(const TempDir& dir, size_t length) {
    std::string path = dir.path();
    while (path.size() + 1 + 20 < length) {
        path += "/" + std::string(std::min<size_t>(100, length - path.size() - 1 - 20), 'd');
    }
    std::filesystem::create_directories(path);
    path += "/" + std::string(length - path.size() - 1, 'f');
    return path;
}

TEST(MessageLevel, PathsThatDoNotFitAreNeverCutShort) {
    TempDir dir;
    const std::string longest = PathOfLength(dir, 127);
    const std::string too_long = PathOfLength(dir, 300);
    ASSERT_EQ(longest.size(), 127u);
    ASSERT_EQ(too_long.size(), 300u);
    dir.Write(longest.substr(dir.path().size() + 1), kErrorsOnly);
    dir.Write(too_long.substr(dir.path().size() + 1), kErrorsOnly);
    {
        ScopedEnv path("DML_PATH", longest);
        EXPECT_EQ(ezossl::LoadMessageLevel(), 1u);
    }
    {
        ScopedEnv path("DML_PATH", too_long);
        EXPECT_EQ(ezossl::LoadMessageLevel(), 7u);
    }
}

TEST(MessageLevel, MissingFileGivesTheDefaultWithoutAnyMessage) {
    ScopedEnv path("DML_PATH", "/nonexistent/dir/audioAlgo.json");
    uint32_t level = 0;
    EXPECT_EQ(CaptureOutput([&] { level = ezossl::LoadMessageLevel(); }), "");
    EXPECT_EQ(level, 7u);
}

// Only a small regular file is read; a FIFO (which blocked forever), a device, a directory or
// an oversized file counts as a file that cannot be read.
TEST(MessageLevel, OnlyASmallRegularFileIsRead) {
    TempDir dir;
    const std::string fifo = dir.File("fifo.json");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::string padded = R"({"debug_level": 1, "pad": ")" + std::string(64 * 1024, 'x') + "\"}";
    for (const std::string& path : {fifo, std::string("/dev/zero"), dir.path(), dir.Write("big.json", padded)}) {
        ScopedEnv level_path("DML_PATH", path);
        EXPECT_EQ(ezossl::LoadMessageLevel(), 7u) << path;
    }
}

TEST(MessageLevel, EachLevelLetsThroughItsKindsOfMessage) {
    const std::string warning =
        "[ALGO_MSG_WRN]  [SSL] [Config] Warning! The voting number direction_frame_num has been change!\t\n";
    const std::string error = "[ALGO_MSG_ERR]  [SSL] [Config] Fail! Please call EzoSsl_Init first!\t\n";
    const struct {
        const char* file;
        bool notes;
        bool warnings;
    } cases[] = {{kErrorsOnly, false, false}, {R"({"debug_level": 3})", false, true},
                 {R"({"debug_level": 7})", true, true}, {R"({"debug_level": 15})", true, true}};
    TempDir dir;
    for (const auto& c : cases) {
        ScopedEnv path("DML_PATH", dir.Write("audioAlgo.json", c.file));
        WorkingBuffer buffer;
        const SslInit init = DefaultInit();
        SslHandle* handle = nullptr;
        EXPECT_EQ(CaptureOutput([&] { handle = EzoSsl_Init(buffer.data(), &init); }), c.notes ? InitPreamble() : "")
            << c.file;
        const SslConfig changed{25, -80, 64};
        EXPECT_EQ(CaptureOutput([&] { EzoSsl_Config(handle, &changed); }), c.warnings ? warning : "") << c.file;
        handle->flags.init_flag = 0;
        EXPECT_EQ(CaptureOutput([&] { EzoSsl_Config(handle, &changed); }), error) << c.file;
    }
}

}  // namespace
}  // namespace ezossl_test
