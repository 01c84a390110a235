// Helpers shared by the tests, and the test main that pins the library's environment.
#include "test_support.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace ezossl_test {

uint32_t BufferSize() {
    static const uint32_t size = [] {
        uint32_t asked = 0;
        CaptureOutput([&] { asked = EzoSsl_GetBufferSize(); });
        return asked;
    }();
    return size;
}

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ezossl-test-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::Write(const std::string& name, const std::string& content) const {
    const std::string file = File(name);
    std::ofstream(file, std::ios::binary) << content;
    return file;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream content;
    content << in.rdbuf();
    return content.str();
}

SslHandle* InitQuietly(WorkingBuffer& buffer, const SslInit& init) {
    SslHandle* handle = nullptr;
    CaptureOutput([&] { handle = EzoSsl_Init(buffer.data(), &init); });
    EXPECT_NE(handle, nullptr);
    return handle;
}

SslHandle* InitAndConfigure(WorkingBuffer& buffer, const SslInit& init, int32_t direction_frame_num,
                            int32_t threshold_db) {
    SslHandle* handle = InitQuietly(buffer, init);
    const SslConfig config{25, threshold_db, direction_frame_num};
    uint32_t status = 1;
    CaptureOutput([&] { status = EzoSsl_Config(handle, &config); });
    EXPECT_EQ(status, SSL_RET_OK);
    return handle;
}

SslHandle* ReadyHandle(WorkingBuffer& buffer, const SslInit& init, uint32_t array_geometry, int32_t direction_frame_num,
                       int32_t threshold_db, const float* positions_cm) {
    SslHandle* handle = InitAndConfigure(buffer, init, direction_frame_num, threshold_db);
    uint32_t shape = 1, params = 1;
    CaptureOutput([&] {
        shape = positions_cm ? EzoSsl_Set_ArbitraryShape(handle, positions_cm) : EzoSsl_Set_Shape(handle, array_geometry);
        params = EzoSsl_Cal_Params(handle);
    });
    EXPECT_EQ(shape, SSL_RET_OK);
    EXPECT_EQ(params, SSL_RET_OK);
    return handle;
}

}  // namespace ezossl_test

int main(int argc, char** argv) {
    // The library reads these; a developer's machine must not change what the tests see.
    setenv("DML_PATH", "/nonexistent/ezossl-test/audioAlgo.json", 1);
    unsetenv("AUDIO_SSL_DUMP");
    unsetenv("AUDIO_DUMP_PATH");
    ezossl_test::BufferSize();  // asked now, outside any test's output capture
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
