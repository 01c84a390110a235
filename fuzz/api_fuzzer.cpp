// libFuzzer target: the sixteen exported functions as hostile call sequences over two handles.
//
// Each input is a program: an operation byte (its low bit picks the handle) followed by the
// operation's arguments. Records, positions, gains and blocks are drawn from tables of hostile
// values or taken raw; bytes of the handle's non-pointer state are flipped; the dump is switched
// on and off in a private directory and the message-level file is rewritten. After each input
// every stream the library opened must be closed again: the number of open descriptors is
// the same as before it.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>

#include "core/ssl_handle.h"
#include "ezossl.h"
#include "fuzz_input.h"

namespace {

using ezossl_fuzz::FuzzInput;

constexpr int kHandles = 2;
constexpr int kBlockValues = EZOSSL_POINT_NUMBER * EZOSSL_MIC_NUM;
// Bounds the work of one input (a Run costs tens of microseconds under the sanitizers).
constexpr int kMaxRunsPerInput = 2048;
constexpr int kMaxRepeat = 48;
constexpr int kMaxChannelDelay = 12;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

const float kHostileFloats[] = {0.0f, -0.0f, 1.0f, -1.0f, 4.0f, 5.0f, 6.5f, 10.0f, 1e-30f, 1e-45f, 1e30f,
                                3.4e38f, -3.4e38f, kNaN, -kNaN, kInf, -kInf, 0.001f, 2e-7f, 1e7f};
const uint32_t kHostileWords[] = {0u, 1u, 2u, 3u, 4u, 5u, 128u, 8000u, 16000u, 32000u, 48000u, 44100u,
                                  0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu, 0xFFFFFF9Cu, 64u, 31u, 32u};
const uint32_t kRates[] = {8000u, 16000u, 32000u, 48000u};

// Array descriptions that exercise the solver: square, trapezoid, line, square numbered from the
// right, microphones that coincide in single but not in double precision.
const float kShapes[][8] = {
    {0, 0, 5, 0, 5, 5, 0, 5},          {0, 0, 8, 0, 6, 4, 2, 4},        {0, 0, 4, 0, 8, 0, 12, 0},
    {5, 0, 0, 0, 0, 5, 5, 5},          {0, 0, 4, 0, 8, 0.001f, 12, 0},  {0, 0, 1e-30f, 0, 4, 4, 0, 4},
    {0, 0, 1e30f, 0, 4, 4, 0, 4},      {0, 0, -3.25f, 3.25f, 0, 6.5f, 3.25f, 3.25f},
};

const char* const kLevelFiles[] = {R"({"debug_level": 1})", R"({"debug_level": 3})", R"({"debug_level": 7})",
                                   R"({"debug_level": 15})", R"({"debug_level": 0})", "{", ""};
const char* const kDumpSwitches[] = {"0", "1", "1", "3", "-1", "x", "99999999999999999999"};

enum Operation : uint8_t {
    kInit, kReset, kConfig, kGetConfig, kSetShape, kSetArbitraryShape, kCalParams, kRun, kGetDirection,
    kResetMapping, kFree, kSetMode, kFlipState, kSwitchDump, kLevelFile, kNullArguments, kOperationCount
};

// The private directory of the dump files and the level file, made once per process.
struct Environment {
    std::string directory;
    std::string level_file;
    std::string fifo;
};
Environment g_env;

int CountOpenDescriptors() {
    DIR* dir = opendir("/proc/self/fd");
    if (!dir) return -1;
    int count = 0;
    while (const dirent* entry = readdir(dir)) count += entry->d_name[0] != '.';
    closedir(dir);
    return count;
}

void WriteFile(const std::string& path, const char* text) {
    if (FILE* file = std::fopen(path.c_str(), "w")) {
        std::fputs(text, file);
        std::fclose(file);
    }
}

// Deterministic white noise as a function of the absolute sample index.
int16_t Noise(uint32_t seed, int64_t index, int amplitude) {
    uint32_t x = seed ^ static_cast<uint32_t>(index * 0x9E3779B9u);
    x ^= x >> 16;
    x *= 0x7FEB352Du;
    x ^= x >> 15;
    x *= 0x846CA68Bu;
    x ^= x >> 16;
    return static_cast<int16_t>(static_cast<int32_t>(x % (2u * amplitude + 1u)) - amplitude);
}

// One handle slot: a buffer of exactly the size asked for (so overruns are caught), and whether
// its pointer fields are the library's own (after any Init or Reset that got to zeroing it).
struct Slot {
    unsigned char* buffer = nullptr;
    bool library_pointers = false;
    SslHandle* handle() { return reinterpret_cast<SslHandle*>(buffer); }
};

bool IsPointerByte(size_t offset) {
    const size_t fft_pointer = offsetof(SslHandle, fft) + offsetof(ezossl::FftState, configuration);
    const size_t streams = offsetof(SslHandle, dump_file);
    return (offset >= fft_pointer && offset < fft_pointer + sizeof(void*)) ||
           (offset >= streams && offset < streams + sizeof(SslHandle::dump_file));
}

class Session {
  public:
    explicit Session(FuzzInput& in) : in_(in) {
        const uint32_t size = EzoSsl_GetBufferSize();
        const uint8_t fill = in_.Byte();
        for (Slot& slot : slots_) {
            slot.buffer = static_cast<unsigned char*>(std::malloc(size));
            std::memset(slot.buffer, fill, size);  // never the magic: one repeated byte
        }
    }
    ~Session() {
        for (Slot& slot : slots_) {
            Release(slot);
            std::free(slot.buffer);
        }
    }

