#include <cstdint>

#include <fmt/format.h>

#include "Veltrix/Engine/LinearModel/Logistic.h"
#include "tools/veltrix/families/BinaryTarget.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/families/LinearTables.h"
#include "tools/veltrix/host/StoredRoles.h"

namespace Veltrix::Tool {

namespace {

namespace Logistic = Engine::LinearModel::Logistic;

class LogisticRegression : public StoredFamily<LogisticRegression> {
  public:
    FamilyNames names() const override {
        return {"logistic", "Fits a logistic regression for two classes", "logistic regression"};
    }
    Needs needs() const override {
        return {.target = TargetKind::Classes,
                .coding = Coding::AllButBase,
                .weights = true,
                .confidence = true};
    }

    void options(OptionGroup& own) override {
        own.count("--max-iterations", maxIterations_, "Most Newton steps")
            .shown(std::to_string(maxIterations_));
        own.flag("--no-intercept", noIntercept_, "Fits without a constant");
        own.footer(
            "The probability of the success class is modelled, of the last class in ascending "
            "order\n"
            "when none is named.");
    }

    void fit(const Prepared& data) override {
        const PartData& training = data.training();
        roles_ = binaryRoles(data);
        const Vector y = successes(data, roles_);
        if (training.weights.empty()) {
            model_.fit(training.records.x, y, maxIterations_, !noIntercept_);
        } else {
            model_.fit(training.records.x, y, training.weights, maxIterations_, !noIntercept_);
        }
    }

    std::string title(const std::string& target) const override {
        return "Logistic regression of " + target;
    }

    void summarize(Table& summary, const Prepared& data) const override {
        summary.entry("Weights", data.weights)
            .entry("Intercept", noIntercept_ ? "no" : "yes")
            .entry("Confidence level", data.confidence)
            .entry("Most iterations", std::int64_t{maxIterations_})
            .entry("Iterations", countValue(model_.getNumIterations()))
            .entry("Rank", std::int64_t{model_.getRank()});
    }

    void describe(ReportBuilder& report, const Prepared& data) const override {
        addFit(report, data);
        const std::vector<std::string> names = coefficientNames(model_, data.coding.columnNames());
        addCoefficients(report.table("Coefficients"), model_, names, data.training().records.x,
                        data.confidence)
            .note(data.coding.baseNotes());
        addCollinearity(report.table("Collinearity diagnostics"), model_, names,
                        data.training().records.x);
    }

    ClassRoles roles() const override { return roles_; }

    Scores score(const Records& records, double /*confidence*/) const override {
        return binaryScores(model_.posteriorProbability(records.x), roles_);
    }

    int numColumns() const override {
        return model_.isFitted() ? model_.getNumCols() - (model_.hasIntercept() ? 1 : 0) : 0;
    }

    static void describeFields(auto& a, auto& self) {
        storedBinaryRoles(a, self.roles_);
        storedModel(a, "model", self.model_);
    }

  private:
    void addFit(ReportBuilder& report, const Prepared& data) const {
        const Logistic::FitEvaluation fit = model_.computeFitEvaluation(successes(data, roles_));
        const double nullDf = fit.residualDf + model_.getNumCols() - (noIntercept_ ? 0 : 1);
        Table& table = report.table("Deviances");
        table.text("Source", std::vector<std::string>{"Null", "Residual"})
            .cells("df", {countValue(nullDf), countValue(fit.residualDf)})
            .numbers("Deviance", {fit.nullDeviance, fit.residualDeviance})
            .cells("Pseudo R-squared", {{}, fit.pseudoR2});
        if (model_.getNumIterations() >= maxIterations_) {
            table.note(fmt::format("The limit of {} iterations ended the fit.", maxIterations_));
        }
        if (isSeparated(data)) {
            table.note(
                "The columns separate the classes: the estimates would grow for ever, and their "
                "standard errors say little.");
        }
    }

    /// All training records are decided.
    bool isSeparated(const Prepared& data) const {
        constexpr double kUndecided = 0.0001;
        const Matrix p = model_.posteriorProbability(data.training().records.x);
        for (int i = 0; i < p.getNumRows(); ++i) {
            if (p(i, 0) * p(i, 1) > kUndecided) return false;
        }
        return true;
    }

    int maxIterations_ = 50;
    bool noIntercept_ = false;
    ClassRoles roles_;
    Logistic::Model model_;
};

}  // namespace

std::unique_ptr<Family> makeLogistic() { return std::make_unique<LogisticRegression>(); }

}  // namespace Veltrix::Tool
