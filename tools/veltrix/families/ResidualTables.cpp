#include "tools/veltrix/families/ResidualTables.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "Veltrix/Engine/Distributions.h"
#include "tools/veltrix/report/NumberFormat.h"

namespace Veltrix::Tool {

namespace OLS = Engine::LinearModel::OLS;

namespace {

/// Standardized residuals in ascending order against the normal quantiles at their plotting
/// positions (i - 3/8)/(n + 1/4) (Blom 1958). Without residual variance there are none.
void addQuantiles(ReportBuilder& report, Vector residuals) {
    if (!std::ranges::all_of(residuals, [](double e) { return std::isfinite(e); })) return;
    std::ranges::sort(residuals);
    Vector quantiles(residuals.size());
    for (std::uint64_t i = 0; i < quantiles.size(); ++i) {
        const double position =
            (static_cast<double>(i + 1) - 0.375) / (static_cast<double>(quantiles.size()) + 0.25);
        quantiles[i] = Engine::Distributions::normalQuantile(position);
    }
    const char* const title = "Normal quantiles";
    report.chartTable(title)
        .series("Normal quantile", std::move(quantiles))
        .series("Standardized residual", std::move(residuals));
    report.chart("Normal quantiles of standardized residuals")
        .x(title, "Normal quantile")
        .y(title, "Standardized residual");
}

}  // namespace

void addAnova(Table& table, const OLS::Model& model) {
    const OLS::ANOVA& anova = model.getANOVA();
    table.text("Source", std::vector<std::string>{"Regression", "Residual", "Total"})
        .cells("df", {countValue(anova.regressionDf), countValue(anova.residualDf),
                      countValue(anova.totalDf)})
        .numbers("Sum of squares", {anova.SSR, anova.SSE, anova.SST})
        .numbers("Mean square", {anova.MSR, anova.MSE, anova.MST})
        .cells("F", {anova.F, {}, {}})
        .cells("p-value", {anova.pValue, {}, {}}, NumberStyle::Probability);
}

std::vector<Column> intervalColumns(OLS::PredictionIntervals limits, double confidence) {
    const std::string level = percentText(confidence);
    Table table{.title = {}, .columns = {}};
    table.series("Confidence lower " + level, std::move(limits.confidenceLower))
        .series("Confidence upper " + level, std::move(limits.confidenceUpper))
        .series("Prediction lower " + level, std::move(limits.predictionLower))
        .series("Prediction upper " + level, std::move(limits.predictionUpper));
    return std::move(table.columns);
}

void addResiduals(ReportBuilder& report, const OLS::Model& model, const Prepared& data) {
    const PartData& training = data.training();
    const Vector fitted = model.predict(training.records.x);
    OLS::Residuals residuals = model.computeResiduals(training.numbers, fitted);
    OLS::Diagnostics influence = model.computeDiagnostics(residuals.raw);
    const Vector standardized = residuals.standardized;
    report.records("Residuals")
        .integers("Row", training.rowNumbers)
        .series("Actual", training.numbers)
        .series("Fitted", fitted)
        .series("Residual", std::move(residuals.raw))
        .series("Standardized", std::move(residuals.standardized))
        .series("Studentized", std::move(residuals.studentized))
        .series("Deleted", std::move(residuals.deleted));
    report.records("Influence")
        .integers("Row", training.rowNumbers)
        .series("Leverage", std::move(influence.leverages))
        .series("Cook's distance", std::move(influence.cooksDistances))
        .series("DFFITS", std::move(influence.dffits))
        .series("Covariance ratio", std::move(influence.covarianceRatios))
        .series("Delete-one variance", std::move(influence.deleteOneVariances));
    Table& intervals = report.records("Intervals");
    intervals.integers("Row", training.rowNumbers).series("Fitted", fitted);
    for (Column& column : intervalColumns(
             model.computeFittedPredictionIntervals(fitted, data.confidence), data.confidence)) {
        intervals.add(std::move(column));
    }
    report.chart("Residuals against fitted values")
        .x("Residuals", "Fitted")
        .y("Residuals", "Residual");
    addQuantiles(report, standardized);
    report.chart("Leverage against standardized residuals")
        .x("Residuals", "Standardized")
        .y("Influence", "Leverage");
}

}  // namespace Veltrix::Tool
