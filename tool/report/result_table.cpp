// Writers for the three output formats; JSON through cJSON so escaping is never hand-made.
#include "report/result_table.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "cli/errors.h"

namespace ezossl_tool {
namespace {

constexpr const char* kColumnGap = "  ";

// A field holding a comma or a quote is quoted, its quotes doubled (the map 4,1,2,3 is one field).
std::string CsvField(const std::string& text) {
    if (text.find_first_of(",\"\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
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

std::string JsonLine(const std::vector<Column>& columns, const std::vector<Cell>& row) {
    std::unique_ptr<cJSON, decltype(&cJSON_Delete)> object(cJSON_CreateObject(), cJSON_Delete);
    for (size_t c = 0; c < row.size(); ++c) cJSON_AddItemToObject(object.get(), columns[c].name.c_str(), JsonValue(row[c]));
    std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(object.get()), cJSON_free);
    return text.get();
}

}  // namespace

OutputFormat ParseOutputFormat(const std::string& text) {
    if (text == "table") return OutputFormat::kTable;
    if (text == "csv") return OutputFormat::kCsv;
    if (text == "json") return OutputFormat::kJson;
    throw UsageError("--format " + text + " is not known; choose table, csv or json");
}

RowWriter::RowWriter(std::FILE* out, OutputFormat format, std::vector<Column> columns)
    : out_(out), format_(format), columns_(std::move(columns)) {
    for (Column& column : columns_) column.width = std::max(column.width, column.name.size());
}

void RowWriter::WriteLine(const std::vector<std::string>& texts) {
    std::string line;
    for (size_t c = 0; c < texts.size(); ++c) {
        if (format_ == OutputFormat::kCsv) {
            line += (c ? "," : "") + CsvField(texts[c]);
            continue;
        }
        const Column& column = columns_[c];
        const std::string padding(column.width - std::min(column.width, texts[c].size()), ' ');
        line += (c ? kColumnGap : "") + (column.text ? texts[c] + padding : padding + texts[c]);
    }
    if (format_ == OutputFormat::kTable) line.erase(line.find_last_not_of(' ') + 1);
    std::fprintf(out_, "%s\n", line.c_str());
}

void RowWriter::Write(const std::vector<Cell>& row) {
    if (format_ == OutputFormat::kJson) {
        std::fprintf(out_, "%s\n", JsonLine(columns_, row).c_str());
    } else {
        if (!header_written_) {
            std::vector<std::string> names;
            for (const Column& column : columns_) names.push_back(column.name);
            WriteLine(names);
            header_written_ = true;
        }
        std::vector<std::string> texts;
        for (const Cell& cell : row) texts.push_back(cell.text);
        WriteLine(texts);
    }
    if (std::fflush(out_) != 0 || std::ferror(out_)) {
        throw RunError(std::string("cannot write the results to standard output: ") + std::strerror(errno));
    }
}

}  // namespace ezossl_tool
