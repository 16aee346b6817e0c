// veltrix tree of the real program against results computed elsewhere (origin and tolerances in
// tests/reference/learners/README.md), and what its user may do wrong.
#include <algorithm>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/LearnerCommand.h"
#include "tests/support/Paths.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class TreeReference : public testing::TestWithParam<const char*> {
  protected:
    TreeReference() : reference(std::string("learners/") + GetParam() + ".tree") {}

    bool isClassification() const { return reference.has("classes"); }

    ProcessResult run(const std::string& data, std::vector<std::string> options = {}) const {
        options.insert(options.begin(),
                       {"tree", "--data", data, "--partition-column", "part", "--predictors",
                        joined(reference.texts("predictors")), "--target",
                        reference.text("response"), "--format", "json"});
        for (const char* limit : {"max_splits", "max_levels", "max_nodes", "min_records", "seed"}) {
            std::string option = std::string("--") + limit;
            std::ranges::replace(option, '_', '-');
            options.insert(options.end(),
                           {option, reference.text(std::string("parameters.") + limit)});
        }
        for (const std::string& option : taskOptions(reference)) options.push_back(option);
        return runProgram(kVeltrix, options);
    }

    static testing::AssertionResult matches(const std::vector<double>& actual,
                                            const std::vector<double>& expected) {
        return allNear(actual, expected, {1e-9, 1e-12});
    }

    /// A field of the nodes in order, of the decision nodes only on demand.
    std::vector<double> nodes(const std::string& field, bool decisionsOnly = false) const {
        std::vector<double> values;
        for (int i = 0; i < static_cast<int>(reference.scalar("node_count")); ++i) {
            const std::string node = "nodes." + std::to_string(i) + ".";
            if (decisionsOnly && reference.scalar(node + "left") == 0.0) continue;
            values.push_back(reference.scalar(node + field));
        }
        return values;
    }

    TemporaryFolder folder;
    ReferenceData reference;
    std::string dataPath = std::string(kTestData) + "/learners/" + reference.text("data");
};

TEST_P(TreeReference, WithoutValidationTheFullTreeIsReported) {
    std::string text = contentOf(dataPath);
    for (std::size_t at = 0; (at = text.find("valid\n", at)) != std::string::npos;) {
        text.replace(at, 5, "test");
    }
    const ProcessResult run = this->run(folder.write("data.csv", text));
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const JsonReport report(run.out);
    EXPECT_TRUE(matches(scoresOf(report, "Scores: test", reference),
                        reference.flattened("full_tree_outputs")));
    EXPECT_TRUE(matches(report.column("Risk log", "Total risk"), reference.vector("risk_log")));
    EXPECT_TRUE(matches(report.column("Column accumulators", "Accumulator"),
                        reference.vector("column_accumulators")));
    EXPECT_EQ(report.entry("Nodes of the full tree"), reference.scalar("node_count"));
    if (reference.scalar("compare_ids") == 0.0) return;
    const std::string title = "Nodes: full tree";
    struct Field {
        const char* heading;
        const char* quantity;
        bool decisionsOnly;
    };
    std::vector<Field> fields{{"Node", "id", false},
                              {"Depth", "depth", false},
                              {"Records", "records", false},
                              {"Left child", "left", true},
                              {"Right child", "right", true},
                              {"Risk", "risk", false},
                              {"Left below or among", "split_value", true}};
    if (isClassification()) {
        fields.push_back({"Impurity", "impurity", false});
        fields.push_back({"Node probability", "probability", false});
    } else {
        fields.push_back({"Prediction", "label", false});
    }
    for (const auto& [heading, quantity, decisionsOnly] : fields) {
        EXPECT_TRUE(matches(report.column(title, heading), nodes(quantity, decisionsOnly)))
            << heading;
    }
    std::vector<std::string> variables;
    for (const double column : nodes("split_column", true)) {
        variables.push_back(reference.texts("predictors").at(static_cast<std::size_t>(column)));
    }
    EXPECT_EQ(report.texts(title, "Split variable"), variables);
}

