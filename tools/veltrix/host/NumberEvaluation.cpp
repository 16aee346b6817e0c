#include "tools/veltrix/host/NumberEvaluation.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Evaluator/Metrics.h"
#include "tools/veltrix/host/LiftReport.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

/// The records of a part that have a prediction.
struct Compared {
    Vector actual;
    Vector predicted;
    std::int64_t without = 0;

    Compared(const Vector& allActual, const Vector& allPredicted) {
        actual.reserve(allActual.size());
        predicted.reserve(allActual.size());
        for (std::uint64_t i = 0; i < allActual.size(); ++i) {
            if (std::isnan(allPredicted[i])) {
                ++without;
                continue;
            }
            actual.push_back(allActual[i]);
            predicted.push_back(allPredicted[i]);
        }
    }
};

void addErrorCurve(ReportBuilder& report, const std::string& part, const Compared& compared) {
    ErrorCurve curve = Metrics::errorCurve(compared.actual, compared.predicted, kCurvePoints);
    const std::string title = "Error curve: " + part;
    report.chartTable(title)
        .numbers("Largest error", std::move(curve.tolerances))
        .series("Share of records", std::move(curve.shares));
    report.chart("Records within an error: " + part)
        .x(title, "Largest error")
        .y(title, "Share of records")
        .line();
}

}  // namespace

Table* addNumberEvaluation(ReportBuilder& report, const Prepared& data, const AllScores& scores) {
    Table& table = report.table("Error measures");
    std::vector<std::string> parts;
    std::vector<std::int64_t> records;
    std::array<Vector, 6> columns;
    for (const auto& [part, found] : scores) {
        const std::string name(partName(part));
        const Compared compared(data.part(part).numbers, found.numbers);
        parts.push_back(name);
        records.push_back(static_cast<std::int64_t>(compared.actual.size()));
        if (compared.without > 0) {
            table.note(fmt::format("{}: {} without a prediction; measures leave them out.", name,
                                   counted(compared.without, "record")));
        }
        const double mse = Metrics::MSE(compared.actual, compared.predicted);
        const double mape = Metrics::MAPE(compared.actual, compared.predicted);
        const std::array row{mse * static_cast<double>(compared.actual.size()),
                             mse,
                             std::sqrt(mse),
                             Metrics::MAE(compared.actual, compared.predicted),
                             Metrics::R2(compared.actual, compared.predicted),
                             std::isfinite(mape) ? 100.0 * mape : std::nan("")};
        for (std::size_t j = 0; j < row.size(); ++j) columns[j].push_back(row[j]);
        const std::vector<NamedRanking> rankings{
            {"", RankedOutcomes(compared.actual, compared.predicted)}};
        addLift(report, name, rankings, {"Lowest prediction", "Total", "Mean"});
        addErrorCurve(report, name, compared);
    }
    table.text("Part", std::move(parts)).integers("Records", std::move(records));
    constexpr std::array kNames{"SSE", "MSE", "RMSE", "MAD", "R2", "MAPE, %"};
    for (std::size_t j = 0; j < columns.size(); ++j) {
        table.numbers(kNames[j], std::move(columns[j]));
    }
    return &table;
}

}  // namespace Veltrix::Tool
