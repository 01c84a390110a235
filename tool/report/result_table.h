// Rows of results written one at a time as an aligned text table, CSV or JSON lines.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace ezossl_tool {

enum class OutputFormat { kTable, kCsv, kJson };

// Parses --format (table, csv or json); throws UsageError.
OutputFormat ParseOutputFormat(const std::string& text);

struct Cell {
    enum class Kind { kEmpty, kNumber, kText };
    Kind kind = Kind::kEmpty;
    std::string text;   // numbers already formatted with their decimals

    static Cell Empty() { return {}; }
    static Cell Number(std::string formatted) { return {Kind::kNumber, std::move(formatted)}; }
    static Cell Text(std::string text) { return {Kind::kText, std::move(text)}; }
};

// A column of the text table: rows stream out before the widest value is known, so each
// column declares its width; text is aligned left, numbers right, each header like its column.
struct Column {
    std::string name;
    size_t width = 0;     // at least the name's width; wider values push their row out
    bool text = false;
};

// Writes each row the moment it is given and flushes it, so a reader of a pipe sees it at once.
// The header comes with the first row (table and CSV). Table: empty cells blank. CSV: empty
// cells empty. JSON: one object per row, empty cells null.
class RowWriter {
  public:
    RowWriter(std::FILE* out, OutputFormat format, std::vector<Column> columns);
    void Write(const std::vector<Cell>& row);
    OutputFormat Format() const { return format_; }

  private:
    void WriteLine(const std::vector<std::string>& texts);

    std::FILE* out_;
    OutputFormat format_;
    std::vector<Column> columns_;
    bool header_written_ = false;
};

}  // namespace ezossl_tool
