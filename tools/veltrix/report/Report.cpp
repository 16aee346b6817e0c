#include "tools/veltrix/report/Report.h"

#include <cmath>
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

Column series(std::string heading, Vector values) {
    return {std::move(heading), std::move(values), NumberStyle::Series};
}

Table entryTable(std::string title, std::vector<Entry> entries, std::vector<std::string> notes) {
    std::vector<std::string> labels;
    std::vector<Value> values;
    for (Entry& entry : entries) {
        labels.push_back(std::move(entry.label));
        values.push_back(std::move(entry.value));
    }
    Table table{
        .title = std::move(title), .columns = {}, .notes = std::move(notes), .entries = true};
    table.columns.push_back({.heading = "Item", .values = std::move(labels)});
    table.columns.push_back({.heading = "Value", .values = std::move(values)});
    return table;
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
