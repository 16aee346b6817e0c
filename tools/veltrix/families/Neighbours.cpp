#include <algorithm>

#include <fmt/format.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/KNN.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using Classifier = Engine::Classification::KNN::Model;
using Regressor = Engine::Regression::KNN::Model;
using KNearestNeighbors::WeightingScheme;

constexpr const char* kNumber = "--k";
constexpr const char* kLargestNumber = "--max-k";

/// Whether numbers are predicted.
const Choices<bool> kTasks{{"classification", false}, {"regression", true}};
const Choices<WeightingScheme> kSchemes{{"equal", WeightingScheme::equalVotes},
                                        {"distance", WeightingScheme::inverseDistance}};

class Neighbours : public StoredFamily<Neighbours> {
    template <class Self, class Use>
    static auto withModel(Self& self, Use use) {
        return self.regression_ ? use(self.regressor_) : use(self.classifier_);
    }

  public:
    FamilyNames names() const override {
        return {"knn", "Predicts classes or numbers from the nearest records",
                "k-nearest neighbours"};
    }
    Needs needs() const override {
        return {.target = TargetKind::Either, .coding = Coding::AllLevels, .weights = true};
    }

    void options(OptionGroup& own) override {
        own.count(kNumber, k_, "Number of neighbours that vote", 1).placeholder("K");
        own.count(kLargestNumber, maxK_,
                  "Takes the best number from 1 to this one, by the errors in the validation part, "
                  "or in the training part when there is none",
                  1)
            .placeholder("K")
            .excludes(kNumber);
        own.choice("--weighting", scheme_,
                   "What a neighbour's vote weighs: equal, or distance for the reciprocal of its "
                   "squared distance",
                   kSchemes)
            .placeholder("SCHEME");
        own.flag("--ties", ties_, "Lets all records vote that are as far away as the k-th");
        own.footer(
            "Distances are Euclidean over the predictors as they are: bring them to one scale "
            "first.\n"
            "A text predictor becomes one 0/1 column for each of its levels.");
    }

    void checkOptions() const override {
        if (k_ > 0 || maxK_ > 0) return;
        throw UserError(
            fmt::format("{}: not given, expected {} or {}", kNumber, kNumber, kLargestNumber));
    }

    void fit(const Prepared& data) override {
        const PartData& training = data.training();
        checkSize(kNumber, k_, training.count());
        checkSize(kLargestNumber, maxK_, training.count());
        regression_ = data.roles.classes.empty();
        if (!regression_) setRoles(classifier_, data.roles);
        withTarget(*this, data, training, [&](auto& model, const auto& target) {
            if (!training.weights.empty()) model.setWeights(training.weights);
            model.fit(training.records.x, target);
        });
        if (maxK_ > 0) search(data);
    }

    std::string title(const std::string& target) const override {
        return "Nearest neighbours for " + target;
    }

    void summarize(Table& summary, const Prepared& data) const override {
        summary.entry("Columns", std::int64_t{numColumns()})
            .entry("k", std::int64_t{k_})
            .entry("Weighting", nameOf(scheme_, kSchemes))
            .entry("Ties at the k-th distance", ties_ ? "all vote" : "first rows vote")
            .entry("Record weights", data.weights);
    }

    void describe(ReportBuilder& report, const Prepared& /*data*/) const override {
        if (maxK_ == 0) return;
        const DataFrame& errors = found_.searchLog;
        const std::string measure = errors.getColName(0).toUtf8();
        std::vector<std::string> marks(static_cast<std::size_t>(maxK_));
        marks[static_cast<std::size_t>(k_ - 1)] = "best";
        const std::string title = fmt::format("Search log: {}", partName(searched_));
        Table& log = report.table(title)
                         .counted("k", static_cast<std::uint64_t>(maxK_))
                         .series(measure, errors(Selection::all, 0).toDoubleVector())
                         .text("Chosen", std::move(marks));
        if (searched_ == Part::Training) {
            log.note(
                "There is no validation part. Every training record is its own nearest neighbour, "
                "which makes a small k look better than it is.");
        }
        report.chart("Search over k").x(title, "k").y(title, measure).line();
    }

    std::string trainingNote() const override {
        return "Every training record is among its own neighbours.";
    }

    ClassRoles roles() const override { return regression_ ? ClassRoles() : rolesOf(classifier_); }

    Scores score(const Records& records, double /*confidence*/) const override {
        if (!regression_) {
            return classScores(
                classifier_.posteriorProbability(records.x, k_, ties_, false, scheme_), roles());
        }
        const DataFrame scores = regressor_.predict(records.x, k_, ties_, false, scheme_);
        return numberScores(scores(Selection::all, 0).toDoubleVector());
    }

    int numColumns() const override {
        return withModel(*this, [](const auto& model) {
            const bool fitted = !model.getTrainingResponse().empty();
            return fitted ? model.getTrainingFeatures().getNumCols() : 0;
        });
    }

    static void describeFields(auto& a, auto& self) {
        storedChoice(a, "task", self.regression_, kTasks);
        a("k", self.k_)
            .check(
                "k", [&] { return self.k_ > 0; }, "expected at least 1");
        storedChoice(a, "weighting", self.scheme_, kSchemes);
        a("ties", self.ties_);
        withModel(self, [&](auto& model) { storedModel(a, "model", model); });
        if constexpr (std::decay_t<decltype(a)>::kReads) {
            if (!self.regression_) checkVotes(a.view().at("model"), self.classifier_);
        }
    }

  private:
    /// The model with the target of a part as it takes it.
    template <class Self, class Use>
    static void withTarget(Self& self, const Prepared& data, const PartData& part, Use use) {
        if (self.regression_) {
            use(self.regressor_, part.numbers);
        } else {
            use(self.classifier_, data.labelsOf(part));
        }
    }

    static void checkSize(const char* option, int number, std::uint64_t numRecords) {
        if (static_cast<std::uint64_t>(number) <= numRecords) return;
        throw UserError(fmt::format("{}: {}, expected at most the number of training rows, {}",
                                    option, number, numRecords));
    }

    /// What voting relies on: training records of the model's classes, which all have a prior.
    static void checkVotes(const Support::JsonView& stored, const Classifier& model) {
        const StringVector& classes = model.getClasses();
        const auto isClass = [&](const WString& label) {
            return std::find(classes.begin(), classes.end(), label) != classes.end();
        };
        if (!std::ranges::all_of(Util::uniqueElements(model.getTrainingResponse()), isClass)) {
            stored.at("labels").fail("a label that is none of the classes");
        }
        checkRoles(stored, model);
    }

    /// Sets k to the best one.
    void search(const Prepared& data) {
        searched_ = data.has(Part::Validation) ? Part::Validation : Part::Training;
        const PartData& part = data.part(searched_);
        withTarget(*this, data, part, [&](const auto& model, const auto& target) {
            found_ = model.kSearch(part.records.x, target, maxK_, ties_, false, scheme_);
        });
        k_ = found_.bestK;
    }

    int k_ = 0;     ///< 0 = not given
    int maxK_ = 0;  ///< 0 = not given
    WeightingScheme scheme_ = WeightingScheme::equalVotes;
    bool ties_ = false;
    bool regression_ = false;
    Classifier classifier_;
    Regressor regressor_;
    Engine::KNN::KSearchInfo found_;
    Part searched_ = Part::Training;
};

}  // namespace

std::unique_ptr<Family> makeNeighbours() { return std::make_unique<Neighbours>(); }

}  // namespace Veltrix::Tool
