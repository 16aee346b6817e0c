#include <algorithm>
#include <limits>

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"
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

/// Whether numbers are predicted.
const Choices<bool> kTasks{{"classification", false}, {"regression", true}};

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
        const std::size_t numPredictors = data.coding.predictors().size();
        if (static_cast<std::size_t>(params_.variablesPerSplit) > numPredictors) {
            throw UserError(fmt::format("{}: {}, expected at most the number of predictors, {}",
                                        kColumnsPerSplit, params_.variablesPerSplit,
                                        numPredictors));
        }
        regression_ = data.roles.classes.empty();
        if (!regression_) setRoles(classifier_, data.roles);
        constexpr std::uint64_t kShare = 50;
        const auto usual = static_cast<int>(data.training().count() / kShare);
        if (params_.minRecords == 0) params_.minRecords = std::max(1, usual);
        params_.seed = static_cast<int>(seed_);
        Engine::DT::Model& model = tree();
        model.setParams(params_);
        const DataFrame trained = target(data, Part::Training);
        model.fit(data.training().records.frame, trained(Selection::all, 0));
        if (!data.has(Part::Validation)) return;
        const DataFrame validated = target(data, Part::Validation);
        model.prune(data.part(Part::Validation).records.frame, validated(Selection::all, 0));
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
        report.table("Column accumulators")
            .text("Column", tree().getColNames())
            .numbers("Accumulator", tree().getColumnAccumulators())
            .note("Total risk before each split on the column, summed.");
        report.records("Risk log")
            .counted("Splits", tree().getRiskLog().size(), 0)
            .numbers("Total risk", tree().getRiskLog());
    }

    ClassRoles roles() const override { return regression_ ? ClassRoles() : rolesOf(classifier_); }

    Scores score(const Records& records, double /*confidence*/) const override {
        if (regression_) return numberScores(regressor_.predict(records.frame));
        return classScores(Convert::toDataFrame(classifier_.posteriorProbability(records.frame),
                                                classifier_.getClasses()),
                           classifier_.predict(records.frame));
    }

    int numColumns() const override {
        return tree().getRoot() == nullptr ? 0 : tree().getNumCols();
    }

    static void describeFields(auto& a, auto& self) {
        storedChoice(a, "task", self.regression_, kTasks);
        if (self.regression_) {
            storedModel(a, "model", self.regressor_);
        } else {
            storedModel(a, "model", self.classifier_);
        }
    }

  private:
    Engine::DT::Model& tree() {
        if (regression_) return regressor_;
        return classifier_;
    }
    const Engine::DT::Model& tree() const {
        if (regression_) return regressor_;
        return classifier_;
    }

    bool isPruned() const { return tree().getPruning().numValidationRecords > 0; }

    /// The only column of a frame.
    static DataFrame target(const Prepared& data, Part part) {
        DataFrame frame;
        if (data.labels.empty()) {
            frame.append(data.part(part).numbers);
        } else {
            frame.append(L"", data.part(part).labels, data.labels);
        }
        return frame;
    }

    void addTree(ReportBuilder& report, TreeType type, const char* title) const {
        if (regression_) {
            Regressor other = regressor_;
            addNodes(report.records(title), other.select(type), nullptr);
        } else {
            Classifier other = classifier_;
            other.select(type);
            addNodes(report.records(title), other, &other.getClasses());
        }
    }

    Engine::DT::Params params_{.maxSplits = kNoLimit, .maxLevels = kNoLimit, .maxNodes = kNoLimit};
    std::uint32_t seed_ = kDefaultSeed;
    bool regression_ = false;
    Classifier classifier_;
    Regressor regressor_;
};

}  // namespace

std::unique_ptr<Family> makeTree() { return std::make_unique<Tree>(); }

}  // namespace Veltrix::Tool
