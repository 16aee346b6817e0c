// Classifiers by the real program.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
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

const std::string kLearners = std::string(kTestData) + "/learners/";

TEST(KnnCommand, ShowsTheReferenceNumbersAndSearches) {
    const TemporaryFolder folder;
    const ReferenceData reference("learners/painters_weighted.knn");
    const auto lines = Detail::readLines("learners/" + reference.text("data"));
    std::string text = lines.at(0) + ",part\n";
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const bool trains = static_cast<double>(i) <= reference.scalar("training_rows");
        text += lines[i] + (trains ? ",train\n" : ",valid\n");
    }
    const Arguments start{"knn --data",
                          folder.write("data.csv", text),
                          "--partition-column part --predictors",
                          joined(reference.texts("predictors")),
                          "--target",
                          reference.text("class"),
                          "--weights",
                          reference.text("weights")};
    const std::pair<std::string, Arguments> cases[] = {
        {"scores.2", "--k 9"},
        {"scores.7", "--k 5 --weighting distance"},
        {"scores.11", "--k 9 --weighting distance --ties"}};
    for (const auto& [item, options] : cases) {
        EXPECT_TRUE(
            allNear(posteriorsOf(reportOf(start + options), "Scores: validation", reference),
                    reference.flattened(item + ".posterior"), {0.0, 1e-10}))
            << item;
    }
    const JsonReport report = reportOf({start, "--max-k 10 --weighting distance --ties"});
    expectShown(report, reference,
                "Search log: validation :: % Misclassification = "
                "searches.3.misclassified_percent");
    expectShown(report, reference, "Summary :: k = searches.3.best_k");
    // The tables below the search repeat the error of the number chosen.
    EXPECT_NEAR(report.column("Confusion matrix: validation", "% Errors").back(),
                std::ranges::min(reference.vector("searches.3.misclassified_percent")), 1e-10);
}

TEST(KnnCommand, TellsPartsClassesAndErrors) {
    const TemporaryFolder folder;
    const std::string model = folder.path("m.json");
    // A class that trains nowhere; a row without a part and one without a value.
    const std::string data = folder.write("data.csv",
                                          "kind,x,class,part\na,1,01,train\na,2,01,train\n"
                                          "b,5,2,train\nb,6,2,train\nc,1.5,01,valid\n"
                                          "c,5.5,3,valid\nb,4,2,test\na,,2,test\na,9,2,\n");
    EXPECT_THAT(
        outputOf({"knn --data", data, "--target class --partition-column part --max-k 2 --save",
                  model, "--report", folder.path("r.xlsx")}),
        AllOf(HasSubstr("\nColumns                         4\n"),
              HasSubstr("\ntraining            4          4              0\n"
                        "validation          2          2              0\n"
                        "test                2          1              1\n"),
              HasSubstr("\nActual  01  2  Records  Errors  % Errors\n"
                        "01       1  0        1       0         0\n"
                        "2        0  0        0       0       NaN\n"
                        "3        0  1        1       1       100\n"
                        "All      1  1        2       1        50\n"),
              HasSubstr("never predicted"), HasSubstr("among its own neighbours")));
    EXPECT_THAT(contentOf(folder.path("r.xlsx")), HasSubstr("xl/charts/chart1.xml"));
    EXPECT_THAT(predictionsOf(model, folder.write("new.csv", "x,kind\n1,c\n,a\n6,b\n")),
                HasSubstr("\nRow,Predicted,P(01),P(2)\n1,01,1,0\n2,,NaN,NaN\n3,2,0,1\n"));
}

// The nearest records of the first two weigh nothing.
TEST(KnnCommand, RowsWithoutAPredictionAreToldAndLeftOut) {
    const TemporaryFolder folder;
    const std::string model = folder.path("m.json");
    const std::string data =
        folder.write("data.csv", "x,y,c,w\n1,1,a,0\n1.1,2,b,0\n5,3,a,1\n6,4,b,1\n7,3,a,1\n");
    const Arguments start{"knn --data", data,
                          "--predictors x --weights w --k 2 --format json --save", model,
                          "--target"};
    EXPECT_THAT(outputOf(start + Arguments{"c"}), HasSubstr(R"([1,"a",null,"NaN","NaN"])"));
    EXPECT_THAT(predictionsOf(model, data), AllOf(HasSubstr("\nRows without a prediction,2\n"),
                                                  HasSubstr("\n2,,NaN,NaN\n3,a,0.5,0.5\n")));
    EXPECT_THAT(outputOf(start + Arguments{"y --regression"}),
                AllOf(HasSubstr(R"(["training",3,0.75,0.25,0.5,0.5,)"),
                      HasSubstr("\"training: 2 records without")));
}

