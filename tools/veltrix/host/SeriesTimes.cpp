#include "tools/veltrix/host/SeriesTimes.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "support/NumberText.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

const std::string kRow = "Row";

/// Most by which the steps of equally spaced times may differ, relative to a step.
constexpr double kUneven = 1e-3;

template <class List>
List part(const List& list, std::size_t first, std::size_t count) {
    const auto begin = list.begin() + static_cast<std::ptrdiff_t>(first);
    return List(begin, begin + static_cast<std::ptrdiff_t>(count));
}

void readNumbers(SeriesTimes& times, const DataFile& file, const UsedColumn& column) {
    const RowSelection selection = selectRows(file, {column});
    auto found = selection.rowNumbers.begin();
    for (const std::int64_t row : times.rows) {
        found = std::lower_bound(found, selection.rowNumbers.end(), row);
        if (found == selection.rowNumbers.end() || *found != row) {
            throw UserError(fmt::format("{}: column {}, row {} holds no time", column.option,
                                        Tool::quoted(column.name), row));
        }
        const auto place = static_cast<std::size_t>(found - selection.rowNumbers.begin());
        const double time = selection.columns.front().numbers[place];
        if (!times.numbers.empty() && !(time > times.numbers.back())) {
            throw UserError(describeCell(column, row, Support::numberText(time)) +
                            fmt::format(", expected more than {}, the time of the row before",
                                        times.numbers.back()));
        }
        times.numbers.push_back(time);
    }
}

}  // namespace

SeriesTimes readTimes(const DataFile& file, const UsedColumn& column,
                      const std::vector<std::int64_t>& rows) {
    SeriesTimes times{rows, column.name, {}, {}};
    if (column.name.empty()) return times;
    if (!file.isText(column.option, column.name)) {
        readNumbers(times, file, column);
        return times;
    }
    const TypedColumn cells = readCategories(file, column);
    for (const std::int64_t row : rows) {
        const auto place = static_cast<std::size_t>(row) - 1;
        times.texts.push_back(cells.codes[place] < 0 ? "" : cells.level(place).toUtf8());
    }
    return times;
}

void SeriesTimes::addTo(Table& table, std::size_t first, std::size_t count) const {
    table.integers(kRow, part(rows, first, count));
    if (!numbers.empty()) table.numbers(column, part(numbers, first, count));
    if (!texts.empty()) table.text(column, part(texts, first, count));
}

Vector SeriesTimes::following(std::size_t count) const {
    if (numbers.size() < 2) return {};
    const double last = numbers.back();
    const double step = (last - numbers[0]) / static_cast<double>(numbers.size() - 1);
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        if (std::fabs(numbers[i] - numbers[i - 1] - step) > kUneven * step) return {};
    }
    Vector times;
    for (std::size_t k = 1; k <= count; ++k) times.push_back(last + static_cast<double>(k) * step);
    return times;
}

void SeriesTimes::addFollowing(Table& table, std::size_t count) const {
    if (!rows.empty()) table.counted(kRow, count, rows.back() + 1);
    Vector times = following(count);
    if (!times.empty()) table.numbers(column, std::move(times));
}

const std::string& SeriesTimes::axis() const { return numbers.empty() ? kRow : column; }

std::string SeriesTimes::followingAxis() const {
    if (rows.empty()) return {};
    return following(1).empty() ? kRow : column;
}

}  // namespace Veltrix::Tool
