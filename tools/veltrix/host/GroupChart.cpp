#include "tools/veltrix/host/GroupChart.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Util.h"

namespace Veltrix::Tool {

namespace {

/// Most series that a chart of a workbook can have.
constexpr std::size_t kMostSeries = 255;

/// The elements of a list at these places.
Column::Values at(const Column::Values& values, const std::vector<std::size_t>& places) {
    return std::visit(
        [&](const auto& list) -> Column::Values {
            std::decay_t<decltype(list)> chosen;
            for (const std::size_t place : places) chosen.push_back(list[place]);
            return chosen;
        },
        values);
}

}  // namespace

std::vector<std::string> numbered(const std::string& text, int count) {
    std::vector<std::string> names;
    for (int k = 1; k <= count; ++k) names.push_back(fmt::format("{} {}", text, k));
    return names;
}

void addGroupChart(ReportBuilder& report, const GroupChart& chart, const PartData& records,
                   const IntVector& groupOf, const Matrix& columns,
                   const std::vector<std::string>& names) {
    if (chart.groups.size() > kMostSeries) return;
    const bool plane = columns.getNumCols() > 1;
    IntVector order = Util::range(0, columns.getNumRows());
    std::ranges::stable_sort(order, {}, [&](int i) { return groupOf[i]; });
    std::vector<std::size_t> groups;
    std::vector<std::size_t> sizes(chart.groups.size());
    Vector x;
    Vector y;
    for (const int i : order) {
        groups.push_back(static_cast<std::size_t>(groupOf[i]));
        ++sizes[groups.back()];
        const auto row = static_cast<double>(records.rowNumbers[static_cast<std::size_t>(i)]);
        x.push_back(plane ? columns(i, 0) : row);
        y.push_back(columns(i, plane ? 1 : 0));
    }
    const std::string& up = names[plane ? 1 : 0];
    const std::string across = plane ? names[0] : up == "Row" ? "Row number" : "Row";
    report.chartTable(chart.table)
        .add({chart.labels.heading, at(chart.labels.values, groups)})
        .numbers(across, std::move(x))
        .numbers(up, std::move(y));
    ChartBuilder& drawn = report.chart(chart.title).x(chart.table, across).y(chart.table, up);
    for (std::size_t k = 0; k < sizes.size(); ++k) drawn.group(chart.groups[k], sizes[k]);
}

}  // namespace Veltrix::Tool
