#include "tools/veltrix/report/TextRenderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "support/Utf8.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/report/NumberFormat.h"

namespace Veltrix::Tool {

namespace {

constexpr std::size_t kMaxWidth = 110;
constexpr std::size_t kFirstRecords = 20;
constexpr std::string_view kGap = "  ";

enum class Alignment { Left, Right };

/// A column as text: heading first, all padded to one width.
struct TextColumn {
    std::vector<std::string> lines;
    std::size_t width = 0;
};

void pad(std::string& text, std::size_t width, Alignment alignment) {
    const std::size_t taken = displayWidth(text);
    if (taken >= width) return;
    text.insert(alignment == Alignment::Left ? text.size() : 0, width - taken, ' ');
}

void padAll(std::vector<std::string>& texts, Alignment alignment) {
    std::size_t width = 0;
    for (const std::string& text : texts) width = std::max(width, displayWidth(text));
    for (std::string& text : texts) pad(text, width, alignment);
}

int seriesDecimals(const Column& column, std::size_t rows) {
    double largest = 0.0;
    bool whole = true;
    for (std::size_t i = 0; i < rows; ++i) {
        const Cell cell = column.cell(i);
        const double* const number = std::get_if<double>(&cell);
        if (number == nullptr || !std::isfinite(*number)) continue;
        largest = std::max(largest, std::fabs(*number));
        whole = whole && std::trunc(*number) == *number;
    }
    const int decimals = decimalsFor(largest);
    return whole && decimals > 0 ? 0 : decimals;
}

bool isNumeric(const Column& column, std::size_t rows) {
    for (std::size_t i = 0; i < rows; ++i) {
        if (std::holds_alternative<std::string_view>(column.cell(i))) return false;
    }
    return true;
}

/// How the cells of a column become text.
struct CellText {
    NumberStyle style;
    bool aligned;  ///< among numbers only, where trailing zeros tell the precision
    int decimals;

