#include "tools/veltrix/report/Report.h"

#include <cmath>
#include <numeric>
#include <type_traits>
#include <utility>

namespace Veltrix::Tool {

std::size_t Column::size() const {
    return std::visit([](const auto& list) { return static_cast<std::size_t>(list.size()); },
                      values);
}

Cell Column::cell(std::size_t row) const {
    return std::visit(
        [row](const auto& list) -> Cell {
            const auto& element = list[row];
            if constexpr (std::is_same_v<std::decay_t<decltype(element)>, Value>) {
                return std::visit([](const auto& content) -> Cell { return content; }, element);
            } else {
                return element;
            }
        },
        values);
}

Table& Table::add(Column column) {
    columns.push_back(std::move(column));
    return *this;
}

Table& Table::text(std::string heading, std::vector<std::string> values) {
    return add({std::move(heading), std::move(values)});
}

Table& Table::text(std::string heading, const StringVector& values) {
    return text(std::move(heading), toTexts(values));
}

Table& Table::integers(std::string heading, std::vector<std::int64_t> values) {
    return add({std::move(heading), std::move(values)});
}

Table& Table::integers(std::string heading, const IntVector& values) {
    return integers(std::move(heading), std::vector<std::int64_t>(values.begin(), values.end()));
}

Table& Table::counted(std::string heading, std::uint64_t count, std::int64_t first) {
    std::vector<std::int64_t> numbers(count);
    std::iota(numbers.begin(), numbers.end(), first);
    return integers(std::move(heading), std::move(numbers));
}

Table& Table::numbers(std::string heading, Vector values) {
    return add({std::move(heading), std::move(values)});
}

Table& Table::series(std::string heading, Vector values) {
    return add({std::move(heading), std::move(values), NumberStyle::Series});
}

Table& Table::probability(std::string heading, Vector values) {
    return add({std::move(heading), std::move(values), NumberStyle::Probability});
}

Table& Table::cells(std::string heading, std::vector<Value> values, NumberStyle style) {
    return add({std::move(heading), std::move(values), style});
}

Table& Table::marked(std::string heading, std::uint64_t count, int place, std::string mark) {
    std::vector<std::string> texts(count);
    texts.at(static_cast<std::size_t>(place)) = std::move(mark);
    return text(std::move(heading), std::move(texts));
}

Table& Table::matrix(const std::vector<std::string>& headings, const Matrix& values) {
    for (int j = 0; j < values.getNumCols(); ++j) {
        const auto cells = values(Veltrix::Selection::all, j).elements();
        series(headings[static_cast<std::size_t>(j)], Vector(cells.begin(), cells.end()));
    }
    return *this;
}

Table& Table::entry(std::string label, Value value) {
    if (columns.empty()) {
        entries = true;
        text("Item", std::vector<std::string>()).cells("Value", {});
    }
    std::get<std::vector<std::string>>(columns[0].values).push_back(std::move(label));
    std::get<std::vector<Value>>(columns[1].values).push_back(std::move(value));
    return *this;
}

Table& Table::note(std::string text) {
    notes.push_back(std::move(text));
    return *this;
}

Table& Table::note(const std::vector<std::string>& texts) {
    notes.insert(notes.end(), texts.begin(), texts.end());
    return *this;
}

std::vector<std::string> toTexts(const StringVector& names) {
    std::vector<std::string> texts;
    texts.reserve(names.size());
    for (const WString& name : names) texts.push_back(name.toUtf8());
    return texts;
}

Value countValue(double count) {
    if (!std::isfinite(count)) return count;
    return static_cast<std::int64_t>(std::llround(count));
}

std::string_view nonFiniteText(double number) {
    if (std::isnan(number)) return "NaN";
    return number > 0 ? "Infinity" : "-Infinity";
}

}  // namespace Veltrix::Tool
