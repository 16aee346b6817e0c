// veltrix knn of the real program against results computed elsewhere (origin and tolerances in
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

class KnnReference : public testing::TestWithParam<const char*> {
  protected:
    KnnReference() : reference(std::string("learners/") + GetParam() + ".knn") {
        const auto lines = Detail::readLines("learners/" + reference.text("data"));
        std::string text = lines.at(0) + ",part\n";
        for (std::size_t i = 1; i < lines.size(); ++i) {
            const bool trains = static_cast<double>(i) <= reference.scalar("training_rows");
            text += lines[i] + (trains ? ",train\n" : ",valid\n");
        }
        data = folder.write("data.csv", text);
    }

    bool isClassification() const { return reference.has("classes"); }

    /// A run with the settings of a case of the reference.
    ProcessResult run(const std::string& item, std::vector<std::string> options) const {
        options.insert(options.begin(),
                       {"knn", "--data", data, "--partition-column", "part", "--predictors",
                        joined(reference.texts("predictors")), "--format", "json", "--target",
                        reference.text(isClassification() ? "class" : "response"), "--weighting",
                        reference.scalar(item + ".scheme") == 2.0 ? "distance" : "equal"});
        if (reference.scalar(item + ".include_ties") == 1.0) options.emplace_back("--ties");
        const std::string weights = reference.text("weights");
        if (!weights.empty()) options.insert(options.end(), {"--weights", weights});
        for (const std::string& option : taskOptions(reference)) options.push_back(option);
        return runProgram(kVeltrix, options);
    }

    TemporaryFolder folder;
    ReferenceData reference;
    std::string data;
};

TEST_P(KnnReference, ScoresTheValidationRows) {
    const std::string quantity = isClassification() ? ".posterior" : ".prediction";
    for (int i = 0; reference.has("scores." + std::to_string(i) + ".k"); ++i) {
        const std::string item = "scores." + std::to_string(i);
        SCOPED_TRACE(item);
        const ProcessResult run = this->run(item, {"--k", reference.text(item + ".k")});
        ASSERT_EQ(run.exitCode, 0) << run.err;
        EXPECT_TRUE(allNear(scoresOf(JsonReport(run.out), "Scores: validation", reference),
                            reference.flattened(item + quantity), {0.0, 1e-10}));
    }
}

TEST_P(KnnReference, SearchesTheBestNumberWhichIsStored) {
    const std::string model = folder.path("model.json");
    for (int i = 0; reference.has("searches." + std::to_string(i) + ".best_k"); ++i) {
        const std::string item = "searches." + std::to_string(i);
        SCOPED_TRACE(item);
        const ProcessResult run =
            this->run(item, {"--max-k", reference.text(item + ".max_k"), "--save", model});
        ASSERT_EQ(run.exitCode, 0) << run.err;
        const JsonReport report(run.out);
        const std::vector<double> log =
            reference.vector(item + (isClassification() ? ".misclassified_percent" : ".rmse"));
        EXPECT_TRUE(allNear(report.column("Search log: validation",
                                          isClassification() ? "% Misclassification" : "RMSE"),
                            log, {0.0, 1e-10}));
        EXPECT_EQ(report.entry("k"), reference.scalar(item + ".best_k"));
        // The tables below the search repeat the error of the number chosen.
        EXPECT_NEAR(isClassification()
                        ? report.column("Confusion matrix: validation", "% Errors").back()
                        : report.column("Error measures", "RMSE").at(1),
                    *std::ranges::min_element(log), 1e-10);
        const ProcessResult scored =
            runProgram(kVeltrix, {"predict", "--model", model, "--data", data, "--format", "json"});
        ASSERT_EQ(scored.exitCode, 0) << scored.err;
        EXPECT_EQ(scoresOf(JsonReport(scored.out), "Predictions", reference),
                  allScoresOf(report, reference));
    }
}

INSTANTIATE_TEST_SUITE_P(References, KnnReference,
                         testing::Values("iris_tenths", "painters_weighted", "pima_small",
                                         "stackloss_knn"),
                         [](const auto& instance) { return std::string(instance.param); });

// A class that trains nowhere; a row without a part and one without a value.
constexpr const char* kData =
    "kind,x,class,part,w\n"
    "a,1,01,train,1\n"
    "a,2,01,train,0\n"
    "b,5,2,train,2\n"
    "b,6,2,train,1\n"
    "c,1.5,01,valid,1\n"
    "c,5.5,3,valid,1\n"
    "b,4,2,test,1\n"
    "a,,2,test,1\n"
    "a,9,2,,1\n";

TEST(KnnCommand, TellsPartsClassesAndErrors) {
    const TemporaryFolder folder;
    const std::string model = folder.path("m.json");
    const ProcessResult result =
        runProgram(kVeltrix, {"knn", "--data", folder.write("data.csv", kData), "--target", "class",
                              "--predictors", "kind,x", "--partition-column", "part", "--max-k",
                              "2", "--save", model, "--report", folder.path("r.xlsx")});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out,
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
    const std::string fresh = folder.write("new.csv", "x,kind\n1,c\n,a\n6,b\n");
    const ProcessResult scored =
        runProgram(kVeltrix, {"predict", "--model", model, "--data", fresh, "--format", "csv"});
    EXPECT_THAT(scored.out,
                HasSubstr("\nRow,Predicted,P(01),P(2)\n1,01,1,0\n2,,NaN,NaN\n3,2,0,1\n"))
        << scored.err;
}

