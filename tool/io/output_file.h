// Writing an output through a temporary file, so a failed run never leaves half a file behind.
#pragma once

#include <string>

namespace ezossl_tool {

// Reserves "<path>.tmp" at once, so an unwritable destination is reported before any work is
// done; Commit() renames it over the destination, otherwise it is removed.
class OutputFile {
  public:
    explicit OutputFile(std::string path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& TemporaryPath() const { return temporary_; }
    const std::string& Path() const { return path_; }
    // Writes the whole text to the temporary file.
    void WriteText(const std::string& text);
    void Commit();

  private:
    std::string path_;
    std::string temporary_;
    bool committed_ = false;
};

// Writes the whole text to path through an OutputFile.
void WriteTextFile(const std::string& path, const std::string& text);

// Refuses to overwrite one of the command's inputs with an output.
void RequireDistinctFiles(const std::string& input, const std::string& output);

}  // namespace ezossl_tool
