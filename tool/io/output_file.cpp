// Temporary-file-and-rename outputs, with one clear line when the destination is not writable.
#include "io/output_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "cli/errors.h"

namespace ezossl_tool {
namespace {

std::string CannotWrite(const std::string& path, int error) {
    return "cannot write \"" + path + "\": " + std::strerror(error) + " (choose a writable path)";
}

}  // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path)), temporary_(path_ + ".tmp") {
    if (std::filesystem::is_directory(path_)) {
        throw RunError("cannot write \"" + path_ + "\": it is a directory (give a file name)");
    }
    std::FILE* probe = std::fopen(temporary_.c_str(), "wb");
    if (!probe) throw RunError(CannotWrite(path_, errno));
    std::fclose(probe);
}

OutputFile::~OutputFile() {
    if (!committed_) std::remove(temporary_.c_str());
}

void OutputFile::Commit() {
    if (std::rename(temporary_.c_str(), path_.c_str()) != 0) throw RunError(CannotWrite(path_, errno));
    committed_ = true;
}

void OutputFile::WriteText(const std::string& text) {
    std::ofstream stream(temporary_, std::ios::binary);
    stream << text;
    stream.close();
    if (!stream) throw RunError(CannotWrite(path_, errno ? errno : EIO));
}

void WriteTextFile(const std::string& path, const std::string& text) {
    OutputFile file(path);
    file.WriteText(text);
    file.Commit();
}

void RequireDistinctFiles(const std::string& input, const std::string& output) {
    std::error_code error;
    if (std::filesystem::equivalent(input, output, error)) {
        throw UsageError("\"" + output + "\" is also an input of this command; write the output elsewhere");
    }
}

}  // namespace ezossl_tool
