#include <cstdint>
#include <utility>

#include "Veltrix/Engine/LinearModel/OLS.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/families/LinearTables.h"
#include "tools/veltrix/families/ResidualTables.h"

namespace Veltrix::Tool {

namespace {

namespace OLS = Engine::LinearModel::OLS;

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
        addAnova(report.table("Analysis of variance"), model_);
        const std::vector<std::string> names = coefficientNames(model_, data.coding.columnNames());
        addCoefficients(report.table("Coefficients"), model_, names, data.confidence)
            .note(data.coding.baseNotes());
        addCollinearity(report.table("Collinearity diagnostics"), model_, names,
                        data.training().records.x);
        addResiduals(report, model_, data);
    }

    Scores score(const Records& records, double confidence) const override {
        Vector predicted = model_.predict(records.x);
        std::vector<Column> limits = intervalColumns(
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
    bool noIntercept_ = false;
    OLS::Model model_;
};

}  // namespace

std::unique_ptr<Family> makeRegression() { return std::make_unique<Regression>(); }

}  // namespace Veltrix::Tool