TEST_P(TreeReference, TheTreeIsPrunedOnTheValidationPart) {
    if (!reference.has("pruning.complexity")) return;
    const std::string model = folder.path("model.json");
    const ProcessResult run = this->run(dataPath, {"--save", model});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const JsonReport report(run.out);
    const std::string title = "Tree sequence";
    const std::string measure = isClassification() ? "Validation errors" : "Validation SSE";
    EXPECT_TRUE(
        matches(report.column(title, "Complexity"), reference.vector("pruning.complexity")));
    EXPECT_TRUE(
        matches(report.column(title, measure), reference.vector("pruning.validation_errors")));
    const auto nameOf = [&](const std::string& tree) {
        const auto place = static_cast<std::int64_t>(reference.scalar(tree));
        return report.table(title).at("rows").at(place).at(std::int64_t{6}).asString();
    };
    EXPECT_THAT(nameOf("pruning.best_pruned_tree"), HasSubstr("best pruned"));
    EXPECT_THAT(nameOf("pruning.minimum_error_tree"), HasSubstr("minimum error"));
    // Where cuts tie, rounding may leave a node more.
    const std::vector<double> least = reference.vector("pruning.decision_nodes");
    if (least == reference.vector("pruning.decision_nodes_upper")) {
        EXPECT_EQ(report.column(title, "Decision nodes"), least);
        EXPECT_TRUE(matches(report.column("Pruning log", "Error per record"),
                            reference.vector("pruning.pruning_log")));
        EXPECT_TRUE(matches(report.column("Pruning log", "Complexity"),
                            reference.vector("pruning.complexity_log")));
    }
    EXPECT_TRUE(matches(scoresOf(report, "Scores: validation", reference),
                        reference.flattened("best_tree_outputs")));
    const ProcessResult again =
        runProgram(kVeltrix, {"predict", "--model", model, "--data", dataPath, "--format", "json"});
    ASSERT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(scoresOf(JsonReport(again.out), "Predictions", reference),
              allScoresOf(report, reference));
}

INSTANTIATE_TEST_SUITE_P(References, TreeReference,
                         testing::Values("airquality", "glass_six", "iris_level_limit",
                                         "iris_node_limit", "iris_priors", "pima_equal",
                                         "toothgrowth"),
                         [](const auto& instance) { return std::string(instance.param); });

constexpr const char* kData =
    "size,colour,grade,class,part\n"
    "1,red,1,01,train\n"
    "2,red,2,01,train\n"
    "3,blue,1,2,train\n"
    "4,blue,2,2,train\n"
    "1,green,3,2,train\n"
    "2,green,3,2,train\n"
    "1,pink,1,3,valid\n"
    "2,red,1,01,valid\n"
    "4,blue,,2,valid\n";

TEST(TreeCommand, CategoriesAndUnknownClassesAreTold) {
    const TemporaryFolder folder;
    const std::string model = folder.path("m.json");
    const ProcessResult result =
        runProgram(kVeltrix, {"tree", "--data", folder.write("data.csv", kData), "--target",
                              "class", "--categorical", "grade", "--partition-column", "part",
                              "--save", model, "--report", folder.path("r.xlsx")});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, AllOf(HasSubstr("Leaves of the selected tree     2\n"),
                                  HasSubstr("\n2      0.666667                  4 "),
                                  HasSubstr("\n3                                0 "),
                                  HasSubstr("\nvalidation          3          2              1\n"),
                                  HasSubstr("\nAll      1  1        2       1        50\n")));
    EXPECT_THAT(contentOf(folder.path("r.xlsx")), HasSubstr("xl/charts/chart1.xml"));
    // Categories that were not in training are scored, a row without a value is not.
    const std::string fresh =
        folder.write("new.csv", "colour,size,grade\npink,9,4\n,1,1\nred,0,1\n");
    const ProcessResult scored =
        runProgram(kVeltrix, {"predict", "--model", model, "--data", fresh, "--format", "csv"});
    EXPECT_THAT(scored.out,
                HasSubstr("\nRow,Predicted,P(01),P(2)\n1,2,0,1\n2,,NaN,NaN\n3,01,1,0\n"))
        << scored.err;
}

TEST(TreeCommand, MistakesAreNamed) {
    const TemporaryFolder folder;
    expectMistakes({"tree", "--data", folder.write("data.csv", kData), "--target", "class",
                    "--predictors", "size"},
                   {{{"--categorical", "grad"}, {"--categorical", "did you mean \"grade\""}},
                    {{"--categorical", "grade"}, {"--categorical", "\"grade\"", "no predictor"}},
                    {{"--columns-per-split", "2"}, {"--columns-per-split", "2", "at most", "1"}},
                    {{"--min-records", "0"}, {"--min-records", "\"0\"", "from 1"}},
                    {{"--max-levels", "-1"}, {"--max-levels", "\"-1\"", "from 0"}},
                    {{"--max-nodes", "many"}, {"--max-nodes", "\"many\""}}});
    std::string many = "id,level,class\n";
    for (int i = 0; i < 63; ++i) {
        many += fmt::format("r{},l{},c{}\n", i, i % 21, i % 3);
    }
    expectMistakes({"tree", "--data", folder.write("many.csv", many)},
                   {{{"--target", "class", "--predictors", "id"},
                     {"--predictors", "\"id\"", "row 1", "\"r0\"", "63"}},
                    {{"--target", "class", "--predictors", "level"},
                     {"--predictors: column 0", "level", "21"}},
                    {{"--target", "id"}, {"--target", "\"id\"", "63", "--regression"}}});
}

}  // namespace
}  // namespace Veltrix::Testing
