#include "tools/veltrix/families/KMeansReport.h"

#include <algorithm>
#include <cmath>
#include <concepts>
#include <numeric>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace Veltrix::Tool {

namespace {

using Engine::KMC::ClusterSummary;
using Engine::KMC::Model;
using Engine::KMC::RandomStartSummary;

/// Most series that a chart of a workbook can have.
constexpr int kMostSeries = 255;

Column numbersFromOne(std::string heading, std::integral auto count) {
    std::vector<std::int64_t> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), std::int64_t{1});
    return {std::move(heading), std::move(numbers)};
}

Vector columnOf(const Matrix& matrix, int column) {
    const auto cells = matrix(Selection::all, column).elements();
    return Vector(cells.begin(), cells.end());
}

std::string clusterName(int cluster) { return fmt::format("Cluster {}", cluster + 1); }

std::string yesOrNo(bool value) { return value ? "yes" : "no"; }

Table summaryTable(const KMeansTask& task, const Model& model) {
    std::string columns;
    for (const UsedColumn& column : task.selection.used) {
        columns += (columns.empty() ? "" : ", ") + column.name;
    }
    std::vector<Entry> entries{{"Data file", task.dataFile},
                               {"Columns", columns},
                               {"Rows read", task.selection.rowsRead},
                               {"Rows used", task.selection.rowsUsed()},
                               {"Rows left out (missing values)", task.selection.rowsLeftOut()},
                               {"Clusters", std::int64_t{model.getParams().numClusters}},
                               {"Random starts", std::int64_t{model.getParams().numRandomStarts}},
                               {"Most iterations", std::int64_t{model.getParams().maxIterations}},
                               {"Seed", std::int64_t{task.seed}}};
    if (!task.textLeftOut.empty()) {
        entries.insert(entries.begin() + 2, {"Text columns left out", task.textLeftOut});
    }
    return entryTable("Summary", std::move(entries), task.notes);
}

Table fitTable(const Model& model) {
    const ClusterSummary& summary = model.getClusterSummary();
    // The model's count is one ahead of the updates when the limit ended the fit.
    const std::int64_t updates = model.getNumIterations() - (model.isConverged() ? 0 : 1);
    return entryTable("Fit",
                      {{"Iterations", updates},
                       {"Converged", yesOrNo(model.isConverged())},
                       {"A cluster lost all its rows", yesOrNo(model.hasEmptyCluster())},
                       {"Sum of squares within clusters", summary.sswTotal},
                       {"Sum of squares between clusters", summary.ssb},
                       {"Total sum of squares", summary.sst},
                       {"Between / total", summary.ssbRatio},
                       {"Average distance to own centroid", summary.overallAverageDistance}});
}

Table startTable(const RandomStartSummary& starts) {
    std::vector<Value> remarks(starts.sumsOfSquares.size());
    remarks[static_cast<std::size_t>(starts.bestStart)] = "best";
    return makeTable("Random starts", numbersFromOne("Start", starts.sumsOfSquares.size()),
                     series("Sum of squares within clusters", starts.sumsOfSquares),
                     Column{"Remark", std::move(remarks)});
}

Table centroidTable(const KMeansTask& task, const Matrix& centroids) {
    Table table = makeTable("Centroids", numbersFromOne("Cluster", centroids.getNumRows()));
    for (int j = 0; j < centroids.getNumCols(); ++j) {
        table.columns.push_back(
            series(task.selection.used[static_cast<std::size_t>(j)].name, columnOf(centroids, j)));
    }
    return table;
}

Table clusterTable(const ClusterSummary& summary) {
    return makeTable(
        "Clusters", numbersFromOne("Cluster", summary.sizes.size()),
        Column{"Rows", std::vector<std::int64_t>(summary.sizes.begin(), summary.sizes.end())},
        series("Average distance", summary.averageDistance),
        series("Sum of squares within", summary.ssw));
}

/// Appends a column for each cluster.
void addDistances(Table& table, const Matrix& distances) {
    for (int c = 0; c < distances.getNumCols(); ++c) {
        table.columns.push_back(series(clusterName(c), columnOf(distances, c)));
    }
}

Table recordsTable(const KMeansTask& task, const Model& model, const IntVector& assignment) {
    const Matrix& distances = model.getClusterSummary().distances;
    std::vector<std::int64_t> clusters;
    Vector own;
    for (const int cluster : assignment) {
        own.push_back(distances(static_cast<int>(clusters.size()), cluster));
        clusters.push_back(cluster + 1);
    }
    Table table =
        recordTable("Rows and their clusters", Column{"Row", task.selection.rowNumbers},
                    Column{"Cluster", std::move(clusters)}, series("Distance", std::move(own)));
    addDistances(table, distances);
    table.notes.emplace_back("Columns named after clusters hold the distances to their centroids.");
    return table;
}

/// The rows cluster by cluster in the plane of the first two columns; a single column is shown
/// against the row numbers.
void addScatter(Report& report, const KMeansTask& task, const IntVector& assignment,
                const IntVector& sizes) {
    const NumericSelection& data = task.selection;
    std::vector<std::uint64_t> order(assignment.size());
    std::iota(order.begin(), order.end(), std::uint64_t{0});
    std::ranges::stable_sort(order, {}, [&](std::uint64_t i) { return assignment[i]; });
    std::vector<ChartGroup> groups;
    std::size_t first = 0;
    for (const int size : sizes) {
        const auto count = static_cast<std::size_t>(size);
        groups.push_back({clusterName(static_cast<int>(groups.size())), first, count});
        first += count;
    }
    Vector x;
    Vector y;
    std::vector<std::int64_t> clusters;
    const bool plane = data.columns.size() > 1;
    for (const std::uint64_t i : order) {
        x.push_back(plane ? data.columns[0][i] : static_cast<double>(data.rowNumbers[i]));
        y.push_back(data.columns[plane ? 1 : 0][i]);
        clusters.push_back(assignment[i] + 1);
    }
    Table table = recordTable("Cluster chart", Column{"Cluster", std::move(clusters)},
                              Column{plane ? data.used[0].name : "Row", std::move(x)},
                              Column{data.used[plane ? 1 : 0].name, std::move(y)});
    table.chartOnly = true;
    const std::size_t place = report.tables.size();
    report.tables.push_back(std::move(table));
    report.charts.push_back(
        {.title = "Clusters", .x = {place, 1}, .y = {place, 2}, .groups = std::move(groups)});
}

}  // namespace

Report kMeansReport(const KMeansTask& task, const Model& model, const IntVector& assignment) {
    Report report{.title = fmt::format("{} clusters", model.getParams().numClusters), .tables = {}};
    const RandomStartSummary& starts = model.getRandomStartSummary();
    report.tables.push_back(summaryTable(task, model));
    report.tables.push_back(startTable(starts));
    report.tables.push_back(fitTable(model));
    report.tables.push_back(centroidTable(task, model.getCentroids()));
    report.tables.push_back(clusterTable(model.getClusterSummary()));
    report.tables.push_back(
        makeTable("Distances between centroids",
                  numbersFromOne("Cluster", model.getCentroids().getNumRows())));
    addDistances(report.tables.back(), model.interClusterDistance());
    report.tables.push_back(recordsTable(task, model, assignment));
    if (model.getParams().numClusters <= kMostSeries) {
        addScatter(report, task, assignment, model.getClusterSize());
    }
    if (std::ranges::all_of(starts.sumsOfSquares, [](double s) { return std::isfinite(s); })) {
        report.charts.push_back({.title = "Random starts", .x = {1, 0}, .y = {1, 1}});
    }
    return report;
}

}  // namespace Veltrix::Tool
