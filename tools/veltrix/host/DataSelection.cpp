#include "tools/veltrix/host/DataSelection.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include <fmt/format.h>

#include "support/NumberText.h"
#include "tools/veltrix/host/RowChoice.h"
#include "tools/veltrix/host/Suggestion.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

[[noreturn]] void failText(const ConstDataFrameColumn& cells, const UsedColumn& column) {
    for (int i = 0; i < cells.getNumRows(); ++i) {
        const WString cell = cells(i).toString();
        if (cell.empty() || Support::parseNumber(cell.view())) continue;
        throw UserError(describeCell(column, i + 1, cell.toUtf8()) + ", expected a number");
    }
    throw UserError(
        fmt::format("{}: column {} holds text, expected numbers", column.option, column.name));
}

TypedColumn readNumbers(const DataFile& data, const UsedColumn& column) {
    const auto cells = data.frame()(Selection::all, data.columnIndex(column.option, column.name));
    if (cells.getKind() == ColumnKind::text) failText(cells, column);
    TypedColumn result{.used = column, .numbers = cells.toDoubleVector()};
    const Vector& numbers = result.numbers;
    const auto infinite = std::ranges::find_if(numbers, [](double x) { return std::isinf(x); });
    if (infinite != numbers.end()) {
        throw UserError(
            describeCell(column, infinite - numbers.begin() + 1, Support::numberText(*infinite)) +
            ", expected a finite number");
    }
    return result;
}

void dropIncomplete(const TypedColumn& column, std::vector<char>& complete) {
    for (std::size_t i = 0; i < complete.size(); ++i) {
        const bool missing =
            column.codes.empty() ? std::isnan(column.numbers[i]) : column.codes[i] < 0;
        if (missing) complete[i] = 0;
    }
}

/// Moves the elements of the rows to the front and drops the others; row numbers count from 1.
template <class List>
void keepRows(List& values, const std::vector<std::int64_t>& rowNumbers) {
    if (values.empty()) return;
    for (std::size_t k = 0; k < rowNumbers.size(); ++k) {
        values[k] = values[static_cast<std::uint64_t>(rowNumbers[k] - 1)];
    }
    values.resize(rowNumbers.size());
}

}  // namespace

std::string describeCell(const UsedColumn& column, std::int64_t row, std::string_view value) {
    return fmt::format("{}: column {}, row {} holds {}", column.option, Tool::quoted(column.name),
                       row, Tool::quoted(value));
}

DataFile::DataFile(const std::string& path, const CsvOptions& options) : path_(path) {
    try {
        CsvTable table = readCsv(path, options);
        frame_ = std::move(table.frame);
        dialect_ = table.dialect;
    } catch (const UserError& error) {
        throw UserError(std::string("--data: ") + error.what());
    }
    if (frame_.getNumRows() == 0) {
        throw UserError(
            fmt::format("--data: {} has no data rows below its header", Tool::quoted(path)));
    }
    for (int j = 0; j < frame_.getNumCols(); ++j) names_.push_back(frame_.getColName(j).toUtf8());
    chosen_ = chooseRows(*this, rowChoice());
}

std::int64_t DataFile::numChosen() const {
    return chosen_.empty() ? numRows() : std::ranges::count(chosen_, 1);
}

bool DataFile::hasColumn(const std::string& name) const {
    return std::ranges::find(names_, name) != names_.end();
}

int DataFile::columnIndex(const std::string& option, const std::string& name) const {
    const auto found = std::ranges::find(names_, name);
    if (found != names_.end()) return static_cast<int>(found - names_.begin());
    throw UserError(fmt::format("{}: no column {} in {}; {}", option, Tool::quoted(name),
                                Tool::quoted(path_), suggestion(name, names_, "the columns are")));
}

bool DataFile::isText(const std::string& option, const std::string& name) const {
    return frame_(Selection::all, columnIndex(option, name)).getKind() == ColumnKind::text;
}

TypedColumn readCategories(const DataFile& data, const UsedColumn& column) {
    const auto cells = data.frame()(Selection::all, data.columnIndex(column.option, column.name));
    TypedColumn result{.used = column};
    result.levels = cells.getLevels(result.codes);
    // In a column of numbers a missing cell is NaN and has a text of its own.
    const WString missing = cells.getKind() == ColumnKind::text ? L"" : L"nan";
    const auto found = std::find(result.levels.begin(), result.levels.end(), missing);
    if (found == result.levels.end()) return result;
    const auto place = static_cast<int>(found - result.levels.begin());
    StringVector levels;
    for (const WString& level : result.levels) {
        if (level != missing) levels.push_back(level);
    }
    result.levels = std::move(levels);
    for (int& code : result.codes) code = code == place ? -1 : code - (code > place ? 1 : 0);
    return result;
}

RowSelection selectRows(const DataFile& data, const std::vector<UsedColumn>& columns) {
    RowSelection selection;
    selection.rowsRead = data.numRows();
    selection.rowsChosen = data.numChosen();
    std::vector<char> complete(static_cast<std::size_t>(data.numRows()));
    for (std::size_t i = 0; i < complete.size(); ++i) complete[i] = data.isChosen(i) ? 1 : 0;
    for (const UsedColumn& column : columns) {
        selection.columns.push_back(column.categories ? readCategories(data, column)
                                                      : readNumbers(data, column));
        dropIncomplete(selection.columns.back(), complete);
    }
    for (std::size_t i = 0; i < complete.size(); ++i) {
        if (complete[i] != 0) selection.rowNumbers.push_back(static_cast<std::int64_t>(i) + 1);
    }
    if (selection.rowsUsed() < selection.rowsRead) {
        for (TypedColumn& column : selection.columns) {
            keepRows(column.numbers, selection.rowNumbers);
            keepRows(column.codes, selection.rowNumbers);
        }
    }
    return selection;
}

std::string quotedList(const StringVector& texts) {
    constexpr std::size_t kListed = 5;
    std::string list;
    for (std::size_t k = 0; k < std::min<std::size_t>(texts.size(), kListed); ++k) {
        list += (k == 0 ? "" : ", ") + Tool::quoted(texts[k].toUtf8());
    }
    return list + (texts.size() > kListed ? ", ..." : "");
}

std::vector<std::string> splitNames(const DataFile& data, const std::vector<std::string>& values) {
    std::vector<std::string> names;
    for (const std::string& value : values) {
        if (data.hasColumn(value)) {
            names.push_back(value);
            continue;
        }
        for (std::string& name : splitAtCommas(value)) names.push_back(std::move(name));
    }
    return names;
}

}  // namespace Veltrix::Tool
