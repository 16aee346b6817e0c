#include <algorithm>
#include <cmath>
#include <cstdint>

#include <fmt/format.h>

#include "Veltrix/Engine/Distributions.h"
#include "Veltrix/Engine/LinearModel/OLS.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/families/LinearTables.h"
#include "tools/veltrix/report/NumberFormat.h"

namespace Veltrix::Tool {

namespace {

namespace OLS = Engine::LinearModel::OLS;

std::vector<Column> limitColumns(OLS::PredictionIntervals limits, double confidence) {
    const std::string level = percentText(confidence);
    Table table{.title = {}, .columns = {}};
    table.series("Confidence lower " + level, std::move(limits.confidenceLower))
        .series("Confidence upper " + level, std::move(limits.confidenceUpper))
        .series("Prediction lower " + level, std::move(limits.predictionLower))
        .series("Prediction upper " + level, std::move(limits.predictionUpper));
    return std::move(table.columns);
}

class Regression : public StoredFamily<Regression> {
  public:
    FamilyNames names() const override {
        return {"regress", "Fits a linear regression by least squares", "linear regression"};
    }
    Needs needs() const override {
        return {.target = TargetKind::Numbers,
                .coding = Coding::AllButBase,
                .weights = true,
                .confidence = true,
                .describesTraining = true};
    }

    void options(OptionGroup& own) override {
        own.flag("--no-intercept", noIntercept_, "Fits without a constant");
    }

    void fit(const Prepared& data) override {
        const PartData& training = data.training();
        if (training.weights.empty()) {
            model_.fit(training.records.x, training.numbers, !noIntercept_);
        } else {
            model_.fit(training.records.x, training.numbers, training.weights, !noIntercept_);
        }
    }

    std::string title(const std::string& target) const override {
        return "Linear regression of " + target;
    }

    void summarize(Table& summary, const Prepared& data) const override {
        const OLS::FitEvaluation fit = model_.computeFitEvaluation(data.training().numbers);
        const OLS::ANOVA& anova = model_.getANOVA();
        summary.entry("Weights", data.weights)
            .entry("Intercept", noIntercept_ ? "no" : "yes")
            .entry("Confidence level", data.confidence)
            .entry("Rank", std::int64_t{model_.getRank()})
            .entry("Residual degrees of freedom", countValue(anova.residualDf))
            .entry("R-squared", fit.R2)
            .entry("Adjusted R-squared", fit.adjustedR2)
            .entry("Standard error of estimate", anova.standardErrorOfEstimate)
            .entry("Log-likelihood", fit.logLikelihood)
            .entry("Log-likelihood, intercept only", fit.interceptOnlyLogLikelihood);
    }

    void describe(ReportBuilder& report, const Prepared& data) const override {
        addAnova(report.table("Analysis of variance"));
        const std::vector<std::string> names = coefficientNames(model_, data.coding.columnNames());
        addCoefficients(report.table("Coefficients"), model_, names, data.confidence)
            .note(data.coding.baseNotes());
        addCollinearity(report.table("Collinearity diagnostics"), model_, names,
                        data.training().records.x);
        addRecords(report, data);
    }

    Scores score(const Records& records, double confidence) const override {
        Vector predicted = model_.predict(records.x);
        std::vector<Column> limits = limitColumns(
            model_.computeNewPredictionIntervals(records.x, predicted, confidence), confidence);
        return numberScores(std::move(predicted), std::move(limits));
    }

    int numColumns() const override {
        return model_.isFitted() ? model_.getNumCols() - (model_.hasIntercept() ? 1 : 0) : 0;
    }

    static void describeFields(auto& a, auto& self) {
        bool intercept = self.model_.hasIntercept();
        a("intercept", intercept);
        storedModel(a, "model", self.model_);
        a.check(
            "intercept", [&] { return intercept == self.model_.hasIntercept(); },
            "another value than the model's");
    }

  private:
    void addAnova(Table& table) const {
        const OLS::ANOVA& anova = model_.getANOVA();
        table.text("Source", std::vector<std::string>{"Regression", "Residual", "Total"})
            .cells("df", {countValue(anova.regressionDf), countValue(anova.residualDf),
                          countValue(anova.totalDf)})
            .numbers("Sum of squares", {anova.SSR, anova.SSE, anova.SST})
            .numbers("Mean square", {anova.MSR, anova.MSE, anova.MST})
            .cells("F", {anova.F, {}, {}})
            .cells("p-value", {anova.pValue, {}, {}}, NumberStyle::Probability);
    }

    void addRecords(ReportBuilder& report, const Prepared& data) const {
        const PartData& training = data.training();
        const Vector fitted = model_.predict(training.records.x);
        OLS::Residuals residuals = model_.computeResiduals(training.numbers, fitted);
        OLS::Diagnostics influence = model_.computeDiagnostics(residuals.raw);
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
        for (Column& column :
             limitColumns(model_.computeFittedPredictionIntervals(fitted, data.confidence),
                          data.confidence)) {
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

    /// Standardized residuals in ascending order against the normal quantiles at their plotting
    /// positions (i - 3/8)/(n + 1/4) (Blom 1958). Without residual variance there are none.
    static void addQuantiles(ReportBuilder& report, Vector residuals) {
        if (!std::ranges::all_of(residuals, [](double e) { return std::isfinite(e); })) return;
        std::ranges::sort(residuals);
        Vector quantiles(residuals.size());
        for (std::uint64_t i = 0; i < quantiles.size(); ++i) {
            const double position = (static_cast<double>(i + 1) - 0.375) /
                                    (static_cast<double>(quantiles.size()) + 0.25);
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

    bool noIntercept_ = false;
    OLS::Model model_;
};

}  // namespace

std::unique_ptr<Family> makeRegression() { return std::make_unique<Regression>(); }

}  // namespace Veltrix::Tool
