#include "tools/veltrix/report/CsvRenderer.h"

#include <array>
#include <cmath>
#include <string_view>

#include <fmt/format.h>

#include "support/NumberText.h"
#include "tools/veltrix/io/CsvSettings.h"

namespace Veltrix::Tool {

namespace {

/// Appends cells to the text; a class only for its overloads.
struct CellWriter {
    std::string& text;

    void operator()(std::monostate) const {}
    void operator()(std::int64_t number) const {
        fmt::format_to(std::back_inserter(text), "{}", number);
    }
    void operator()(double number) const {
        std::array<char, Support::kNumberTextSize> buffer;
        text +=
            std::isfinite(number) ? Support::writeNumber(number, buffer) : nonFiniteText(number);
    }
    void operator()(std::string_view content) const { appendCsvText(text, content); }
};

void renderTable(std::string& text, const Table& table) {
    const CellWriter write{text};
    write(table.title);
    text += '\n';
    const char* separator = "";
    for (const Column& column : table.columns) {
        text += std::exchange(separator, ",");
        write(column.heading);
    }
    text += '\n';
    for (std::size_t i = 0; i < table.numRows(); ++i) {
        separator = "";
        for (const Column& column : table.columns) {
            text += std::exchange(separator, ",");
            std::visit(write, column.cell(i));
        }
        text += '\n';
    }
    for (const std::string& note : table.notes) {
        write(note);
        text += '\n';
    }
    text += '\n';
}

/// Readers drop blanks around a cell that is not quoted.
bool needsQuotes(std::string_view cell) {
    constexpr std::string_view kBlanks = " \t";
    return cell.find_first_of(",\"\r\n") != std::string_view::npos ||
           (!cell.empty() && (kBlanks.find(cell.front()) != std::string_view::npos ||
                              kBlanks.find(cell.back()) != std::string_view::npos));
}

/// Spreadsheets take a cell that begins so for a formula; a number is none.
bool looksLikeFormula(std::string_view cell) {
    constexpr std::string_view kStarts = "=+-@\t\r";
    return !cell.empty() && kStarts.find(cell.front()) != std::string_view::npos &&
           !Support::parseNumber(cell);
}

}  // namespace

void appendCsvText(std::string& text, std::string_view cell) {
    const char* const mark = csvSettings().safeCells && looksLikeFormula(cell) ? "'" : "";
    if (!needsQuotes(cell)) {
        text += mark;
        text += cell;
        return;
    }
    text += '"';
    text += mark;
    for (const char c : cell) {
        if (c == '"') text += '"';
        text += c;
    }
    text += '"';
}

std::string renderCsv(const Report& report) {
    std::string text;
    for (const Table& table : report.tables) renderTable(text, table);
    return text;
}

}  // namespace Veltrix::Tool
