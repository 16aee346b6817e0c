#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/LinearModel/FeatureSelection.h"
#include "support/NumberText.h"
#include "tools/veltrix/families/BinaryTarget.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/families/LinearTables.h"
#include "tools/veltrix/host/StoredRoles.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using Engine::LinearModel::FeatureSelection::Algorithm;
using Engine::LinearModel::FeatureSelection::History;
using Engine::LinearModel::FeatureSelection::ModelStatistics;
using LinearModel = Engine::LinearModel::OLS::Model;
using LogisticModel = Engine::LinearModel::Logistic::Model;

constexpr const char* kUse = "--use";
constexpr const char* kFIn = "--f-in";
constexpr const char* kFOut = "--f-out";

/// Whether the target holds numbers.
const Choices<bool> kModels{{"linear", true}, {"logistic", false}};
const Choices<Algorithm> kMethods{{"best", Algorithm::bestSubsets},
                                  {"forward", Algorithm::forwardSelection},
                                  {"backward", Algorithm::backwardElimination},
                                  {"stepwise", Algorithm::stepwiseRegression},
                                  {"sequential", Algorithm::sequentialReplacement}};

class Selection : public StoredFamily<Selection> {
  public:
    FamilyNames names() const override {
        return {"select", "Chooses predictors for a linear or logistic regression",
                "feature selection"};
    }
    Needs needs() const override {
        return {.target = TargetKind::Either,
                .coding = Coding::AllButBase,
                .weights = true,
                .confidence = true,
                .numbers = &linear_};
    }

    void options(OptionGroup& own) override {
        own.choice("--model", linear_, "What is fitted: linear for numbers, logistic for 2 classes",
                   kModels);
        own.choice("--method", method_, "How subsets are searched", kMethods);
        own.count("--max-size", maxSize_, "Most columns of a model; all (default)", 1);
        own.count("--subsets", numSubsets_, "Models of every size that --method best keeps", 1)
            .shown(std::to_string(numSubsets_));
        own.number(kFIn, fIn_, "F that a column must reach to enter", 0.0)
            .shown(Support::numberText(fIn_));
        own.number(kFOut, fOut_, "F below which a column is removed", 0.0)
            .shown(Support::numberText(fOut_));
        own.count(kUse, use_,
                  "Number of the model to report and store; that of least Cp (linear) or AIC "
                  "(logistic) when left out",
                  1);
        own.count("--max-iterations", maxIterations_, "Most Newton steps of a logistic fit")
            .shown(std::to_string(maxIterations_));
        own.flag("--no-intercept", noIntercept_, "Fits without a constant");
    }

    void checkOptions() const override {
        if (method_ != Algorithm::stepwiseRegression || fOut_ <= fIn_) return;
        throw UserError(fmt::format("{}: {}, expected at most {}, {}", kFOut,
                                    Support::numberText(fOut_), kFIn, Support::numberText(fIn_)));
    }

    void fit(const Prepared& data) override {
        const Matrix& x = data.training().records.x;
        numColumns_ = x.getNumCols();
        if (!linear_) roles_ = binaryRoles(data);
        search(data);
        choose();
        for (const int j : history_.getColumns(use_ - 1)) {
            if (j >= numForced()) columns_.push_back(j - numForced());
        }
        const Matrix chosen = x(Util::all, columns_);
        if (linear_) {
            linearModel_.fit(chosen, data.training().numbers, weightsOf(data), !noIntercept_);
        } else {
            logisticModel_.fit(chosen, successes(data, roles_), weightsOf(data), maxIterations_,
                               !noIntercept_);
        }
    }

    std::string title(const std::string& target) const override {
        return "Choice of predictors of " + target;
    }

    void summarize(Table& summary, const Prepared& data) const override {
        summary.entry("Weights", data.weights)
            .entry("Intercept", noIntercept_ ? "no" : "yes")
            .entry("Confidence level", data.confidence)
            .entry("Model", nameOf(linear_, kModels))
            .entry("Method", nameOf(method_, kMethods))
            .entry("Most columns of a model",
                   maxSize_ == 0 ? Value("all") : Value(std::int64_t{maxSize_}));
        if (goesByF()) summary.entry("F to enter", fIn_).entry("F to remove", fOut_);
        summary.entry("Models", std::int64_t{history_.getNumModels()})
            .entry("Chosen model", std::int64_t{use_});
    }

    void describe(ReportBuilder& report, const Prepared& data) const override {
        addModels(report, data);
        const Matrix x = data.training().records.x(Util::all, columns_);
        const std::vector<std::string> names = coefficientNames(model(), chosenNames(data));
        Table& table = report.table("Coefficients");
        if (linear_) {
            addCoefficients(table, linearModel_, names, data.confidence);
        } else {
            addCoefficients(table, logisticModel_, names, x, data.confidence);
        }
        table.note(data.coding.baseNotes());
        addCollinearity(report.table("Collinearity diagnostics"), model(), names, x);
    }

    ClassRoles roles() const override { return roles_; }

    Scores score(const Records& records, double /*confidence*/) const override {
        const Matrix x = records.x(Util::all, columns_);
        if (linear_) return numberScores(linearModel_.predict(x));
        return binaryScores(logisticModel_.posteriorProbability(x), roles_);
    }

    void narrow(PredictorCoding& coding) override {
        coding.keepOnly(columns_);
        numColumns_ = static_cast<int>(coding.columnNames().size());
    }
    int numColumns() const override { return model().isFitted() ? numColumns_ : 0; }

