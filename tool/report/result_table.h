// Rows of results written as an aligned text table, CSV or JSON lines.
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

struct ResultTable {
    std::vector<std::string> columns;
    std::vector<std::vector<Cell>> rows;
};

// Table: header and right-aligned columns, empty cells blank. CSV: header, empty cells empty.
// JSON: one object per row, empty cells null.
void WriteResultTable(std::FILE* out, OutputFormat format, const ResultTable& table);

}  // namespace ezossl_tool
