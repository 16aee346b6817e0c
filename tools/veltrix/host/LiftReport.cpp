#include "tools/veltrix/host/LiftReport.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace Veltrix::Tool {

namespace {

void append(Vector& all, const Vector& values) {
    all.reserve(all.size() + values.size());
    for (const double value : values) all.push_back(value);
}

/// The rows of several rankings below one another; a first column names them unless there is only
/// one without a name.
class Stack {
  public:
    explicit Stack(std::vector<std::string> headings)
        : headings_(std::move(headings)), columns_(headings_.size()) {}

    void add(const std::string& name, const std::vector<const Vector*>& columns) {
        const std::uint64_t rows = columns.front()->size();
        names_.insert(names_.end(), rows, name);
        groups_.emplace_back(name, rows);
        for (std::size_t j = 0; j < columns.size(); ++j) append(columns_[j], *columns[j]);
    }

    void fill(Table& table) {
        if (isNamed()) table.text("Class", names_);
        for (std::size_t j = 0; j < columns_.size(); ++j) {
            table.series(headings_[j], std::move(columns_[j]));
        }
    }
    /// Every ranking becomes a series of points; a single one is joined by a line.
    void draw(ChartBuilder& chart) const {
        if (groups_.size() == 1) chart.line();
        if (!isNamed()) return;
        for (const auto& [name, rows] : groups_) chart.group(name, rows);
    }

  private:
    bool isNamed() const { return groups_.size() > 1 || !groups_.front().first.empty(); }

    std::vector<std::string> headings_;
    std::vector<Vector> columns_;
    std::vector<std::string> names_;
    std::vector<std::pair<std::string, std::uint64_t>> groups_;
};

Vector countedFrom1(std::uint64_t count) {
    Vector numbers(count);
    for (std::uint64_t k = 0; k < count; ++k) numbers[k] = static_cast<double>(k + 1);
    return numbers;
}

}  // namespace

void addLift(ReportBuilder& report, const std::string& part,
             const std::vector<NamedRanking>& rankings, const LiftHeadings& headings) {
    if (rankings.empty()) return;
    Stack stack({"Decile", "Records", headings.lowest, headings.total, headings.mean, "Lift",
                 std::string(headings.total) + " so far", "Gain", "Lift so far"});
    for (const auto& [name, ranked] : rankings) {
        const LiftTable lift = ranked.lift();
        const Vector deciles = countedFrom1(lift.records.size());
        stack.add(name, {&deciles, &lift.records, &lift.lowestScores, &lift.totals, &lift.means,
                         &lift.lifts, &lift.cumulativeTotals, &lift.cumulativeShares,
                         &lift.cumulativeLifts});
    }
    const std::string title = "Lift: " + part;
    // Text output shows a glimpse of many.
    stack.fill(rankings.size() > 1 ? report.records(title) : report.table(title));
    ChartBuilder& chart = report.chart("Lift by decile: " + part);
    chart.x(title, "Decile").y(title, "Lift").stems();
    stack.draw(chart);
}

void addGains(ReportBuilder& report, const std::string& part,
              const std::vector<NamedRanking>& rankings) {
    if (rankings.empty()) return;
    constexpr std::int64_t kSteps = kCurvePoints / 2;
    Stack stack({"Share of records", "Gain", "By chance"});
    for (const auto& [name, ranked] : rankings) {
        const std::int64_t all = ranked.numRecords();
        const std::int64_t steps = std::min(kSteps, all);
        Vector shares;
        Vector gains;
        for (std::int64_t k = 0; k <= steps; ++k) {
            const std::int64_t count = all * k / steps;
            shares.push_back(static_cast<double>(count) / static_cast<double>(all));
            gains.push_back(ranked.totalOfFirst(count) / ranked.total());
        }
        stack.add(name, {&shares, &gains, &shares});
    }
    const std::string title = "Gains: " + part;
    stack.fill(report.chartTable(title));
    ChartBuilder& chart = report.chart("Cumulative gains: " + part);
    chart.x(title, "Share of records").y(title, "Gain").line(title, "By chance");
    stack.draw(chart);
}

void addRocCurves(ReportBuilder& report, const std::string& part,
                  const std::vector<NamedRanking>& rankings) {
    if (rankings.empty()) return;
    Stack stack({"Cutoff", "1 - specificity", "Sensitivity", "By chance"});
    for (const auto& [name, ranked] : rankings) {
        const RocCurve curve = ranked.rocCurve(kCurvePoints);
        stack.add(name, {&curve.cutoffs, &curve.falsePositiveRates, &curve.truePositiveRates,
                         &curve.falsePositiveRates});
    }
    const std::string title = "ROC curve: " + part;
    stack.fill(report.chartTable(title));
    ChartBuilder& chart = report.chart(title);
    chart.x(title, "1 - specificity").y(title, "Sensitivity").line(title, "By chance");
    stack.draw(chart);
}

}  // namespace Veltrix::Tool
