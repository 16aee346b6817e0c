#include "tools/veltrix/io/FrameCsv.h"

#include <array>
#include <typeinfo>
#include <utility>

#include "support/NumberText.h"
#include "tools/veltrix/report/CsvRenderer.h"

namespace Veltrix::Tool {

namespace {

std::string written(const WString& cell) {
    std::string text;
    appendCsvText(text, cell.toUtf8());
    return text;
}

}  // namespace

DataFrame typedColumn(const DataFrame& verbatim, int col) {
    const ConstDataFrameColumn cells = verbatim(Selection::all, col);
    DataFrame result;
    try {
        result.append(cells.toDoubleVector());
    } catch (const std::bad_cast&) {
        result.append(cells);
    }
    return result;
}

void FrameCsv::Column::append(std::string& text, std::uint64_t row) const {
    if (!levels.empty()) {
        text += levels[static_cast<std::size_t>(codes[row])];
        return;
    }
    std::array<char, Support::kNumberTextSize> buffer;
    text += Support::writeNumber(numbers[row], buffer);
}

void FrameCsv::add(const DataFrame& frame) {
    for (int j = 0; j < frame.getNumCols(); ++j) {
        const ConstDataFrameColumn cells = frame(Selection::all, j);
        Column column;
        column.heading = written(frame.getColName(j));
        if (cells.getKind() == ColumnKind::text) {
            for (const WString& level : cells.getTexts(column.codes)) {
                column.levels.push_back(written(level));
            }
        } else {
            column.numbers = cells.toDoubleVector();
        }
        columns_.push_back(std::move(column));
    }
}

std::string FrameCsv::render(const IntVector& rows) const {
    std::string text;
    const auto endLine = [&text](std::size_t start) {
        // A line without any character would be passed over by readers.
        if (text.size() == start) text += "\"\"";
        text += '\n';
    };
    const char* separator = "";
    for (const Column& column : columns_) {
        text += std::exchange(separator, ",");
        text += column.heading;
    }
    endLine(0);
    for (const int row : rows) {
        const std::size_t start = text.size();
        separator = "";
        for (const Column& column : columns_) {
            text += std::exchange(separator, ",");
            column.append(text, static_cast<std::uint64_t>(row));
        }
        endLine(start);
    }
    return text;
}

}  // namespace Veltrix::Tool
