// Input-dump set-up at Init and Reset, and the close at Free.
#include <filesystem>

#include "core/ssl_handle.h"
#include "test_support.h"

namespace ezossl_test {
namespace {

namespace fs = std::filesystem;

std::string DumpFile(const TempDir& dir, int m) { return dir.File("Audio_SSL_input_data" + std::to_string(m) + ".pcm"); }

TEST(DumpSetUp, MissingDirectoryRefusesInitAndReset) {
    ScopedEnv on("AUDIO_SSL_DUMP", "1");
    ScopedEnv path("AUDIO_DUMP_PATH", "/nonexistent/ezossl-dumps");
    const SslInit init = DefaultInit();
    const struct {
        SslHandle* (*call)(void*, const SslInit*);
        const char* message;
    } cases[] = {
        {EzoSsl_Init, "[ALGO_MSG_ERR] [SSL][Init]Fail! Dump path /nonexistent/ezossl-dumps/ doesn't exist!\t\n"},
        {EzoSsl_Reset, "[ALGO_MSG_ERR] [SSL][Reset]Fail! Dump path /nonexistent/ezossl-dumps/ doesn't exist!\t\n"},
    };
    for (const auto& c : cases) {
        WorkingBuffer buffer;
        SslHandle* handle = buffer.handle();
        EXPECT_EQ(CaptureOutput([&] { handle = c.call(buffer.data(), &init); }), InitPreamble() + c.message);
        EXPECT_EQ(handle, nullptr);
    }
}

TEST(DumpSetUp, UncreatableFileNamesItsIndex) {
    TempDir dir;
    fs::create_directory(DumpFile(dir, 2));  // a directory where file 2 should go
    ScopedEnv on("AUDIO_SSL_DUMP", "1");
    ScopedEnv path("AUDIO_DUMP_PATH", dir.path());
    WorkingBuffer buffer;
    const SslInit init = DefaultInit();
    SslHandle* handle = buffer.handle();
    EXPECT_EQ(CaptureOutput([&] { handle = EzoSsl_Init(buffer.data(), &init); }),
              InitPreamble() + "[ALGO_MSG_ERR] [SSL] [Init] Fail! The dump input file 2 could not be open\n");
    EXPECT_EQ(handle, nullptr);
    // Files 0 and 1 were opened before the failure; close them so the test does not leak.
    for (int m = 0; m < 2; ++m) {
        if (buffer.handle()->dump_file[m]) std::fclose(buffer.handle()->dump_file[m]);
    }
}

TEST(DumpSetUp, SwitchedOnInitCreatesFourEmptyFilesAndFreeClosesThem) {
    TempDir dir;
    ScopedEnv on("AUDIO_SSL_DUMP", "1");
    ScopedEnv path("AUDIO_DUMP_PATH", dir.path());
    WorkingBuffer buffer;
    SslHandle* handle = InitQuietly(buffer, DefaultInit());
    EXPECT_EQ(handle->dump_mode, 1);
    for (int m = 0; m < 4; ++m) {
        EXPECT_TRUE(fs::exists(DumpFile(dir, m))) << m;
        EXPECT_EQ(fs::file_size(DumpFile(dir, m)), 0u) << m;
        EXPECT_NE(handle->dump_file[m], nullptr) << m;
    }
    EXPECT_EQ(EzoSsl_Free(handle), SSL_RET_OK);
    for (int m = 0; m < 4; ++m) EXPECT_EQ(handle->dump_file[m], nullptr) << m;
    EXPECT_EQ(EzoSsl_Free(handle), SSL_RET_OK) << "a second Free finds nothing to close";
}

TEST(DumpSetUp, FreeClosesOnlyWhileTheSwitchStillReadsOne) {
    TempDir dir;
    WorkingBuffer buffer;
    SslHandle* handle = nullptr;
    {
        ScopedEnv on("AUDIO_SSL_DUMP", "1");
        ScopedEnv path("AUDIO_DUMP_PATH", dir.path());
        handle = InitQuietly(buffer, DefaultInit());
    }
    EzoSsl_Free(handle);
    EXPECT_NE(handle->dump_file[0], nullptr) << "switch gone: Free leaves the files";
    ScopedEnv on("AUDIO_SSL_DUMP", "1");
    EzoSsl_Free(handle);
    EXPECT_EQ(handle->dump_file[0], nullptr);
}

TEST(DumpSetUp, OffOrUnsetOpensNothing) {
    TempDir dir;
    ScopedEnv path("AUDIO_DUMP_PATH", dir.path());
    for (const char* value : {"0", "off", ""}) {
        ScopedEnv off("AUDIO_SSL_DUMP", value);
        WorkingBuffer buffer;
        SslHandle* handle = InitQuietly(buffer, DefaultInit());
        EXPECT_EQ(handle->dump_mode, 0) << value;
    }
    EXPECT_TRUE(fs::is_empty(dir.path()));
}

TEST(DumpSetUp, DefaultDirectoryIsTheWorkingDirectory) {
    TempDir dir;
    const fs::path before = fs::current_path();
    fs::current_path(dir.path());
    {
        ScopedEnv on("AUDIO_SSL_DUMP", "1");
        ScopedEnv path("AUDIO_DUMP_PATH", std::nullopt);
        WorkingBuffer buffer;
        SslHandle* handle = InitQuietly(buffer, DefaultInit());
        EzoSsl_Free(handle);
    }
    fs::current_path(before);
    for (int m = 0; m < 4; ++m) EXPECT_TRUE(fs::exists(DumpFile(dir, m))) << m;
}

}  // namespace
}  // namespace ezossl_test
