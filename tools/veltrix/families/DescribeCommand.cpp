#include "tools/veltrix/families/DescribeCommand.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>

#include <fmt/format.h>

#include "tools/veltrix/host/ColumnStatistics.h"
#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/InputOptions.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/host/Progress.h"
#include "tools/veltrix/report/ReportBuilder.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kColumns = "--columns";

struct NumberColumn {
    std::string name;
    std::vector<double> numbers;  ///< of the rows chosen
};

/// How often each category stands in the rows chosen, most frequent first and equal ones in their
/// order.
struct CategoryColumn {
    std::string name;
    std::vector<std::pair<std::string, std::int64_t>> counts;
    std::int64_t values = 0;
    std::int64_t missing = 0;
};

NumberColumn readNumbers(const DataFile& data, const std::string& name) {
    const Vector cells =
        data.frame()(Selection::all, data.columnIndex(kColumns, name)).toDoubleVector();
    NumberColumn result{name, {}};
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (data.isChosen(i)) result.numbers.push_back(cells[i]);
    }
    return result;
}

CategoryColumn countCategories(const DataFile& data, const std::string& name) {
    const TypedColumn cells = readCategories(data, {kColumns, name, true});
    CategoryColumn result{name, {}};
    for (const WString& level : cells.levels) result.counts.emplace_back(level.toUtf8(), 0);
    for (std::size_t i = 0; i < cells.codes.size(); ++i) {
        if (!data.isChosen(i)) continue;
        if (cells.codes[i] < 0) {
            ++result.missing;
        } else {
            ++result.counts[static_cast<std::size_t>(cells.codes[i])].second;
            ++result.values;
        }
    }
    std::erase_if(result.counts, [](const auto& count) { return count.second == 0; });
    std::ranges::stable_sort(result.counts, std::ranges::greater(),
                             [](const auto& count) { return count.second; });
    return result;
}

void addNumbers(ReportBuilder& report, const std::vector<NumberColumn>& columns) {
    if (columns.empty()) return;
    std::vector<std::string> names;
    std::vector<ColumnStatistics> all;
    for (const NumberColumn& column : columns) {
        names.push_back(column.name);
        all.push_back(describeNumbers(column.numbers));
    }
    Table& table = report.table("Columns of numbers").text("Column", names);
    const auto counts = [&](const char* heading, std::int64_t ColumnStatistics::*member) {
        std::vector<std::int64_t> values;
        values.reserve(all.size());
        for (const ColumnStatistics& statistics : all) values.push_back(statistics.*member);
        table.integers(heading, std::move(values));
    };
    const auto numbers = [&](const char* heading, double ColumnStatistics::*member) {
        Vector values;
        for (const ColumnStatistics& statistics : all) values.push_back(statistics.*member);
        table.numbers(heading, std::move(values));
    };
    counts("Values", &ColumnStatistics::values);
    counts("Missing", &ColumnStatistics::missing);
    counts("Distinct", &ColumnStatistics::distinct);
    numbers("Mean", &ColumnStatistics::mean);
    numbers("Std. deviation", &ColumnStatistics::deviation);
    numbers("Minimum", &ColumnStatistics::minimum);
    numbers("Lower quartile", &ColumnStatistics::lowerQuartile);
    numbers("Median", &ColumnStatistics::median);
    numbers("Upper quartile", &ColumnStatistics::upperQuartile);
    numbers("Maximum", &ColumnStatistics::maximum);
    numbers("Skewness", &ColumnStatistics::skewness);
    numbers("Kurtosis", &ColumnStatistics::kurtosis);
    table.note("Std. deviation with divisor n - 1; kurtosis is 0 for a normal distribution.");
}

void addCategories(ReportBuilder& report, const std::vector<CategoryColumn>& columns, int top) {
    if (columns.empty()) return;
    std::vector<std::string> names;
    std::vector<std::int64_t> values;
    std::vector<std::int64_t> missing;
    std::vector<std::int64_t> distinct;
    std::vector<std::string> topNames;
    std::vector<std::string> topCategories;
    std::vector<std::int64_t> topCounts;
    Vector topShares;
    for (const CategoryColumn& column : columns) {
        names.push_back(column.name);
        values.push_back(column.values);
        missing.push_back(column.missing);
        distinct.push_back(static_cast<std::int64_t>(column.counts.size()));
        const std::size_t shown = std::min(column.counts.size(), static_cast<std::size_t>(top));
        for (std::size_t k = 0; k < shown; ++k) {
            topNames.push_back(column.name);
            topCategories.push_back(column.counts[k].first);
            topCounts.push_back(column.counts[k].second);
            topShares.push_back(static_cast<double>(column.counts[k].second) /
                                static_cast<double>(column.values));
        }
    }
    report.table("Columns of text")
        .text("Column", names)
        .integers("Values", values)
        .integers("Missing", missing)
        .integers("Distinct", distinct);
    report.table("Most frequent categories")
        .text("Column", topNames)
        .text("Category", topCategories)
        .integers("Records", topCounts)
        .series("Share", topShares);
}

