#include <cstdint>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Engine/KNN.h"
#include "tools/veltrix/families/EitherModel.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/families/NeighbourSearch.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using KNearestNeighbors::WeightingScheme;

constexpr const char* kNumber = "--k";
constexpr const char* kLargestNumber = "--max-k";

const Choices<WeightingScheme> kSchemes{{"equal", WeightingScheme::equalVotes},
                                        {"distance", WeightingScheme::inverseDistance}};

class Neighbours : public StoredFamily<Neighbours> {
  public:
    FamilyNames names() const override {
        return {"knn", "Predicts classes or numbers from the nearest records",
                "k-nearest neighbours", "", "--k 5"};
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
        for (const auto& [option, number] : {std::pair(kNumber, k_), {kLargestNumber, maxK_}}) {
            checkAtMost(option, number, "the number of training rows",
                        static_cast<std::int64_t>(training.count()));
        }
        either_.start(data);
        either_.withTarget(either_, data, training, [&](auto& model, const auto& target) {
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
        if (maxK_ > 0) addSearch(report, search_);
    }

    std::string trainingNote() const override {
        return "Every training record is among its own neighbours.";
    }

    ClassRoles roles() const override { return either_.roles(); }

    Scores score(const Records& records, double /*confidence*/) const override {
        if (!either_.regression) {
            return classScores(
                either_.classifier.posteriorProbability(records.x, k_, ties_, false, scheme_),
                roles());
        }
        const DataFrame scores = either_.regressor.predict(records.x, k_, ties_, false, scheme_);
        return numberScores(scores(Selection::all, 0).toDoubleVector());
    }

    int numColumns() const override {
        return either_.with(either_, [](const auto& model) {
            const bool fitted = !model.getTrainingResponse().empty();
            return fitted ? model.getTrainingFeatures().getNumCols() : 0;
        });
    }

    static void describeFields(auto& a, auto& self) {
        self.either_.describeTask(a, self.either_);
        a("k", self.k_)
            .check(
                "k", [&] { return self.k_ > 0; }, "expected at least 1");
        storedChoice(a, "weighting", self.scheme_, kSchemes);
        a("ties", self.ties_);
        self.either_.describeModel(a, self.either_);
        if constexpr (std::decay_t<decltype(a)>::kReads) {
            if (!self.either_.regression) {
                checkVotes(a.view().at("model"), self.either_.classifier);
            }
        }
    }

  private:
    /// Sets k to the best one.
    void search(const Prepared& data) {
        search_.searched = data.has(Part::Validation) ? Part::Validation : Part::Training;
        const PartData& part = data.part(search_.searched);
        either_.withTarget(either_, data, part, [&](const auto& model, const auto& target) {
            search_.found = model.kSearch(part.records.x, target, maxK_, ties_, false, scheme_);
        });
        k_ = search_.found.bestK;
    }

    int k_ = 0;     ///< 0 = not given
    int maxK_ = 0;  ///< 0 = not given
    WeightingScheme scheme_ = WeightingScheme::equalVotes;
    bool ties_ = false;
    EitherModel<Engine::Classification::KNN::Model, Engine::Regression::KNN::Model> either_;
    NeighbourSearch search_;
};

}  // namespace

std::unique_ptr<Family> makeNeighbours() { return std::make_unique<Neighbours>(); }

}  // namespace Veltrix::Tool