TEST(DiscriminantCommand, ShowsTheReferenceNumbers) {
    const ReferenceData reference("learners/birthwt_race.qda");
    std::vector<std::string> priors = reference.texts("groups");
    for (std::size_t k = 0; k < priors.size(); ++k) priors[k] += "=" + reference.texts("priors")[k];
    const JsonReport report =
        reportOf({"discriminant --quadratic --data", kLearners + reference.text("data"), "--target",
                  reference.text("class"), "--priors", joined(priors)});
    const Table posterior = reference.matrix("posterior");
    for (std::size_t g = 0; g < posterior.columns; ++g) {
        const std::string group = reference.texts("groups")[g];
        std::vector<double> expected;
        for (std::size_t i = 0; i < posterior.rows; ++i) expected.push_back(posterior(i, g));
        const auto found = report.column("Scores: training", "P(" + group + ")");
        EXPECT_TRUE(allNear(found, expected, {0.0, 1e-9})) << group;
        expected = {reference.vector("constants")[g]};
        for (std::size_t j = 0; j < 3; ++j) {
            expected.push_back(reference.matrix("coefficients")(j, g));
        }
        EXPECT_TRUE(allNear(report.column("Coefficients", group), expected, {1e-8, 0.0})) << group;
        EXPECT_NEAR(report.column("Group means", group)[1], reference.matrix("means")(g, 1), 1e-8);
        const auto terms = reference.vector("quadratic_terms." + std::to_string(g) + ".2");
        EXPECT_TRUE(allNear(report.column("Quadratic terms: " + group, "bwt"), terms, {1e-8, 0.0}));
    }
    EXPECT_EQ(report.column("Confusion matrix: training", "Errors").back(),
              reference.scalar("misclassified"));
}

// A network of the reference's shape from the command's own starting weights, its log, and the end
// by a validation part that goes another way than the training part.
TEST(NetworkCommand, ReachesTheReferenceAndStops) {
    const ReferenceData reference("learners/iris_network.network");
    const JsonReport report =
        reportOf({"network --no-standardize --activation sigmoid --hidden 6 --batch-size 15 --rate "
                  "0.1 --momentum 0.5 --epochs 300 --weights-table --target Species --data",
                  kLearners + reference.text("data")});
    EXPECT_LE(report.column("Confusion matrix: training", "Errors").back(),
              reference.scalar("suggested_upper_bound"));
    const auto errors = report.column("Training log", "% Misclassification: training");
    EXPECT_EQ(errors.size(), 300U);
    EXPECT_NEAR(errors.back(), report.column("Confusion matrix: training", "% Errors").back(),
                1e-9);
    EXPECT_EQ(report.column("Weights: hidden layer 1", "Unit 6").size(), 5U);
    EXPECT_EQ(report.texts("Weights: output layer", "From").back(), "Bias");

    const TemporaryFolder folder;
    std::string text = "x,y,part\n";
    for (int i = 0; i < 40; ++i) {
        text += fmt::format("{},{},{}\n", i, i % 2 == 0 ? 1000 + i : 1000 - i,
                            i % 2 == 0 ? "train" : "valid");
    }
    const JsonReport stopped =
        reportOf({"network --regression --target y --partition-column part --patience 4 --data",
                  folder.write("data.csv", text)});
    const auto costs = stopped.column("Training log", "Cost: validation");
    ASSERT_GE(costs.size(), 5U);
    EXPECT_LT(costs.size(), 200U);
    EXPECT_EQ(std::ranges::min_element(costs), costs.end() - 5);
    // Errors are those of the target's own unit.
    EXPECT_NEAR(stopped.column("Training log", "RMSE: validation").back(),
                stopped.column("Error measures", "RMSE").back(), 1e-9);
}

TEST(NaiveBayesCommand, ShowsTheReferenceNumbers) {
    const TemporaryFolder folder;
    const ReferenceData reference("learners/birthwt_nb.naivebayes");
    const std::string model = folder.path("m.json");
    const JsonReport report =
        reportOf({"naive-bayes --data", kLearners + reference.text("data"), "--target",
                  reference.text("class"), "--alpha", reference.text("alpha"), "--save", model,
                  "--predictors", joined(reference.texts("features")),
                  "--priors 0=0.8666666666666667,1=0.13333333333333333"});
    EXPECT_EQ(report.texts("Category counts", "Category").at(8), "3");
    EXPECT_EQ(report.column("Category counts", "0").at(8),
              reference.vector("conditional.8.counts")[0]);
    EXPECT_NEAR(report.column("Conditional probabilities", "1").at(8),
                reference.vector("conditional.8.probabilities")[1], 1e-13);
    std::string records = joined(reference.texts("features"));
    const auto cells = reference.flattenedTexts("scored_records");
    for (std::size_t k = 0; k < cells.size(); ++k) records += (k % 6 == 0 ? "\n" : ",") + cells[k];
    const JsonReport scored =
        reportOf({"predict --model", model, "--data", folder.write("new.csv", records + "\n")});
    EXPECT_TRUE(allNear(posteriorsOf(scored, "Predictions", reference),
                        reference.flattened("posterior"), {1e-11, 0.0, NaNRule::EqualsNaN}));
    EXPECT_TRUE(allNear(scored.column("Predictions", "Log likelihood"),
                        reference.vector("log_likelihood"), {1e-11, 0.0, NaNRule::EqualsNaN}));
    EXPECT_EQ(scored.entry("Rows without a prediction"), 1.0);
}

TEST(NaiveBayesCommand, TakesNumbersAsCategories) {
    const TemporaryFolder folder;
    std::string text = "x,c,part\n";
    for (int i = 0; i < 101; ++i) text += fmt::format("{}.5,{},train\n", i, i % 2);
    const std::string data = folder.write("data.csv", text + "7.50,1,valid\n999,0,valid\n");
    EXPECT_THAT(outputOf({"naive-bayes --partition-column part --target c --data", data}),
                AllOf(HasSubstr("\"x\" has 101 different numbers"),
                      HasSubstr("1 record without a prediction")));
}

}  // namespace
}  // namespace Veltrix::Testing