void addCorrelations(ReportBuilder& report, const std::vector<NumberColumn>& columns) {
    const auto count = static_cast<int>(columns.size());
    Matrix values(count, count);
    std::vector<std::string> names;
    ProgressPhase phase("Correlating", columns.size());
    for (int j = 0; j < count; ++j) {
        const NumberColumn& column = columns[static_cast<std::size_t>(j)];
        names.push_back(column.name);
        for (int i = 0; i <= j; ++i) {
            const double value =
                correlationOf(columns[static_cast<std::size_t>(i)].numbers, column.numbers);
            values(i, j) = value;
            values(j, i) = value;
        }
        phase.advance(1);
    }
    report.table("Correlations")
        .text("Column", names)
        .matrix(names, values)
        .note("Over the records with values in both columns.");
}

/// Of the first columns: nobody looks at thousands.
void addHistograms(ReportBuilder& report, const std::vector<NumberColumn>& columns) {
    constexpr std::size_t kMost = 100;
    for (std::size_t j = 0; j < std::min(columns.size(), kMost); ++j) {
        const NumberColumn& column = columns[j];
        std::vector<double> numbers = column.numbers;
        std::erase_if(numbers, [](double x) { return !std::isfinite(x); });
        if (numbers.empty()) continue;
        const Histogram histogram = makeHistogram(numbers);
        const std::string title = "Histogram: " + column.name;
        Vector middles;
        for (std::size_t k = 0; k < histogram.counts.size(); ++k) {
            middles.push_back(histogram.lower + histogram.width * (static_cast<double>(k) + 0.5));
        }
        report.chartTable(title).series("Middle", middles).integers("Records", histogram.counts);
        report.chart(title).x(title, "Middle").y(title, "Records").stems();
    }
}

}  // namespace

void DescribeCommand::declare(OptionGroup& options) {
    options.file(data_, "CSV file with a header row").required();
    options.list(kColumns, columns_,
                 "Columns to describe, separated by commas; may be repeated. All when left out");
    options.count("--top", top_, "Most frequent categories to show of a column of text", 1)
        .shown(std::to_string(top_));
    options.flag("--correlations", correlations_, "Adds the correlations of columns of numbers");
    declareRowChoice(options);
    output_.declare(options);
}

void DescribeCommand::run() {
    output_.checkFiles({data_});
    ProgressLine progress;
    progress.stage("Reading " + data_.path);
    const DataFile data(data_.path);
    std::vector<std::string> names = splitNames(data, columns_);
    if (names.empty()) names = data.columnNames();
    progress.stage("Describing");
    std::vector<NumberColumn> numbers;
    std::vector<CategoryColumn> categories;
    ProgressPhase phase("Describing", names.size());
    for (const std::string& name : names) {
        if (data.isText(kColumns, name)) {
            categories.push_back(countCategories(data, name));
        } else {
            numbers.push_back(readNumbers(data, name));
        }
        phase.advance(1);
    }
    ReportBuilder report("Columns of " + data_.path);
    Table& summary = report.table("Summary").entry("Data file", data_.path);
    addDialect(summary, data.dialect());
    summary.entry("Rows read", data.numRows());
    if (data.numChosen() < data.numRows()) summary.entry("Rows chosen", data.numChosen());
    summary.entry("Columns of numbers", static_cast<std::int64_t>(numbers.size()))
        .entry("Columns of text", static_cast<std::int64_t>(categories.size()));
    addNumbers(report, numbers);
    addCategories(report, categories, top_);
    if (correlations_ && !numbers.empty()) addCorrelations(report, numbers);
    addHistograms(report, numbers);
    progress.stage("Writing");
    output_.deliver(report.take());
}

}  // namespace Veltrix::Tool
