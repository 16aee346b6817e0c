#include <algorithm>
#include <limits>

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"
#include "tools/veltrix/families/EitherModel.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/families/TreeTables.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using DecisionTree::TreeType;
using Classifier = Engine::DT::Classification::Model;
using Regressor = Engine::DT::Regression::Model;

constexpr int kNoLimit = std::numeric_limits<int>::max();
constexpr const char* kColumnsPerSplit = "--columns-per-split";

Value limitText(int limit) {
    return limit == kNoLimit ? Value("none") : Value(std::int64_t{limit});
}

class Tree : public StoredFamily<Tree> {
  public:
    FamilyNames names() const override {
        return {"tree", "Grows and prunes a decision tree for classes or numbers", "decision tree"};
    }
    Needs needs() const override {
        return {.target = TargetKind::Either, .coding = Coding::Categories};
    }

    void options(OptionGroup& own) override {
        own.count("--max-splits", params_.maxSplits,
                  "Most splits of the tree grown; no limit (default)");
        own.count("--max-levels", params_.maxLevels,
                  "Most levels below the root; no limit (default). No node is split any more once "
                  "one on the last level is");
        own.count("--max-nodes", params_.maxNodes, "Most nodes; no limit (default)", 1);
        own.count("--min-records", params_.minRecords,
                  "Fewest training rows of a node; a fiftieth of all of them, at least 1 (default)",
                  1);
        own.count(kColumnsPerSplit, params_.variablesPerSplit,
                  "Predictors tried at each split, drawn at random; all (default)", 1);
        own.seed(seed_);
        own.footer(
            "With a validation part the tree is pruned, and the best pruned tree is the one that\n"
            "scores and is stored; without one it is the full tree.");
    }

    void fit(const Prepared& data) override {
        checkAtMost(kColumnsPerSplit, params_.variablesPerSplit, "the number of predictors",
                    static_cast<std::int64_t>(data.coding.predictors().size()));
        either_.start(data);
        const auto fiftieth = static_cast<int>(data.training().count() / 50);
        if (params_.minRecords == 0) params_.minRecords = std::max(1, fiftieth);
        params_.seed = static_cast<int>(seed_);
        Engine::DT::Model& model = tree();
        model.setParams(params_);
        const DataFrame trained = data.targetOf(data.training());
        model.fit(data.training().records.frame, trained(Selection::all, 0));
        if (!data.has(Part::Validation)) return;
        const PartData& validation = data.part(Part::Validation);
        const DataFrame validated = data.targetOf(validation);
        model.prune(validation.records.frame, validated(Selection::all, 0));
        model.select(TreeType::bestPruned);
    }

    std::string title(const std::string& target) const override {
        return "Decision tree for " + target;
    }

    void summarize(Table& summary, const Prepared& /*data*/) const override {
        summary.entry("Most splits", limitText(params_.maxSplits))
            .entry("Most levels", limitText(params_.maxLevels))
            .entry("Most nodes", limitText(params_.maxNodes))
            .entry("Fewest records of a node", std::int64_t{params_.minRecords})
            .entry("Columns per split", params_.variablesPerSplit == 0
                                            ? Value("all")
                                            : limitText(params_.variablesPerSplit))
            .entry("Seed", std::int64_t{seed_})
            .entry("Nodes of the full tree", std::int64_t{tree().getNumNodes()})
            .entry("Selected tree", isPruned() ? "best pruned" : "full")
            .entry("Leaves of the selected tree", std::int64_t{tree().getNumLeaves()});
    }

    void describe(ReportBuilder& report, const Prepared& /*data*/) const override {
        const std::string name = isPruned() ? "best pruned tree" : "full tree";
        if (isPruned()) addPruning(report, tree());
        addDrawing(report.table("Drawing: " + name), tree());
        addRules(report.table("Rules: " + name), tree());
        if (isPruned()) {
            addTree(report, TreeType::bestPruned, "Nodes: best pruned tree");
            addTree(report, TreeType::minimumError, "Nodes: minimum error tree");
        }
        addTree(report, TreeType::full, "Nodes: full tree");
        addGrowth(report, tree());
    }

    ClassRoles roles() const override { return either_.roles(); }

    Scores score(const Records& records, double /*confidence*/) const override {
        if (either_.regression) return numberScores(either_.regressor.predict(records.frame));
        const Classifier& model = either_.classifier;
        return classScores(
            Convert::toDataFrame(model.posteriorProbability(records.frame), model.getClasses()),
            model.predict(records.frame));
    }

    int numColumns() const override {
        return tree().getRoot() == nullptr ? 0 : tree().getNumCols();
    }

    static void describeFields(auto& a, auto& self) {
        self.either_.describeTask(a, self.either_);
        self.either_.describeModel(a, self.either_);
    }

  private:
    Engine::DT::Model& tree() {
        return either_.with(either_, [](auto& model) -> Engine::DT::Model& { return model; });
    }
    const Engine::DT::Model& tree() const {
        return either_.with(either_, [](auto& model) -> const Engine::DT::Model& { return model; });
    }

    bool isPruned() const { return tree().getPruning().numValidationRecords > 0; }

    void addTree(ReportBuilder& report, TreeType type, const char* title) const {
        if (either_.regression) {
            Regressor other = either_.regressor;
            addNodes(report.records(title), other.select(type), nullptr);
        } else {
            Classifier other = either_.classifier;
            other.select(type);
            addNodes(report.records(title), other, &other.getClasses());
        }
    }

    Engine::DT::Params params_{.maxSplits = kNoLimit, .maxLevels = kNoLimit, .maxNodes = kNoLimit};
    std::uint32_t seed_ = kDefaultSeed;
    EitherModel<Classifier, Regressor> either_;
};

}  // namespace

std::unique_ptr<Family> makeTree() { return std::make_unique<Tree>(); }

}  // namespace Veltrix::Tool
