// Trees against results computed elsewhere (origin and tolerances in
// tests/reference/learners/README.md).
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

namespace DT = Engine::DT;

constexpr Tolerance kDigits{1e-9, 1e-12, NaNRule::EqualsNaN};

/// A reference problem: training and validation frames, the response in their last column.
struct Problem {
    ReferenceData reference;
    DataFrame train;
    DataFrame valid;
    IntVector predictors;
    DT::Params params;

    explicit Problem(const std::string& name) : reference("learners/" + name + ".tree") {
        const CsvData data("learners/" + reference.text("data"));
        DataFrame all;
        for (const std::string& column : reference.texts("predictors")) {
            const bool coded = isCategorical(column);
            if (coded) params.categorical.push_back(all.getNumCols());
            predictors.push_back(all.getNumCols());
            append(all, data, column, coded);
        }
        append(all, data, reference.text("response"), reference.text("kind") == "classification");
        IntVector parts[2];
        const std::vector<std::string> part = data.texts("part");
        for (std::size_t i = 0; i < part.size(); ++i) {
            parts[part[i] == "train" ? 0 : 1].push_back(static_cast<int>(i));
        }
        train = all(parts[0], Util::all);
        valid = all(parts[1], Util::all);
        const ReferenceData parameters = reference.part("parameters");
        params.maxSplits = parameters.integer("max_splits");
        params.maxLevels = parameters.integer("max_levels");
        params.maxNodes = parameters.integer("max_nodes");
        params.minRecords = parameters.integer("min_records");
        params.seed = parameters.integer("seed");
        params.variablesPerSplit = parameters.integer("variables_per_split");
    }

    DataFrame features(const DataFrame& frame) const { return frame(Util::all, predictors); }
    static ConstDataFrameColumn response(const DataFrame& frame) {
        return frame(Util::all, frame.getNumCols() - 1);
    }

  private:
    bool isCategorical(const std::string& column) const {
        if (!reference.has("categorical")) return false;
        const auto names = reference.texts("categorical");
        return std::find(names.begin(), names.end(), column) != names.end();
    }
    static void append(DataFrame& frame, const CsvData& data, const std::string& column,
                       bool text) {
        const WString name = WString::fromUtf8(column);
        if (text) {
            frame.append(toStrings(data.texts(column)), name);
        } else {
            Vector values = toVector(data.numbers(column));
            values.setName(name);
            frame.append(values);
        }
    }
};

void checkNodes(const ReferenceData& reference, const DT::BinaryTree& tree) {
    const auto nodes = tree.getNodes();
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        const DT::Node& node = *nodes[k];
        const ReferenceData item = reference.part("nodes." + std::to_string(k));
        const auto expected = [&](const char* field) { return item.scalar(field); };
        SCOPED_TRACE(k);
        EXPECT_EQ(node.id, expected("id"));
        EXPECT_EQ(node.depth, expected("depth"));
        EXPECT_EQ(node.numRecords, expected("records"));
        EXPECT_EQ(node.records().size(), static_cast<std::uint64_t>(node.numRecords));
        EXPECT_EQ(node.splitVariable, expected("split_column"));
        EXPECT_TRUE(isNear(node.risk, expected("risk"), kDigits));
        if (node.isLeaf()) continue;
        EXPECT_EQ(node.left->id, expected("left"));
        EXPECT_EQ(node.right->id, expected("right"));
        EXPECT_TRUE(isNear(node.splitValue, expected("split_value"), kDigits));
        EXPECT_TRUE(isNear(node.strength, expected("full_tree_strength"), kDigits));
        if (!item.has("impurity")) continue;
        EXPECT_TRUE(isNear(node.impurity, expected("impurity"), kDigits));
        EXPECT_TRUE(isNear(node.probability, expected("probability"), kDigits));
        EXPECT_TRUE(
            allNear(node.classProbabilities(), item.vector("class_probabilities"), kDigits));
        EXPECT_TRUE(allNear(node.classCounts(), item.vector("class_counts"), kDigits));
    }
}