    void Step() {
        const uint8_t code = in_.Byte();
        Slot& slot = slots_[code & 1];
        switch ((code >> 1) % kOperationCount) {
            case kInit: Initialise(slot, EzoSsl_Init); break;
            case kReset: Initialise(slot, EzoSsl_Reset); break;
            case kConfig: {
                const SslConfig config = HostileConfig();
                EzoSsl_Config(slot.handle(), &config);
                break;
            }
            case kGetConfig: {
                SslConfig config;
                EzoSsl_Get_Config(slot.handle(), &config);
                break;
            }
            case kSetShape: EzoSsl_Set_Shape(slot.handle(), in_.Byte() < 224 ? in_.Byte() % 3 : HostileWord()); break;
            case kSetArbitraryShape: {
                float positions[8];
                HostilePositions(positions);
                EzoSsl_Set_ArbitraryShape(slot.handle(), positions);
                break;
            }
            case kCalParams: EzoSsl_Cal_Params(slot.handle()); break;
            case kRun: RunBlocks(slot); break;
            case kGetDirection: {
                int32_t direction;
                EzoSsl_Get_Direction(slot.handle(), &direction);
                break;
            }
            case kResetMapping: EzoSsl_Reset_Mapping(slot.handle()); break;
            case kFree: EzoSsl_Free(slot.handle()); break;
            case kSetMode: EzoSsl_SetMode(slot.handle(), in_.Byte() % 3, HostileWord(), HostileWord()); break;
            case kFlipState: FlipState(slot); break;
            case kSwitchDump: SwitchDump(); break;
            case kLevelFile: ChooseLevelFile(); break;
            case kNullArguments: NullArguments(slot); break;
        }
    }

  private:
    uint32_t HostileWord() { return in_.Byte() < 160 ? in_.Pick(kHostileWords) : in_.Word(); }
    float HostileFloat() { return in_.Byte() < 160 ? in_.Pick(kHostileFloats) : in_.RawFloat(); }
    bool Sane() { return in_.Byte() < 224; }

    SslInit HostileInit() {
        SslInit init;
        init.point_number = Sane() ? EZOSSL_POINT_NUMBER : HostileWord();
        init.sample_rate = Sane() ? in_.Pick(kRates) : HostileWord();
        init.mic_distance = Sane() ? 2.0f + in_.Byte() % 16 : HostileFloat();
        init.bf_mode = Sane() ? in_.Byte() % 2 : HostileWord();
        init.mic_num = Sane() ? EZOSSL_MIC_NUM : HostileWord();
        return init;
    }

    SslConfig HostileConfig() {
        SslConfig config;
        config.temperature = Sane() ? in_.Byte() % 61 : HostileWord();
        config.level_threshold_db = Sane() ? -static_cast<int32_t>(in_.Byte() % 100) : static_cast<int32_t>(HostileWord());
        config.direction_frame_num = Sane() ? 1 + in_.Byte() % 64 : static_cast<int32_t>(HostileWord());
        return config;
    }

