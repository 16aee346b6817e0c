#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Engine/NaiveBayes.h"
#include "support/NumberText.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using namespace Classification::NaiveBayes::Engine;

/// The categories of a feature: numbers in their order, then texts.
std::vector<WString> inOrder(const Model::CategoryMap& categories) {
    struct Category {
        std::optional<double> number;
        WString text;
    };
    std::vector<Category> all;
    for (const auto& category : categories) {
        all.push_back({Support::parseNumber(category.first.view()), category.first});
    }
    std::ranges::sort(all, [](const Category& a, const Category& b) {
        if (a.number.has_value() != b.number.has_value()) return a.number.has_value();
        if (a.number && *a.number != *b.number) return *a.number < *b.number;
        return a.text < b.text;
    });
    std::vector<WString> texts;
    texts.reserve(all.size());
    for (Category& category : all) texts.push_back(std::move(category.text));
    return texts;
}

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
        DataFrame target;
        target.append(L"", training.labels, data.labels);
        const DataFrame& labels = target;
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
        addCategories(report.records("Conditional probabilities"), data, model_,
                      NumberStyle::Series)
            .note("Probability of the category among the records of the class.");
        addCategories(report.records("Category counts"), data, counts_, NumberStyle::Single);
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
            "model", [&] { return self.isComplete(); },
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
    /// Whether every record that has its columns can be scored.
    bool isComplete() const {
        const auto& classes = model_.targetCount;
        const auto hasAll = [&](const Model::ClassValues& values) {
            return std::ranges::all_of(
                classes, [&](const auto& each) { return values.contains(each.first); });
        };
        return model_.state == Model::kProbabilities && classes.size() >= 2 &&
               hasAll(model_.priorProbs) &&
               std::ranges::all_of(model_.featureValueClassCount, [&](const auto& feature) {
                   return std::ranges::all_of(feature.second, [&](const auto& category) {
                       return hasAll(category.second);
                   });
               });
    }

    /// A row for each category of each predictor, and what the model has for every class.
    Table& addCategories(Table& table, const Prepared& data, const Model& model,
                         NumberStyle style) const {
        const ClassRoles used = roles();
        std::vector<std::string> predictors;
        std::vector<std::string> categories;
        std::vector<Vector> values(used.classes.size());
        for (const std::string& predictor : data.coding.predictors()) {
            const auto& known = model.featureValueClassCount.at(WString::fromUtf8(predictor));
            for (const WString& category : inOrder(known)) {
                predictors.push_back(predictor);
                categories.push_back(category.toUtf8());
                for (std::uint64_t c = 0; c < used.classes.size(); ++c) {
                    values[c].push_back(known.at(category).at(used.classes[c]));
                }
            }
        }
        table.text("Predictor", std::move(predictors)).text("Category", std::move(categories));
        for (std::uint64_t c = 0; c < used.classes.size(); ++c) {
            table.add({used.classes[c].toUtf8(), std::move(values[c]), style});
        }
        return table;
    }

    double alpha_ = 1.0;
    std::string success_;
    double cutoff_ = 0.5;
    Model counts_;  ///< only after a fit
    Model model_;
};

}  // namespace

std::unique_ptr<Family> makeNaiveBayes() { return std::make_unique<NaiveBayes>(); }

}  // namespace Veltrix::Tool