    static void describeFields(auto& a, auto& self) {
        storedChoice(a, "task", self.linear_, kModels);
        a.count("numColumns", self.numColumns_)("columns", self.columns_);
        if (self.linear_) {
            storedModel(a, "model", self.linearModel_);
        } else {
            storedBinaryRoles(a, self.roles_);
            storedModel(a, "model", self.logisticModel_);
        }
        a.check(
            "columns",
            [&] {
                const auto& model = self.model();
                const int count = model.getNumCols() - (model.hasIntercept() ? 1 : 0);
                return static_cast<int>(self.columns_.size()) == count &&
                       isAscending(self.columns_, self.numColumns_);
            },
            "expected the columns of the model, ascending");
    }

  private:
    static bool isAscending(const IntVector& columns, int limit) {
        int least = 0;
        for (const int column : columns) {
            if (column < least || column >= limit) return false;
            least = column + 1;
        }
        return true;
    }

    const Engine::LinearModel::Model& model() const {
        if (linear_) return linearModel_;
        return logisticModel_;
    }
    int numForced() const { return noIntercept_ ? 0 : 1; }
    bool goesByF() const {
        return method_ != Algorithm::bestSubsets && method_ != Algorithm::sequentialReplacement;
    }

    static Vector weightsOf(const Prepared& data) {
        const PartData& training = data.training();
        return training.weights.empty() ? Vector(training.count(), 1.0) : training.weights;
    }

    void search(const Prepared& data) {
        const Matrix& x = data.training().records.x;
        const int maxSize = maxSize_ == 0 ? numColumns_ : maxSize_;
        history_ = linear_
                       ? LinearModel::featureSelection(method_, x, data.training().numbers,
                                                       weightsOf(data), !noIntercept_, &fIn_,
                                                       &fOut_, &numSubsets_, nullptr, maxSize)
                       : LogisticModel::featureSelection(
                             method_, x, successes(data, roles_), weightsOf(data), maxIterations_,
                             !noIntercept_, &fIn_, &fOut_, &numSubsets_, nullptr, maxSize);
    }

    /// The model to use; without Cp or AIC the last one.
    void choose() {
        const int count = history_.getNumModels();
        if (count == 0) {
            throw UserError(
                fmt::format("{}: {}, no column reaches it", kFIn, Support::numberText(fIn_)));
        }
        checkAtMost(kUse, use_, "the number of models", count);
        if (use_ > 0) return;
        const ModelStatistics& all = history_.getModelStatistics();
        const Vector& criterion = linear_ ? all.cp : all.aic;
        use_ = count;
        double least = std::numeric_limits<double>::infinity();
        for (int m = 0; m < count; ++m) {
            if (!(criterion[m] < least)) continue;
            least = criterion[m];
            use_ = m + 1;
        }
    }

    std::vector<std::string> chosenNames(const Prepared& data) const {
        const std::vector<std::string> all = data.coding.columnNames();
        std::vector<std::string> names;
        for (const int j : columns_) names.push_back(all[static_cast<std::size_t>(j)]);
        return names;
    }

    /// The columns of every model, by name.
    std::vector<std::string> columnTexts(const Prepared& data) const {
        const std::vector<std::string> names = data.coding.columnNames();
        std::vector<std::string> texts;
        for (int m = 0; m < history_.getNumModels(); ++m) {
            std::vector<std::string> members;
            for (const int j : history_.getColumns(m)) {
                if (j >= numForced()) {
                    members.push_back(names[static_cast<std::size_t>(j - numForced())]);
                }
            }
            texts.push_back(fmt::format("{}", fmt::join(members, ", ")));
        }
        return texts;
    }

    void addModels(ReportBuilder& report, const Prepared& data) const {
        const char* const title = "Models";
        const auto count = static_cast<std::size_t>(history_.getNumModels());
        std::vector<std::int64_t> sizes;
        for (const int size : history_.getSizes()) sizes.push_back(size - numForced());
        ModelStatistics all = history_.getModelStatistics();
        Table& table = report.table(title);
        table.counted("Model", count).marked("Chosen", count, use_ - 1, "*");
        table.integers("Size", std::move(sizes));
        if (goesByF()) table.numbers("F", history_.getStatistics());
        if (linear_) {
            table.numbers("RSS", std::move(all.residualSumOfSquares))
                .numbers("R-squared", std::move(all.R2))
                .numbers("Adjusted R-squared", std::move(all.adjustedR2));
        } else {
            table.numbers("Deviance", std::move(all.deviance))
                .numbers("Pseudo R-squared", std::move(all.pseudoR2));
        }
        table.numbers("Cp", std::move(all.cp))
            .probability("Probability", std::move(all.probability))
            .numbers("AIC", std::move(all.aic))
            .numbers("BIC", std::move(all.bic))
            .text("Columns", columnTexts(data));
        table.note("Probability: of a difference from the full model as large by chance alone.");
        report.chart("Cp against size").x(title, "Size").y(title, "Cp");
        const char* const further = linear_ ? "Adjusted R-squared" : "AIC";
        report.chart(std::string(further) + " against size").x(title, "Size").y(title, further);
    }

    bool linear_ = true;
    Algorithm method_ = Algorithm::bestSubsets;
    int maxSize_ = 0;  ///< 0 = not given
    int numSubsets_ = 1;
    double fIn_ = Engine::LinearModel::FeatureSelection::kUsualFIn;
    double fOut_ = Engine::LinearModel::FeatureSelection::kUsualFOut;
    int use_ = 0;  ///< 0 = not given
    int maxIterations_ = 50;
    bool noIntercept_ = false;
    int numColumns_ = 0;
    IntVector columns_;
    ClassRoles roles_;
    History history_;
    LinearModel linearModel_;
    LogisticModel logisticModel_;
};

}  // namespace

std::unique_ptr<Family> makeSelection() { return std::make_unique<Selection>(); }

}  // namespace Veltrix::Tool