    void HostilePositions(float (&positions)[8]) {
        const uint8_t mode = in_.Byte() % 4;
        std::memcpy(positions, in_.Pick(kShapes), sizeof(positions));
        if (mode == 1) {
            for (float& p : positions) p = HostileFloat();
        } else if (mode == 2) {
            positions[in_.Byte() % 8] = HostileFloat();
        } else if (mode == 3) {
            const int a = in_.Byte() % 4, b = in_.Byte() % 4;
            positions[2 * a] = positions[2 * b];
            positions[2 * a + 1] = positions[2 * b + 1];
        }
    }

    // Closes what the library opened before the buffer is re-initialised or freed: Init and Reset
    // forget open dump streams by design, so a caller must Free with the switch reading 1 first.
    void Release(Slot& slot) {
        if (!slot.library_pointers) return;
        std::memcpy(slot.handle()->handle_magic, ezossl::kHandleMagic, sizeof(ezossl::kHandleMagic));
        const char* previous = std::getenv("AUDIO_SSL_DUMP");
        const std::string saved = previous ? previous : "";
        setenv("AUDIO_SSL_DUMP", "1", 1);
        EzoSsl_Free(slot.handle());
        if (previous) {
            setenv("AUDIO_SSL_DUMP", saved.c_str(), 1);
        } else {
            unsetenv("AUDIO_SSL_DUMP");
        }
    }

    void Initialise(Slot& slot, SslHandle* (*call)(void*, const SslInit*)) {
        const SslInit init = HostileInit();
        Release(slot);
        call(slot.buffer, &init);
        slot.library_pointers = true;  // zeroed at least, streams opened by the library
    }

    void FillBlock(int16_t* block, int kind) {
        switch (kind) {
            case 0: {  // one noise source reaching the microphones at different times
                int delays[EZOSSL_MIC_NUM];
                for (int& d : delays) d = in_.Byte() % (2 * kMaxChannelDelay + 1) - kMaxChannelDelay;
                const int amplitude = 1 + static_cast<int>(in_.Word() % 32767);
                for (int n = 0; n < EZOSSL_POINT_NUMBER; ++n) {
                    for (int c = 0; c < EZOSSL_MIC_NUM; ++c) {
                        block[4 * n + c] = Noise(noise_seed_, sample_clock_ + n - delays[c], amplitude);
                    }
                }
                sample_clock_ += EZOSSL_POINT_NUMBER;
                break;
            }
            case 1:  // full scale, alternating
                for (int i = 0; i < kBlockValues; ++i) block[i] = (i / EZOSSL_MIC_NUM) % 2 ? 32767 : -32768;
                break;
            case 2: {  // DC
                const int16_t value = static_cast<int16_t>(in_.Word());
                for (int i = 0; i < kBlockValues; ++i) block[i] = value;
                break;
            }
            case 3:
                std::memset(block, 0, kBlockValues * sizeof(int16_t));
                break;
            default:  // raw
                for (int i = 0; i < kBlockValues; ++i) block[i] = static_cast<int16_t>(in_.Byte() << 8 | in_.Byte());
                break;
        }
    }

    void RunBlocks(Slot& slot) {
        const int kind = in_.Byte() % 5;
        const int repeat = 1 + in_.Byte() % kMaxRepeat;
        const uint8_t options = in_.Byte();
        const int32_t gain = options & 1 ? (Sane() ? in_.Byte() % 241 - 120 : static_cast<int32_t>(HostileWord())) : 0;
        if (kind == 0) noise_seed_ = in_.Word();
        int16_t block[kBlockValues];
        int32_t delays[EZOSSL_PAIR_NUM];
        for (int r = 0; r < repeat && runs_ < kMaxRunsPerInput; ++r, ++runs_) {
            if (r == 0 || kind == 0) FillBlock(block, kind);  // gains then compound on one block
            if (options & 1) EzoSsl_ApplyDigitalGain(slot.handle(), block, gain);
            EzoSsl_Run(slot.handle(), block, delays);
        }
    }

    // The state area, pointers aside: a corrupted pointer is beyond any check.
    void FlipState(Slot& slot) {
        if (!slot.library_pointers) return;
        const size_t offset = in_.Word() % ezossl::kStateAreaBytes;
        if (in_.Byte() % 2) {
            const size_t word = offset & ~size_t{3};
            if (IsPointerByte(word)) return;
            const uint32_t value = HostileWord();
            std::memcpy(slot.buffer + word, &value, sizeof(value));
        } else if (!IsPointerByte(offset)) {
            slot.buffer[offset] ^= static_cast<uint8_t>(in_.Byte() | 1);
        }
    }