// The nearest records of the first two weigh nothing.
TEST(KnnCommand, RowsWithoutAPredictionAreToldAndLeftOut) {
    const TemporaryFolder folder;
    const std::string data =
        folder.write("data.csv", "x,y,c,w\n1,1,a,0\n1.1,2,b,0\n5,3,a,1\n6,4,b,1\n7,3,a,1\n");
    const std::string model = folder.path("m.json");
    std::vector<std::string> options{"knn", "--data",   data, "--predictors", "x",    "--weights",
                                     "w",   "--k",      "2",  "--format",     "json", "--save",
                                     model, "--target", "c"};
    EXPECT_THAT(runProgram(kVeltrix, options).out, HasSubstr(R"([1,"a",null,"NaN","NaN"])"));
    EXPECT_THAT(
        runProgram(kVeltrix, {"predict", "--format", "csv", "--data", data, "--model", model}).out,
        AllOf(HasSubstr("\nRows without a prediction,2\n"),
              HasSubstr("\n2,,NaN,NaN\n3,a,0.5,0.5\n")));
    for (const std::string key : {"labels", "priorLabels"}) {
        std::string wrong = contentOf(model);
        wrong.replace(wrong.find('"' + key + "\":[\"a") + key.size() + 5, 1, "z");
        expectMistakes({"predict", "--data", data, "--model"},
                       {{{folder.write("bad.json", wrong)}, {"--model", "model." + key}}});
    }
    options.back() = "y";
    options.emplace_back("--regression");
    EXPECT_THAT(runProgram(kVeltrix, options).out,
                AllOf(HasSubstr(R"(["training",3,0.75,0.25,0.5,0.5,)"),
                      HasSubstr("\"training: 2 records without")));
}

TEST(KnnCommand, MistakesAreNamed) {
    const TemporaryFolder folder;
    std::string many = "name,class\n";
    for (int i = 0; i < 202; ++i) many += fmt::format("n{},{}\n", i % 101, i % 2);
    expectMistakes({"knn", "--data", folder.write("many.csv", many), "--target", "class"},
                   {{{"--k", "1"}, {"--predictors", "\"name\"", "at most 100", "101 found"}}});
    std::vector<std::string> start{"knn", "--data", folder.write("data.csv", kData)};
    expectMistakes(
        start, {{{"--target", "class"}, {"--k", "not given", "--max-k"}},
                {{"--target", "class", "--k", "0"}, {"--k", "\"0\"", "from 1"}},
                {{"--target", "class", "--max-k", "9"}, {"--max-k", "9", "at most", "7"}},
                {{"--target", "clas", "--k", "1"}, {"--target", "did you mean \"class\""}},
                {{"--target", "kind", "--k", "1", "--regression"}, {"--target", "row 1", "\"a\""}},
                {{"--target", "class", "--partition-column", "kind", "--k", "1"},
                 {"--partition-column", "\"kind\"", "row 1", "\"a\"", "train, valid or test"}}});
    start.insert(start.end(), {"--target", "class", "--predictors", "x", "--k", "1"});
    expectMistakes(start,
                   {{{"--max-k", "2"}, {"--max-k", "excludes", "--k"}},
                    {{"--priors", "01=0.5,2=0.5"}, {"--priors", "\"3\"", "none"}},
                    {{"--priors", "01=0.5,2=0.3,3=-0.2"}, {"\"-0.2\"", "\"3\"", "above 0"}},
                    {{"--priors", "01=0.5,2=0.3,4=0.2"}, {"no class \"4\"", "\"01\""}},
                    {{"--priors", "01=0.5,2=0.3,3=0.3"}, {"--priors", "sum to 1.1"}},
                    {{"--priors", "01=0.5,2"}, {"--priors", "\"2\"", "CLASS=PROBABILITY"}},
                    {{"--priors", "01=0.5,01=0.5"}, {"--priors", "\"01\"", "twice"}},
                    {{"--success-class", "2"}, {"--success-class", "3 classes", "expected 2"}},
                    {{"--success-class", "x"}, {"--success-class", "no class \"x\""}},
                    {{"--success-class", "2", "--cutoff", "1.5"}, {"--cutoff", "1.5", "0 to 1"}},
                    {{"--cutoff", "0.5"}, {"--cutoff", "--success-class"}},
                    {{"--regression", "--priors", "01=1"}, {"--priors", "--regression"}},
                    {{"--weights", "x"}, {"--predictors", "\"x\"", "weights"}},
                    {{"--weights", "w", "--partition-column", "w"}, {"\"w\"", "holds the parts"}}});
}

}  // namespace
}  // namespace Veltrix::Testing
