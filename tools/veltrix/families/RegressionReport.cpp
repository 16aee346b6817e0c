#include "tools/veltrix/families/RegressionReport.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Engine/Distributions.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

namespace OLS = Engine::LinearModel::OLS;

/// Positions of the columns that the charts show; the tables below keep to them.
enum ResidualColumn : std::size_t { FittedValue = 2, RawResidual = 3, StandardizedResidual = 4 };
constexpr std::size_t kLeverage = 1;

/// One name per design column.
std::vector<std::string> coefficientNames(const RegressionTask& task) {
    std::vector<std::string> names = task.coding.columnNames();
    if (task.intercept) names.insert(names.begin(), "Intercept");
    return names;
}

std::vector<char> estimableMask(const OLS::Model& model) {
    std::vector<char> mask(static_cast<std::size_t>(model.getNumCols()), 0);
    for (const int column : model.getEstimableColumns()) mask[static_cast<std::size_t>(column)] = 1;
    return mask;
}

Table summaryTable(const RegressionTask& task, const OLS::Model& model,
                   const OLS::FitEvaluation& fit) {
    const auto used = static_cast<std::int64_t>(task.rowNumbers.size());
    return entryTable("Summary",
                      {{"Data file", task.dataFile},
                       {"Target", task.target},
                       {"Rows read", task.rowsRead},
                       {"Rows used", used},
                       {"Rows left out (missing values)", task.rowsRead - used},
                       {"Predictors", static_cast<std::int64_t>(task.coding.predictors().size())},
                       {"Text predictors", task.textPredictors.list},
                       {"Weights", task.weights.empty() ? "none" : task.weights},
                       {"Intercept", task.intercept ? "yes" : "no"},
                       {"Confidence level", task.confidence},
                       {"Rank", static_cast<std::int64_t>(model.getRank())},
                       {"Residual degrees of freedom", countValue(model.getANOVA().residualDf)},
                       {"R-squared", fit.R2},
                       {"Adjusted R-squared", fit.adjustedR2},
                       {"Standard error of estimate", model.getANOVA().standardErrorOfEstimate},
                       {"Log-likelihood", fit.logLikelihood},
                       {"Log-likelihood, intercept only", fit.interceptOnlyLogLikelihood}},
                      task.textPredictors.notes);
}

Table anovaTable(const OLS::ANOVA& anova) {
    using Values = std::vector<Value>;
    Table table{.title = "Analysis of variance", .columns = {}};
    table.columns = {{"Source", std::vector<std::string>{"Regression", "Residual", "Total"}},
                     {"df", Values{countValue(anova.regressionDf), countValue(anova.residualDf),
                                   countValue(anova.totalDf)}},
                     {"Sum of squares", Vector{anova.SSR, anova.SSE, anova.SST}},
                     {"Mean square", Vector{anova.MSR, anova.MSE, anova.MST}},
                     {"F", Values{anova.F, {}, {}}},
                     {"p-value", Values{anova.pValue, {}, {}}, NumberStyle::Probability}};
    return table;
}

Table coefficientTable(const RegressionTask& task, const OLS::Model& model) {
    Engine::LinearModel::CoefficientInfo info = model.computeCoefficientInfo(task.confidence);
    const std::string level = percentText(task.confidence);
    std::vector<std::string> remarks;
    for (const char estimable : estimableMask(model)) {
        remarks.emplace_back(estimable != 0 ? "" : "not estimable");
    }
    Table table{.title = "Coefficients", .columns = {}};
    table.columns = {{"Name", coefficientNames(task)},
                     {"Estimate", std::move(info.estimates)},
                     {"Std. error", std::move(info.standardErrors)},
                     {"t", std::move(info.tStatistics)},
                     {"p-value", std::move(info.pValues), NumberStyle::Probability},
                     {"Lower " + level, std::move(info.lowerConfidenceLimits)},
                     {"Upper " + level, std::move(info.upperConfidenceLimits)},
                     {"Remark", std::move(remarks)}};
    table.notes = task.coding.baseNotes();
    const int aliased = model.getNumCols() - model.getRank();
    if (aliased > 0) {
        table.notes.push_back(fmt::format(
            "{} linearly on the others and {} set to 0.",
            aliased == 1 ? "1 column depends" : fmt::format("{} columns depend", aliased),
            aliased == 1 ? "is" : "are"));
    }
    return table;
}

