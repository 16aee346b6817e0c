#include <algorithm>
#include <cstdint>

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/LinearModel/Logistic.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/families/LinearTables.h"
#include "tools/veltrix/host/StoredRoles.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/report/NumberFormat.h"

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
        takeRoles(data);
        const Vector y = response(data);
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
        addCoefficients(report.table("Coefficients"), data);
        addCollinearity(report.table("Collinearity diagnostics"), model_, data);
    }

    ClassRoles roles() const override { return roles_; }

    Scores score(const Records& records, double /*confidence*/) const override {
        // The success class comes first in the matrix; the frame has the order of the classes.
        const bool reversed = roles_.classes[0] != roles_.successClass;
        const Matrix probabilities = model_.posteriorProbability(records.x);
        const IntVector order = reversed ? IntVector{1, 0} : IntVector{0, 1};
        return classScores(
            Convert::toDataFrame(probabilities(Selection::all, order), roles_.classes), roles_);
    }

    int numColumns() const override {
        return model_.isFitted() ? model_.getNumCols() - (model_.hasIntercept() ? 1 : 0) : 0;
    }

    static void describeFields(auto& a, auto& self) {
        storedRoles(a, self.roles_);
        a.check(
            "classes", [&] { return self.roles_.classes.size() == 2; }, "expected 2 classes");
        a.check(
            "successClass", [&] { return !self.roles_.successClass.empty(); },
            "expected one of the classes");
        storedModel(a, "model", self.model_);
    }

  private:
    /// Classes, with their shares of the training records unless there are priors.
    void takeRoles(const Prepared& data) {
        if (data.roles.classes.size() != 2) {
            throw UserError(fmt::format("{}: {} classes in the training rows, expected 2",
                                        TaskOptions::kTarget, data.roles.classes.size()));
        }
        Engine::Classification::Modelable shares;
        setRoles(shares, data.roles);
        shares.fit(data.labelsOf(data.training()), data.training().weights);
        roles_ = rolesOf(shares);
        if (roles_.successClass.empty()) roles_.successClass = roles_.classes[1];
    }

    /// 1 for training records of the success class.
    Vector response(const Prepared& data) const {
        const IntVector& labels = data.training().labels;
        Vector y;
        y.reserve(labels.size());
        for (const int label : labels) {
            const bool success =
                data.labels[static_cast<std::uint64_t>(label)] == roles_.successClass;
            y.push_back(success ? 1.0 : 0.0);
        }
        return y;
    }

    void addFit(ReportBuilder& report, const Prepared& data) const {
        const Logistic::FitEvaluation fit = model_.computeFitEvaluation(response(data));
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

    void addCoefficients(Table& table, const Prepared& data) const {
        Logistic::CoefficientInfo info =
            model_.computeCoefficientInfo(data.training().records.x, data.confidence);
        const std::string level = percentText(data.confidence);
        table.text("Name", coefficientNames(model_, data))
            .numbers("Estimate", std::move(info.estimates))
            .numbers("Std. error", std::move(info.standardErrors))
            .numbers("Wald chi-square", std::move(info.waldStatistics))
            .probability("p-value", std::move(info.pValues))
            .numbers("Lower " + level, std::move(info.lowerConfidenceLimits))
            .numbers("Upper " + level, std::move(info.upperConfidenceLimits))
            .numbers("Odds", std::move(info.odds));
        addRemarks(table, model_, data);
    }

    int maxIterations_ = 50;
    bool noIntercept_ = false;
    ClassRoles roles_;
    Logistic::Model model_;
};

}  // namespace

std::unique_ptr<Family> makeLogistic() { return std::make_unique<LogisticRegression>(); }

}  // namespace Veltrix::Tool
