#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Engine/NaiveBayes.h"
#include "support/NumberText.h"
#include "tools/veltrix/families/CategoryTables.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using namespace Classification::NaiveBayes::Engine;

class NaiveBayes : public StoredFamily<NaiveBayes> {
  public:
    FamilyNames names() const override {
        return {"naive-bayes", "Predicts classes from the frequencies of categories",
                "naive Bayes"};
    }
    Needs needs() const override {
        return {.target = TargetKind::Classes,
                .coding = Coding::Categories,
                .numbersAreCategories = true};
    }

    void options(OptionGroup& own) override {
        own.number("--alpha", alpha_,
                   "Smoothing: added to the count of every category in every class, 0 for none",
                   0.0)
            .placeholder("ALPHA")
            .shown(Support::numberText(alpha_));
        own.footer(
            "Every predictor is categorical: each different number is a category of its own.\n"
            "A record with a category that no training row has gets no prediction.");
    }

    void fit(const Prepared& data) override {
        const PartData& training = data.training();
        const DataFrame labels = data.targetOf(training);
        counts_ = computeFrequency(training.records.frame, labels(Selection::all, 0), alpha_,
                                   data.roles.priors);
        if (counts_.priorProbs.empty()) {
            for (const auto& [label, count] : counts_.targetCount) {
                counts_.priorProbs[label] =
                    static_cast<double>(count) / static_cast<double>(training.count());
            }
        }
        model_ = frequencyToPriorConditionalProbability(counts_);
        success_ = data.roles.successClass.toUtf8();
        cutoff_ = data.roles.cutoff;
    }

    std::string title(const std::string& target) const override {
        return "Naive Bayes for " + target;
    }

    void summarize(Table& summary, const Prepared& data) const override {
        summary.entry("Alpha", alpha_);
        constexpr std::size_t kMany = 100;
        const DataFrame& frame = data.training().records.frame;
        for (int j = 0; j < frame.getNumCols(); ++j) {
            const auto column = frame(Selection::all, j);
            const std::size_t found = counts_.featureValueClassCount.at(column.getColName()).size();
            if (column.getKind() == ColumnKind::text || found <= kMany) continue;
            summary.note(fmt::format(
                "column {} has {} different numbers, each of which is a category of its own",
                Tool::quoted(column.getColName().toUtf8()), found));
        }
    }

    void describe(ReportBuilder& report, const Prepared& data) const override {
        const std::vector<std::string>& predictors = data.coding.predictors();
        const StringVector classes = roles().classes;
        addCategories(report.records("Conditional probabilities"), predictors, classes, model_,
                      NumberStyle::Series)
            .note("Probability of the category among the records of the class.");
        addCategories(report.records("Category counts"), predictors, classes, counts_,
                      NumberStyle::Single);
    }

    ClassRoles roles() const override {
        StringVector classes;
        for (const auto& each : model_.targetCount) classes.push_back(each.first);
        std::sort(classes.begin(), classes.end());
        return {std::move(classes), model_.priorProbs, WString::fromUtf8(success_), cutoff_};
    }

    Scores score(const Records& records, double /*confidence*/) const override {
        PosteriorProbabilityInfo info = computePosteriorProbability(model_, records.frame, true);
        const ClassRoles used = roles();
        Scores scores = classScores(Convert::toDataFrame(info.posteriors, used.classes), used);
        Table further{.title = {}, .columns = {}};
        further.series("Log likelihood", std::move(info.logLikelihoods));
        scores.further = std::move(further.columns);
        return scores;
    }

    int numColumns() const override {
        return static_cast<int>(model_.featureValueClassCount.size());
    }

    static void describeFields(auto& a, auto& self) {
        a("successClass", self.success_)("cutoff", self.cutoff_);
        storedModel(a, "model", self.model_);
        a.check(
            "model", [&] { return scoresEveryRecord(self.model_); },
            "expected probabilities of every category in all of at least two classes with priors");
        a.check(
            "successClass",
            [&] {
                return self.success_.empty() ||
                       self.model_.targetCount.contains(WString::fromUtf8(self.success_));
            },
            "expected one of the classes");
    }

  private:
    double alpha_ = 1.0;
    std::string success_;
    double cutoff_ = 0.5;
    Model counts_;  ///< only after a fit
    Model model_;
};

}  // namespace

std::unique_ptr<Family> makeNaiveBayes() { return std::make_unique<NaiveBayes>(); }

}  // namespace Veltrix::Tool
