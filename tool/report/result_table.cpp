// Writers for the three output formats; JSON through cJSON so escaping is never hand-made.
#include "report/result_table.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <memory>

#include "cli/errors.h"

namespace ezossl_tool {
namespace {

constexpr const char* kColumnGap = "  ";

// Text columns are aligned left, numbers right, each header like its column.
void WriteText(std::FILE* out, const ResultTable& table) {
    const size_t count = table.columns.size();
    std::vector<size_t> widths(count);
    std::vector<bool> left(count, false);
    for (size_t c = 0; c < count; ++c) widths[c] = table.columns[c].size();
    for (const auto& row : table.rows) {
        for (size_t c = 0; c < count; ++c) {
            widths[c] = std::max(widths[c], row[c].text.size());
            left[c] = left[c] || row[c].kind == Cell::Kind::kText;
        }
    }
    const auto write_line = [&](const std::vector<std::string>& texts) {
        std::string line;
        for (size_t c = 0; c < count; ++c) {
            const std::string padding(widths[c] - texts[c].size(), ' ');
            line += (c ? kColumnGap : "") + (left[c] ? texts[c] + padding : padding + texts[c]);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        std::fprintf(out, "%s\n", line.c_str());
    };
    write_line(table.columns);
    for (const auto& row : table.rows) {
        std::vector<std::string> texts;
        for (const Cell& cell : row) texts.push_back(cell.text);
        write_line(texts);
    }
}

void WriteCsv(std::FILE* out, const ResultTable& table) {
    for (size_t c = 0; c < table.columns.size(); ++c) std::fprintf(out, "%s%s", c ? "," : "", table.columns[c].c_str());
    std::fputc('\n', out);
    for (const auto& row : table.rows) {
        for (size_t c = 0; c < row.size(); ++c) std::fprintf(out, "%s%s", c ? "," : "", row[c].text.c_str());
        std::fputc('\n', out);
    }
}

cJSON* JsonValue(const Cell& cell) {
    switch (cell.kind) {
        case Cell::Kind::kNumber:
            return cJSON_CreateRaw(cell.text.c_str());
        case Cell::Kind::kText:
            return cJSON_CreateString(cell.text.c_str());
        case Cell::Kind::kEmpty:
            break;
    }
    return cJSON_CreateNull();
}

void WriteJsonLines(std::FILE* out, const ResultTable& table) {
    for (const auto& row : table.rows) {
        std::unique_ptr<cJSON, decltype(&cJSON_Delete)> object(cJSON_CreateObject(), cJSON_Delete);
        for (size_t c = 0; c < row.size(); ++c) {
            cJSON_AddItemToObject(object.get(), table.columns[c].c_str(), JsonValue(row[c]));
        }
        std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(object.get()), cJSON_free);
        std::fprintf(out, "%s\n", text.get());
    }
}

}  // namespace

OutputFormat ParseOutputFormat(const std::string& text) {
    if (text == "table") return OutputFormat::kTable;
    if (text == "csv") return OutputFormat::kCsv;
    if (text == "json") return OutputFormat::kJson;
    throw UsageError("--format " + text + " is not known; choose table, csv or json");
}

void WriteResultTable(std::FILE* out, OutputFormat format, const ResultTable& table) {
    switch (format) {
        case OutputFormat::kTable:
            return WriteText(out, table);
        case OutputFormat::kCsv:
            return WriteCsv(out, table);
        case OutputFormat::kJson:
            return WriteJsonLines(out, table);
    }
}

}  // namespace ezossl_tool
