#include "tools/veltrix/report/ReportBuilder.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace Veltrix::Tool {

namespace {

bool isFinite(const Cell& cell) {
    const auto* const number = std::get_if<double>(&cell);
    return number != nullptr ? std::isfinite(*number) : std::holds_alternative<std::int64_t>(cell);
}

bool isFinite(const Column& column) {
    for (std::size_t i = 0; i < column.size(); ++i) {
        if (!isFinite(column.cell(i))) return false;
    }
    return true;
}

}  // namespace

ChartBuilder& ChartBuilder::x(std::string table, std::string column) {
    x_ = {std::move(table), std::move(column)};
    return *this;
}

ChartBuilder& ChartBuilder::y(std::string table, std::string column) {
    y_ = {std::move(table), std::move(column)};
    return *this;
}

ChartBuilder& ChartBuilder::line() {
    lines_.push_back(y_);
    return *this;
}

ChartBuilder& ChartBuilder::line(std::string table, std::string column) {
    lines_.push_back({std::move(table), std::move(column)});
    return *this;
}

ChartBuilder& ChartBuilder::stems() {
    stems_ = true;
    return *this;
}

ChartBuilder& ChartBuilder::path() {
    path_ = true;
    return *this;
}

ChartBuilder& ChartBuilder::group(std::string name, std::size_t numRows) {
    const std::size_t first =
        groups_.empty() ? 0 : groups_.back().firstRow + groups_.back().numRows;
    groups_.push_back({std::move(name), first, numRows});
    return *this;
}

Table& ReportBuilder::table(std::string title) {
    return tables_.emplace_back(Table{.title = std::move(title), .columns = {}});
}

Table& ReportBuilder::records(std::string title) {
    Table& added = table(std::move(title));
    added.perRecord = true;
    return added;
}

Table& ReportBuilder::chartTable(std::string title) {
    Table& added = records(std::move(title));
    added.chartOnly = true;
    return added;
}

ChartBuilder& ReportBuilder::chart(std::string title) {
    return charts_.emplace_back(std::move(title));
}

ChartAxis ReportBuilder::find(const NamedColumn& column) const {
    const auto table = std::ranges::find(tables_, column.table, &Table::title);
    if (table == tables_.end()) throw std::logic_error("No table " + column.table);
    // Columns that are named by the data come last and may repeat a name.
    const auto found =
        std::find_if(table->columns.rbegin(), table->columns.rend(),
                     [&](const Column& each) { return each.heading == column.column; });
    if (found == table->columns.rend()) {
        throw std::logic_error("No column " + column.column + " in table " + column.table);
    }
    return {static_cast<std::size_t>(table - tables_.begin()),
            static_cast<std::size_t>(table->columns.rend() - found) - 1};
}

Chart ReportBuilder::resolve(const ChartBuilder& chart) const {
    Chart result{.title = chart.title_,
                 .x = find(chart.x_),
                 .y = find(chart.y_),
                 .stems = chart.stems_,
                 .path = chart.path_,
                 .groups = chart.groups_};
    for (const NamedColumn& line : chart.lines_) result.lines.push_back(find(line));
    return result;
}

bool ReportBuilder::isDrawable(const ChartBuilder& chart) const {
    const Chart resolved = resolve(chart);
    std::vector<ChartAxis> axes = resolved.lines;
    axes.insert(axes.end(), {resolved.x, resolved.y});
    return tables_[resolved.x.table].numRows() > 0 &&
           std::ranges::all_of(axes, [this](const ChartAxis& axis) {
               return isFinite(tables_[axis.table].columns[axis.column]);
           });
}

Report ReportBuilder::take() {
    std::erase_if(charts_, [this](const ChartBuilder& chart) { return !isDrawable(chart); });
    std::erase_if(tables_, [this](const Table& table) {
        return table.chartOnly && std::ranges::none_of(charts_, [&](const ChartBuilder& chart) {
                   return chart.y_.table == table.title;
               });
    });
    Report report{.title = std::move(title_), .tables = {}};
    for (const ChartBuilder& chart : charts_) report.charts.push_back(resolve(chart));
    std::ranges::move(tables_, std::back_inserter(report.tables));
    tables_.clear();
    charts_.clear();
    return report;
}

}  // namespace Veltrix::Tool