    void SwitchDump() {
        const uint8_t choice = in_.Byte();
        if (choice % 8 == 7) {
            unsetenv("AUDIO_SSL_DUMP");
        } else {
            setenv("AUDIO_SSL_DUMP", kDumpSwitches[choice % 8], 1);
        }
        const std::string missing = g_env.directory + "/missing";
        setenv("AUDIO_DUMP_PATH", (choice >> 3) % 8 == 0 ? missing.c_str() : g_env.directory.c_str(), 1);
    }

    void ChooseLevelFile() {
        const uint8_t choice = in_.Byte() % (std::size(kLevelFiles) + 2);
        if (choice < std::size(kLevelFiles)) {
            WriteFile(g_env.level_file, kLevelFiles[choice]);
            setenv("DML_PATH", g_env.level_file.c_str(), 1);
        } else {
            setenv("DML_PATH", choice == std::size(kLevelFiles) ? g_env.fifo.c_str() : "/dev/zero", 1);
        }
    }

    void NullArguments(Slot& slot) {
        SslHandle* handle = in_.Byte() % 2 ? slot.handle() : nullptr;
        int16_t block[kBlockValues] = {};
        int32_t value;
        uint16_t major, minor;
        switch (in_.Byte() % 12) {
            case 0: EzoSsl_Init(handle, nullptr); break;
            case 1: EzoSsl_Config(handle, nullptr); break;
            case 2: EzoSsl_Get_Config(handle, nullptr); break;
            case 3: EzoSsl_Set_ArbitraryShape(handle, nullptr); break;
            case 4: EzoSsl_Run(handle, nullptr, &value); break;
            case 5: EzoSsl_Run(handle, block, nullptr); break;
            case 6: EzoSsl_Get_Direction(handle, nullptr); break;
            case 7: EzoSsl_ApplyDigitalGain(handle, nullptr, 0); break;
            case 8: EzoSsl_Free(nullptr); break;
            case 9: EzoSsl_GetAPIVersion(&major, &minor); break;
            case 10: EzoSsl_SetCallbackFunction(HostileWord(), 0, 0, 0); break;
            default: EzoSsl_Reset(nullptr, nullptr); break;
        }
    }

    FuzzInput& in_;
    Slot slots_[kHandles];
    uint32_t noise_seed_ = 1;
    int64_t sample_clock_ = 0;
    int runs_ = 0;
};

void RemoveDirectory() {
    for (const char* name : {"/Audio_SSL_input_data0.pcm", "/Audio_SSL_input_data1.pcm", "/Audio_SSL_input_data2.pcm",
                             "/Audio_SSL_input_data3.pcm", "/level.json", "/fifo"}) {
        unlink((g_env.directory + name).c_str());
    }
    rmdir(g_env.directory.c_str());
}

void ResetEnvironment() {
    unsetenv("AUDIO_SSL_DUMP");
    setenv("AUDIO_DUMP_PATH", g_env.directory.c_str(), 1);
    setenv("DML_PATH", g_env.level_file.c_str(), 1);
    WriteFile(g_env.level_file, R"({"debug_level": 7})");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The library prints on standard output; a fuzzing run must not flood the log.
    const int null_device = open("/dev/null", O_WRONLY);
    dup2(null_device, STDOUT_FILENO);
    close(null_device);
    // In memory where possible: rewriting small files on a journalling disk costs milliseconds.
    char in_memory[] = "/dev/shm/ezossl-fuzz-XXXXXX";
    char on_disk[] = "/tmp/ezossl-fuzz-XXXXXX";
    const char* directory = mkdtemp(in_memory);
    if (!directory) directory = mkdtemp(on_disk);
    if (!directory) std::abort();
    g_env.directory = directory;
    g_env.level_file = g_env.directory + "/level.json";
    g_env.fifo = g_env.directory + "/fifo";
    mkfifo(g_env.fifo.c_str(), 0600);
    std::atexit(RemoveDirectory);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ResetEnvironment();
    const int before = CountOpenDescriptors();
    {
        FuzzInput in(data, size);
        Session session(in);
        while (!in.Empty()) session.Step();
    }
    ResetEnvironment();
    const int after = CountOpenDescriptors();
    if (after != before) {
        std::fprintf(stderr, "open descriptors: %d before, %d after the input\n", before, after);
        std::abort();
    }
    return 0;
}
