// Writing an output: regular files through a temporary file and a rename, so a failed run never
// leaves half a file behind; devices and FIFOs in place; symbolic links followed to their target.
#pragma once

#include <string>

namespace ezossl_tool {

// For a regular (or new) file, reserves "<target>.tmp" at once, so an unwritable destination is
// reported before any work is done; Commit() renames it over the target, otherwise it is removed.
// A device or FIFO is written directly and never replaced.
class OutputFile {
  public:
    explicit OutputFile(std::string path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Where the content goes: the temporary file, or the target itself when written in place.
    const std::string& WritePath() const { return temporary_.empty() ? target_ : temporary_; }
    const std::string& Path() const { return path_; }
    // Writes the whole text.
    void WriteText(const std::string& text);
    void Commit();

  private:
    std::string path_;        // as given, for messages
    std::string target_;      // symbolic links resolved
    std::string temporary_;   // empty when written in place
    bool committed_ = false;
};

// Refuses to overwrite one of the command's inputs with an output.
void RequireDistinctFiles(const std::string& input, const std::string& output);

// True when both paths name one file (the same device and inode, or for files that do not exist
// yet, the same name in the same directory), whatever their spelling and links.
bool SameFile(const std::string& a, const std::string& b);

}  // namespace ezossl_tool
