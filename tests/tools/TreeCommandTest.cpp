// Trees by the real program.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CommandRun.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/ShownNumbers.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::string kLearners = std::string(kTestData) + "/learners/";

// The measures that scikit-learn 1.2.1 gives for the actual classes and the scores of the report.
TEST(TreeCommand, EveryPartIsEvaluated) {
    const TemporaryFolder folder;
    const Arguments start{"tree --data", kLearners + "pima_tree.csv",
                          "--target type --partition-column part --min-records 10"};
    const JsonReport report = reportOf(start + Arguments{"--success-class Yes"});
    const std::pair<const char*, std::vector<double>> measures[] = {
        {"Kappa", {0.5587340231284236, 0.4444444444444444}},
        {"MCC", {0.5603581142226185, 0.4481426646623499}},
        {"AUC", {0.7851059615765498, 0.7094474153297683}},
        {"Log loss", {0.4816427687278435, 0.5740052144618262}},
        {"Brier score", {0.15295904344992647, 0.19240419048699325}}};
    for (const auto& [heading, expected] : measures) {
        EXPECT_TRUE(allNear(report.column("Classification measures", heading), expected, {1e-12}))
            << heading;
    }
    EXPECT_TRUE(allNear(report.column("Measures by class: validation", "Precision"),
                        std::vector<double>{25.0 / 30, 12.0 / 20, 43.0 / 60}, {1e-12}));
    EXPECT_EQ(report.column("Lift: validation", "Successes so far").back(), 17.0);
    EXPECT_EQ(report.column("ROC curve: training", "Sensitivity").back(), 1.0);
    const auto errors = report.column("Tree sequence", "Validation errors");
    const auto marks = report.texts("Tree sequence", "Name");
    const auto placeOf = [&](const char* mark) {
        const auto has = [&](const std::string& each) { return each.find(mark) + 1 != 0; };
        return static_cast<std::size_t>(std::ranges::find_if(marks, has) - marks.begin());
    };
    EXPECT_EQ(errors.at(placeOf("minimum error")), std::ranges::min(errors));
    EXPECT_GE(placeOf("best pruned"), placeOf("minimum error"));
    // Without a success class each has its curves; what made them stands in the files.
    EXPECT_THAT(outputOf(start + Arguments{"--report", folder.path("r.xlsx")}),
                AllOf(HasSubstr("mean over the classes"), Not(HasSubstr("ROC curve: "))));
    EXPECT_THAT(contentOf(folder.path("r.xlsx")), HasSubstr("xl/charts/chart7.xml"));
    EXPECT_EQ(reportOf(start).column("Lift: validation", "Decile").size(), 20U);
}

TEST(TreeCommand, WithoutValidationTheFullTreeIsShown) {
    const TemporaryFolder folder;
    const ReferenceData reference("learners/airquality.tree");
    std::string text = contentOf(kLearners + reference.text("data"));
    for (std::size_t at = 0; (at = text.find("valid\n", at)) != std::string::npos;) {
        text.replace(at, 5, "test");
    }
    const JsonReport report =
        reportOf({"tree --regression --partition-column part --data", folder.write("a.csv", text),
                  "--target", reference.text("response"), "--predictors",
                  joined(reference.texts("predictors")), "--min-records",
                  reference.text("parameters.min_records")});
    for (const char* shown :
         {"Scores: test :: Prediction = full_tree_outputs", "Risk log :: Total risk = risk_log",
          "Summary :: Nodes of the full tree = node_count",
          "Column accumulators :: Accumulator = column_accumulators"}) {
        expectShown(report, reference, shown);
    }
    const std::pair<const char*, const char*> fields[] = {
        {"Node", "id"},   {"Depth", "depth"},      {"Records", "records"},
        {"Risk", "risk"}, {"Prediction", "label"}, {"Left below or among", "split_value"}};
    for (const auto& [heading, field] : fields) {
        std::vector<double> expected;
        for (int i = 0; i < static_cast<int>(reference.scalar("node_count")); ++i) {
            const std::string node = "nodes." + std::to_string(i) + ".";
            const bool leaf = reference.scalar(node + "left") == 0.0;
            if (leaf && field == std::string("split_value")) continue;
            expected.push_back(reference.scalar(node + field));
        }
        EXPECT_TRUE(allNear(report.column("Nodes: full tree", heading), expected, {1e-9, 1e-12}))
            << heading;
    }
    const auto root = static_cast<std::size_t>(reference.scalar("nodes.0.split_column"));
    EXPECT_EQ(report.texts("Nodes: full tree", "Split variable").at(0),
              reference.texts("predictors").at(root));
    EXPECT_EQ(report.column("Nodes: full tree", "Right child").at(0),
              reference.scalar("nodes.0.right"));
}

TEST(TreeCommand, TellsOfCategoriesAndUnknownClasses) {
    const TemporaryFolder folder;
    const std::string model = folder.path("m.json");
    const std::string data = folder.write("data.csv",
                                          "size,colour,grade,class,part\n1,red,1,01,train\n"
                                          "2,red,2,01,train\n3,blue,1,2,train\n4,blue,2,2,train\n"
                                          "1,green,3,2,train\n2,green,3,2,train\n1,pink,1,3,valid\n"
                                          "2,red,1,01,valid\n4,blue,,2,valid\n");
    EXPECT_THAT(outputOf({"tree --data", data,
                          "--target class --categorical grade --partition-column part --save",
                          model, "--report", folder.path("r.xlsx")}),
                AllOf(HasSubstr("Leaves of the selected tree     2\n"),
                      HasSubstr("\n2      0.666667                  4 "),
                      HasSubstr("\n3                                0 "),
                      HasSubstr("\nvalidation          3          2              1\n"),
                      HasSubstr("\nAll      1  1        2       1        50\n")));
    EXPECT_THAT(contentOf(folder.path("r.xlsx")), HasSubstr("xl/charts/chart1.xml"));
    // Categories that were not in training are scored, a row without a value is not.
    const std::string fresh =
        folder.write("new.csv", "colour,size,grade\npink,9,4\n,1,1\nred,0,1\n");
    EXPECT_THAT(predictionsOf(model, fresh),
                HasSubstr("\nRow,Predicted,P(01),P(2)\n1,2,0,1\n2,,NaN,NaN\n3,01,1,0\n"));
}

}  // namespace
}  // namespace Veltrix::Testing