/// One row per component, from the smallest eigenvalue to the largest.
Table collinearityTable(const RegressionTask& task, const OLS::Model& model, const Matrix& x) {
    Engine::LinearModel::Multicollinearity info = model.computeFittedMulticollinearity(x);
    const std::vector<std::string> names = coefficientNames(task);
    const auto components = static_cast<std::int64_t>(info.eigenvalues.size());
    std::vector<std::int64_t> numbers;
    for (std::int64_t k = 1; k <= components; ++k) numbers.push_back(k);
    Table table{.title = "Collinearity diagnostics", .columns = {}};
    table.columns = {{"Component", std::move(numbers)},
                     {"Eigenvalue", std::move(info.eigenvalues)},
                     {"Condition index", std::move(info.conditionIndices)}};
    int row = 0;
    for (const int column : model.getEstimableColumns()) {
        Vector shares(static_cast<std::uint64_t>(components));
        for (int k = 0; k < info.varianceProportions.getNumCols(); ++k) {
            shares[static_cast<std::uint64_t>(k)] = info.varianceProportions(row, k);
        }
        table.columns.push_back(series(names[static_cast<std::size_t>(column)], std::move(shares)));
        ++row;
    }
    table.notes.emplace_back("Columns named after coefficients hold their variance proportions.");
    return table;
}

/// Standardized residuals in ascending order against the normal quantiles at their plotting
/// positions (i - 3/8)/(n + 1/4) (Blom 1958).
Table quantileTable(const Vector& standardized) {
    Vector sorted = standardized;
    std::sort(sorted.begin(), sorted.end());
    Vector quantiles(sorted.size());
    for (std::uint64_t i = 0; i < sorted.size(); ++i) {
        const double position =
            (static_cast<double>(i + 1) - 0.375) / (static_cast<double>(sorted.size()) + 0.25);
        quantiles[i] = Engine::Distributions::normalQuantile(position);
    }
    Table table = recordTable("Normal quantiles", series("Normal quantile", std::move(quantiles)),
                              series("Standardized residual", std::move(sorted)));
    table.chartOnly = true;
    return table;
}

/// Appends the tables per record and their charts.
void addRecords(Report& report, const RegressionTask& task, const OLS::Model& model,
                const Matrix& x, const Vector& y) {
    const Column rows{"Row", task.rowNumbers};
    Vector fitted = model.predict(x);
    OLS::Residuals residuals = model.computeResiduals(y, fitted);
    OLS::Diagnostics influence = model.computeDiagnostics(residuals.raw);
    const bool finite =
        std::ranges::all_of(residuals.standardized, [](double e) { return std::isfinite(e); });

    Table intervals = recordTable("Intervals", rows, series("Fitted", fitted));
    for (Column& limit : intervalColumns(
             model.computeFittedPredictionIntervals(fitted, task.confidence), task.confidence)) {
        intervals.columns.push_back(std::move(limit));
    }
    Table quantiles = finite ? quantileTable(residuals.standardized) : Table{};

    const std::size_t residualTable = report.tables.size();
    report.tables.push_back(recordTable("Residuals", rows, series("Actual", y),
                                        series("Fitted", std::move(fitted)),
                                        series("Residual", std::move(residuals.raw)),
                                        series("Standardized", std::move(residuals.standardized)),
                                        series("Studentized", std::move(residuals.studentized)),
                                        series("Deleted", std::move(residuals.deleted))));
    report.tables.push_back(
        recordTable("Influence", rows, series("Leverage", std::move(influence.leverages)),
                    series("Cook's distance", std::move(influence.cooksDistances)),
                    series("DFFITS", std::move(influence.dffits)),
                    series("Covariance ratio", std::move(influence.covarianceRatios)),
                    series("Delete-one variance", std::move(influence.deleteOneVariances))));
    report.tables.push_back(std::move(intervals));
    report.charts.push_back({"Residuals against fitted values",
                             {residualTable, FittedValue},
                             {residualTable, RawResidual}});
    if (!finite) return;  // without residual variance there is nothing to standardize
    report.charts.push_back({"Normal quantiles of standardized residuals",
                             {report.tables.size(), 0},
                             {report.tables.size(), 1}});
    report.tables.push_back(std::move(quantiles));
    report.charts.push_back({"Leverage against standardized residuals",
                             {residualTable, StandardizedResidual},
                             {residualTable + 1, kLeverage}});
}

}  // namespace

std::string percentText(double level) { return fmt::format("{:.10g}%", 100.0 * level); }

std::vector<Column> intervalColumns(OLS::PredictionIntervals intervals, double confidence) {
    const std::string level = percentText(confidence);
    std::vector<Column> columns;
    columns.push_back(series("Confidence lower " + level, std::move(intervals.confidenceLower)));
    columns.push_back(series("Confidence upper " + level, std::move(intervals.confidenceUpper)));
    columns.push_back(series("Prediction lower " + level, std::move(intervals.predictionLower)));
    columns.push_back(series("Prediction upper " + level, std::move(intervals.predictionUpper)));
    return columns;
}

Report regressionReport(const RegressionTask& task, const OLS::Model& model, const Matrix& x,
                        const Vector& y) {
    Report report{.title = "Linear regression of " + task.target, .tables = {}};
    report.tables = {summaryTable(task, model, model.computeFitEvaluation(y)),
                     anovaTable(model.getANOVA()), coefficientTable(task, model),
                     collinearityTable(task, model, x)};
    addRecords(report, task, model, x, y);
    return report;
}

}  // namespace Veltrix::Tool