void checkPruning(const ReferenceData& reference, const DT::Pruning& pruning) {
    const auto expected = [&](const char* field) {
        return reference.part("pruning").vector(field);
    };
    EXPECT_TRUE(allNear(pruning.complexity, expected("complexity"), kDigits));
    const auto least = expected("decision_nodes");
    const auto most = expected("decision_nodes_upper");
    ASSERT_EQ(pruning.numDecisionNodes.size(), least.size());
    for (std::size_t k = 0; k < least.size(); ++k) {
        EXPECT_GE(pruning.numDecisionNodes[k], least[k]);
        EXPECT_LE(pruning.numDecisionNodes[k], most[k]);
        EXPECT_EQ(pruning.numLeaves[k], pruning.numDecisionNodes[k] + 1);
    }
    EXPECT_TRUE(allNear(pruning.errors, expected("validation_errors"), kDigits));
    EXPECT_EQ(pruning.minErrorTree, reference.scalar("pruning.minimum_error_tree"));
    EXPECT_EQ(pruning.bestPrunedTree, reference.scalar("pruning.best_pruned_tree"));
    EXPECT_TRUE(allNear(pruning.pruningLog(), expected("pruning_log"), kDigits));
    EXPECT_TRUE(allNear(pruning.complexityLog(), expected("complexity_log"), kDigits));
}

/// Predictions row after row: class probabilities, or one number.
Vector outputs(const DT::Model& model, const DataFrame& features) {
    const auto* classifier = dynamic_cast<const DT::Classification::Model*>(&model);
    if (classifier == nullptr) {
        return dynamic_cast<const DT::Regression::Model&>(model).predict(features);
    }
    Matrix posteriors = classifier->posteriorProbability(features);
    return posteriors.transpose().getAsDoubleVector();
}

void checkTree(const Problem& problem, DT::Model& model) {
    const ReferenceData& reference = problem.reference;
    model.setParams(problem.params);
    model.fit(problem.features(problem.train), Problem::response(problem.train));
    EXPECT_EQ(model.getNumNodes(), reference.scalar("node_count"));
    EXPECT_TRUE(allNear(model.getRiskLog(), reference.vector("risk_log"), kDigits));
    EXPECT_TRUE(
        allNear(model.getColumnAccumulators(), reference.vector("column_accumulators"), kDigits));
    if (reference.scalar("compare_ids") == 1.0) checkNodes(reference, model);
    const DataFrame valid = problem.features(problem.valid);
    EXPECT_TRUE(allNear(outputs(model, valid), reference.flattened("full_tree_outputs"), kDigits));
    if (!reference.has("pruning.complexity")) return;
    model.prune(valid, Problem::response(problem.valid));
    checkPruning(reference, model.getPruning());
    EXPECT_TRUE(allNear(outputs(model, valid), reference.flattened("full_tree_outputs"), kDigits));
    model.select(DecisionTree::TreeType::bestPruned);
    EXPECT_TRUE(allNear(outputs(model, valid), reference.flattened("best_tree_outputs"), kDigits));
    EXPECT_EQ(model.getNumDecisionNodes(),
              model.getPruning()
                  .numDecisionNodes[static_cast<std::uint64_t>(model.getPruning().selectedTree)]);
}

class TreeReference : public testing::TestWithParam<const char*> {};

TEST_P(TreeReference, GrowsAndPrunesAsExpected) {
    const Problem problem(GetParam());
    const ReferenceData& reference = problem.reference;
    if (reference.text("kind") == "regression") {
        DT::Regression::Model model;
        checkTree(problem, model);
        return;
    }
    DT::Classification::Model model;
    const StringVector classes = toStrings(reference.texts("classes"));
    const auto priors = reference.vector("priors");
    for (std::size_t c = 0; c < priors.size(); ++c) model.setPrior(classes[c], priors[c]);
    model.setClasses(classes);
    const std::string success = reference.text("success_class");
    if (!success.empty()) model.setSuccessClass(WString::fromUtf8(success));
    model.setSuccessProbabilityCutoff(reference.scalar("cutoff"));
    checkTree(problem, model);
}

INSTANTIATE_TEST_SUITE_P(All, TreeReference,
                         testing::Values("iris_priors", "iris_level_limit", "iris_node_limit",
                                         "pima_equal", "glass_six", "airquality", "toothgrowth"));

}  // namespace
}  // namespace Veltrix::Testing