    std::string operator()(std::monostate) const { return {}; }
    std::string operator()(std::string_view text) const { return oneLine(text); }
    std::string operator()(std::int64_t number) const { return fmt::format("{}", number); }
    std::string operator()(double number) const {
        switch (style) {
            case NumberStyle::Series:
                return formatDecimals(number, decimals);
            case NumberStyle::Probability:
                return formatProbability(number);
            case NumberStyle::Single:
                break;
        }
        return aligned ? formatSingle(number) : withoutTrailingZeros(formatSingle(number));
    }
};

/// Pads behind the numbers so that their decimal points stand below one another.
void alignPoints(std::vector<std::string>& numbers) {
    const auto tailOf = [](const std::string& number) {
        const std::size_t point = number.find_first_of(".e");
        return point == std::string::npos ? 0 : number.size() - point;
    };
    std::size_t longest = 0;
    for (const std::string& number : numbers) longest = std::max(longest, tailOf(number));
    for (std::string& number : numbers) {
        const bool isNumber = number.find_first_of("0123456789") != std::string::npos;
        if (isNumber) number.append(longest - tailOf(number), ' ');
    }
}

TextColumn layOut(const Column& column, std::size_t rows) {
    const bool numeric = isNumeric(column, rows);
    const int decimals = column.style == NumberStyle::Series ? seriesDecimals(column, rows) : 0;
    const CellText toText{column.style, numeric, decimals};
    std::vector<std::string> lines;
    lines.reserve(rows + 1);
    for (std::size_t i = 0; i < rows; ++i) lines.push_back(std::visit(toText, column.cell(i)));
    if (numeric && column.style == NumberStyle::Single) alignPoints(lines);
    lines.insert(lines.begin(), oneLine(column.heading));
    padAll(lines, numeric ? Alignment::Right : Alignment::Left);
    const std::size_t width = displayWidth(lines.front());
    return {std::move(lines), width};
}

bool isBlank(const Column& column) {
    for (std::size_t i = 0; i < column.size(); ++i) {
        const Cell cell = column.cell(i);
        const auto* const text = std::get_if<std::string_view>(&cell);
        const bool blank = std::holds_alternative<std::monostate>(cell) || (text && text->empty());
        if (!blank) return false;
    }
    return true;
}

void appendLine(std::string& text, std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    text += line;
    text += '\n';
}

void renderPanel(std::string& text, const std::vector<const TextColumn*>& columns,
                 bool withHeadings) {
    for (std::size_t k = withHeadings ? 0 : 1; k < columns.front()->lines.size(); ++k) {
        std::string line;
        for (const TextColumn* column : columns) {
            if (column != columns.front()) line += kGap;
            line += column->lines[k];
        }
        appendLine(text, std::move(line));
    }
}

/// Panels of columns that fit the width; each starts with the first column, which names the rows.
void renderColumns(std::string& text, const std::vector<TextColumn>& columns, bool withHeadings) {
    std::size_t next = 0;
    while (next < columns.size()) {
        std::vector<const TextColumn*> panel{&columns.front()};
        std::size_t width = columns.front().width;
        if (next > 0) text += '\n';
        for (next = std::max<std::size_t>(next, 1); next < columns.size(); ++next) {
            width += kGap.size() + columns[next].width;
            if (width > kMaxWidth && panel.size() > 1) break;
            panel.push_back(&columns[next]);
        }
        renderPanel(text, panel, withHeadings);
    }
}

void renderTable(std::string& text, const Table& table, bool allRecords) {
    const bool cut = table.perRecord && !allRecords && table.numRows() > kFirstRecords;
    const std::size_t rows = cut ? kFirstRecords : table.numRows();
    text += '\n';
    appendLine(text, oneLine(table.title));
    appendLine(text, std::string(displayWidth(table.title), '-'));
    std::vector<TextColumn> columns;
    for (const Column& column : table.columns) {
        if (columns.empty() || table.perRecord || !isBlank(column)) {
            columns.push_back(layOut(column, rows));
        }
    }
    renderColumns(text, columns, !table.entries);
    if (cut) {
        appendLine(text, fmt::format("... {} more rows; --all-records shows them, --format csv, "
                                     "--format json and --report hold them",
                                     table.numRows() - rows));
    }
    for (const std::string& note : table.notes)
        appendLine(text, fmt::format("Note: {}", oneLine(note)));
}

/// Ranges of code points that terminals show in two columns (East Asian wide, pictographs).
constexpr std::array<std::pair<char32_t, char32_t>, 10> kWide = {{{0x1100, 0x115F},
                                                                  {0x2E80, 0x303E},
                                                                  {0x3041, 0xA4CF},
                                                                  {0xAC00, 0xD7A3},
                                                                  {0xF900, 0xFAFF},
                                                                  {0xFE30, 0xFE6F},
                                                                  {0xFF00, 0xFF60},
                                                                  {0xFFE0, 0xFFE6},
                                                                  {0x1F300, 0x1F9FF},
                                                                  {0x20000, 0x3FFFD}}};

}  // namespace

std::size_t displayWidth(std::string_view utf8) {
    const bool ascii = std::ranges::none_of(utf8, [](char c) { return (c & 0x80) != 0; });
    if (ascii) return utf8.size();
    std::size_t width = 0;
    for (const char32_t c : Support::decodeUtf8<char32_t>(utf8)) {
        const bool combining = c >= 0x300 && c <= 0x36F;
        const bool wide = std::ranges::any_of(
            kWide, [c](const auto& range) { return c >= range.first && c <= range.second; });
        width += combining ? 0U : wide ? 2U : 1U;
    }
    return width;
}

std::string renderText(const Report& report, bool allRecords) {
    std::string text;
    appendLine(text, oneLine(report.title));
    appendLine(text, std::string(displayWidth(report.title), '='));
    for (const Table& table : report.tables) {
        if (!table.chartOnly) renderTable(text, table, allRecords);
    }
    return text;
}

}  // namespace Veltrix::Tool
