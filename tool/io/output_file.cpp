// Outputs through a temporary file and a rename, or in place for devices and FIFOs; one clear
// line when the destination is not writable.
#include "io/output_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "cli/errors.h"

namespace ezossl_tool {
namespace {

namespace fs = std::filesystem;

// As many links as the system itself follows before it gives up (Linux's MAXSYMLINKS).
constexpr int kMaxLinkHops = 40;

std::string CannotWrite(const std::string& path, int error) {
    return "cannot write \"" + path + "\": " + std::strerror(error) + " (choose a writable path)";
}

// The file a path finally names: each symbolic link replaced by its target, dangling or not.
std::string ResolveLinks(const std::string& path) {
    fs::path current = path;
    for (int hop = 0; hop < kMaxLinkHops; ++hop) {
        std::error_code error;
        if (!fs::is_symlink(fs::symlink_status(current, error))) return current.string();
        const fs::path link = fs::read_symlink(current, error);
        if (error) throw RunError(CannotWrite(path, error.value()));
        current = link.is_absolute() ? link : current.parent_path() / link;
    }
    throw RunError(CannotWrite(path, ELOOP));
}

// Identity of a file, or for a missing one, of its directory plus its name.
bool Identity(const std::string& path, struct stat& info, std::string& name) {
    const std::string target = ResolveLinks(path);
    name.clear();
    if (stat(target.c_str(), &info) == 0) return true;
    const fs::path file = target;
    name = file.filename().string();
    const std::string directory = file.has_parent_path() ? file.parent_path().string() : ".";
    return stat(directory.c_str(), &info) == 0;
}

}  // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path)), target_(ResolveLinks(path_)) {
    struct stat info;
    if (stat(target_.c_str(), &info) == 0 && !S_ISREG(info.st_mode)) {
        if (S_ISDIR(info.st_mode)) throw RunError("cannot write \"" + path_ + "\": it is a directory (give a file name)");
        // A device or FIFO: written where it is (opening a FIFO waits for its reader).
        if (access(target_.c_str(), W_OK) != 0) throw RunError(CannotWrite(path_, errno));
        return;
    }
    temporary_ = target_ + ".tmp";
    std::FILE* probe = std::fopen(temporary_.c_str(), "wb");
    if (!probe) throw RunError(CannotWrite(path_, errno));
    std::fclose(probe);
}

OutputFile::~OutputFile() {
    if (!committed_ && !temporary_.empty()) std::remove(temporary_.c_str());
}

void OutputFile::Commit() {
    if (!temporary_.empty() && std::rename(temporary_.c_str(), target_.c_str()) != 0) {
        throw RunError(CannotWrite(path_, errno));
    }
    committed_ = true;
}

void OutputFile::WriteText(const std::string& text) {
    std::ofstream stream(WritePath(), std::ios::binary);
    stream << text;
    stream.close();
    if (!stream) throw RunError(CannotWrite(path_, errno ? errno : EIO));
}

bool SameFile(const std::string& a, const std::string& b) {
    struct stat info_a, info_b;
    std::string name_a, name_b;
    if (!Identity(a, info_a, name_a) || !Identity(b, info_b, name_b)) return false;
    return info_a.st_dev == info_b.st_dev && info_a.st_ino == info_b.st_ino && name_a == name_b;
}

void RequireDistinctFiles(const std::string& input, const std::string& output) {
    if (SameFile(input, output)) {
        throw UsageError("\"" + output + "\" is also an input of this command; write the output elsewhere");
    }
}

}  // namespace ezossl_tool
