// The families of the real program end to end: each against one result computed elsewhere (origin
// and tolerances in tests/reference/*/README.md), which shows that every column says what its
// heading promises; the numbers of further data are the library's to test.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CommandRun.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::string kLearners = std::string(kTestData) + "/learners/";

/// Columns of a table (or labels of the summary), each with the quantities of the reference that it
/// must show one after another.
using Shown = std::pair<std::string, Words>;

void expectShown(const JsonReport& report, const ReferenceData& reference,
                 const std::vector<Shown>& tables) {
    for (const auto& [table, columns] : tables) {
        for (const std::string& column : columns.list) {
            const auto names = splitAt(" = ", column);
            std::vector<double> expected;
            for (const std::string& quantity : splitAt(" + ", names.at(1))) {
                std::ranges::copy(reference.flattened(quantity), std::back_inserter(expected));
            }
            double largest = 0.0;
            for (const double value : expected) largest = std::max(largest, std::fabs(value));
            const auto found = table == "Summary" ? std::vector<double>{report.entry(names[0])}
                                                  : report.column(table, names[0]);
            EXPECT_TRUE(allNear(found, expected, {1e-9, 1e-12 * largest}))
                << table << ", " << column;
        }
    }
}

/// Posterior probabilities row after row.
std::vector<double> posteriorsOf(const JsonReport& report, const std::string& title,
                                 const ReferenceData& reference) {
    std::vector<std::vector<double>> columns;
    for (const std::string& label : reference.texts("classes")) {
        columns.push_back(report.column(title, "P(" + label + ")"));
    }
    std::vector<double> values;
    for (std::size_t i = 0; i < columns.at(0).size(); ++i) {
        for (const std::vector<double>& column : columns) values.push_back(column.at(i));
    }
    return values;
}

/// --priors, --success-class and --cutoff as the reference has them.
Arguments classOptions(const ReferenceData& reference) {
    std::vector<std::string> priors = reference.texts("classes");
    for (std::size_t k = 0; k < priors.size(); ++k) priors[k] += "=" + reference.texts("priors")[k];
    Arguments options{"--priors", joined(priors)};
    if (!reference.has("success_class")) return options;
    const std::string success = reference.text("success_class");
    if (success.empty()) return options;
    return options + Arguments{"--success-class", success, "--cutoff", reference.text("cutoff")};
}

TEST(RegressCommand, ShowsTheReferenceNumbers) {
    const ReferenceData reference("learners/cars_weighted.ols");
    const Arguments fit{"regress --data", kLearners + reference.text("data"),
                        "--target",       reference.text("response"),
                        "--weights",      reference.text("weights"),
                        "--predictors",   joined(reference.texts("predictors"))};
    const JsonReport report = reportOf(fit);
    expectShown(
        report, reference,
        {{"Coefficients",
          "Estimate = coefficients | Std. error = standard_errors | t = t | p-value = p_values | "
          "Lower 95% = lower | Upper 95% = upper"},
         {"Collinearity diagnostics",
          "Eigenvalue = collinearity.eigenvalues | Condition index = "
          "collinearity.condition_indices"},
         {"Residuals",
          "Fitted = fitted | Residual = residuals.raw | Standardized = residuals.standardized | "
          "Studentized = residuals.studentized | Deleted = residuals.deleted"},
         {"Influence",
          "Leverage = leverage | Cook's distance = diagnostics.cook | DFFITS = diagnostics.dffits "
          "| Covariance ratio = diagnostics.covratio | Delete-one variance = "
          "diagnostics.delete1_variance"},
         {"Intervals",
          "Fitted = fitted | Confidence lower 95% = fitted_intervals.ci_lower | Confidence upper "
          "95% = fitted_intervals.ci_upper | Prediction lower 95% = fitted_intervals.pi_lower | "
          "Prediction upper 95% = fitted_intervals.pi_upper"},
         {"Analysis of variance",
          "F = anova.f | p-value = anova.p_f | Sum of squares = anova.ssr + anova.sse + anova.sst "
          "| "
          "Mean square = anova.msr + anova.mse + anova.mst"},
         {"Summary",
          "Rows used = n | Rank = rank | Residual degrees of freedom = anova.df_residual | "
          "R-squared = fit.r2 | Adjusted R-squared = fit.adj_r2 | Log-likelihood = fit.loglik | "
          "Standard error of estimate = anova.std_error_estimate | "
          "Log-likelihood, intercept only = fit.loglik_intercept_only"}});
}

TEST(RegressCommand, OtherPartsAreScoredByTheModelOfTheTrainingPart) {
    const TemporaryFolder folder;
    const std::string whole = folder.write("whole.csv",
                                           "y,x,part\n1,0,train\n3,1,train\n4,2,train\n"
                                           "9,3,valid\nNA,1,test\n5,,test\n8,4,test\n2,2,\n");
    const JsonReport report =
        reportOf({"regress --data", whole, "--target y --partition-column part --confidence 0.9"});
    EXPECT_EQ(report.column("Residuals", "Row"), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(report.column("Parts", "Rows used"), (std::vector<double>{3, 1, 1}));
    EXPECT_EQ(report.column("Parts", "Rows left out"), (std::vector<double>{0, 0, 2}));
    // y = 7/6 + 3/2 x: residuals -1/6, 1/3, -1/6; 10/3; 5/6.
    const std::vector<double> sse{1.0 / 6, 100.0 / 9, 25.0 / 36};
    EXPECT_TRUE(allNear(report.column("Error measures", "SSE"), sse, {1e-12, 0.0}));
    EXPECT_NEAR(report.column("Scores: test", "Residual").at(0), 5.0 / 6, 1e-12);
    // 17/3 at x = 3, with one degree of freedom and a standard error of √5/3.
    EXPECT_NEAR(report.column("Scores: validation", "Prediction lower 90%").at(0),
                17.0 / 3 - 6.313751514675043 * std::sqrt(5.0) / 3, 1e-9);
    EXPECT_THROW(report.table("Scores: training"), std::runtime_error);
}

TEST(LogisticCommand, ShowsTheReferenceNumbers) {
    for (const std::string name : {"birthwt_weighted_nointercept", "mtcars_am"}) {
        const ReferenceData reference("learners/" + name + ".logistic");
        Arguments fit{"logistic --data",  kLearners + reference.text("data"),
                      "--target",         reference.text("response"),
                      "--predictors",     joined(reference.texts("predictors")),
                      "--confidence",     reference.text("confidence"),
                      "--success-class 1"};
        if (name != "mtcars_am") fit = fit + Arguments{"--weights w --no-intercept"};
        const JsonReport report = reportOf(fit);
        const Words limits = name == "mtcars_am" ? "Lower 90% = lower | Upper 90% = upper"
                                                 : "Lower 95% = lower | Upper 95% = upper";
        expectShown(report, reference,
                    {{"Coefficients",
                      "Estimate = coefficients | Std. error = standard_errors | Wald chi-square = "
                      "wald | p-value = p_values | Odds = odds"},
                     {"Coefficients", limits},
                     {"Deviances", "Deviance = fit.null_deviance + fit.residual_deviance"},
                     {"Collinearity diagnostics",
                      "Eigenvalue = collinearity_root_weighted_design.eigenvalues"},
                     {"Summary", "Iterations = completed_iterations | Rank = rank"}});
    }
}

TEST(SelectCommand, ShowsTheReferenceNumbersAndFitsTheChosenModel) {
    const TemporaryFolder folder;
    const ReferenceData reference("learners/cement.selection");
    const std::string model = folder.path("m.json");
    const Arguments data{"select --target y --data", kLearners + reference.text("data")};
    const JsonReport best = reportOf(data + Arguments{"--subsets 3 --use 5 --save", model});
    expectShown(best, reference,
                {{"Models",
                  "RSS = best_subsets.0.rss + best_subsets.1.rss + best_subsets.2.rss + "
                  "best_subsets.3.rss"}});
    EXPECT_EQ(best.column("Models", "Size"), (std::vector<double>{1, 1, 1, 2, 2, 2, 3, 3, 3, 4}));
    // The fifth is that of x1 and x4.
    const JsonReport fitted = reportOf(
        {"regress --target y --predictors x1,x4 --data", kLearners + reference.text("data")});
    EXPECT_EQ(best.table("Coefficients").toJson(), fitted.table("Coefficients").toJson());
    EXPECT_THAT(
        predictionsOf(model, folder.write("new.csv", "x4,x3,x2,x1\n0,1,2,0\n")),
        HasSubstr(fmt::format("\n1,{}\n", fitted.column("Coefficients", "Estimate").at(0))));
    const JsonReport forward = reportOf(data + Arguments{"--method forward --f-in 4"});
    const auto f = forward.column("Models", "F");
    EXPECT_TRUE(allNear(std::vector<double>(f.begin() + 1, f.end()),
                        reference.vector("forward.0.f"), {1e-9}));
    EXPECT_EQ(forward.entry("Chosen model"), 4.0);  // of least Cp
}

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
    expectShown(
        report, reference,
        {{"Search log: validation", "% Misclassification = searches.3.misclassified_percent"},
         {"Summary", "k = searches.3.best_k"}});
    // The tables below the search repeat the error of the number chosen.
    EXPECT_NEAR(report.column("Confusion matrix: validation", "% Errors").back(),
                std::ranges::min(reference.vector("searches.3.misclassified_percent")), 1e-10);
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

TEST(PcaCommand, ShowsTheReferenceNumbersAndScoresAboutTheMean) {
    const TemporaryFolder folder;
    const ReferenceData reference("learners/mtcars_corr_raw.pca");
    const std::string model = folder.path("m.json");
    const std::string data = kLearners + reference.text("data");
    const JsonReport report = reportOf({"pca --correlation --variance 88 --data", data, "--save",
                                        model, "--report", folder.path("r.xlsx")});
    expectShown(report, reference,
                {{"Eigenvalues",
                  "Eigenvalue = eigenvalues | Explained variance, % = explained_percent | "
                  "Cumulative variance, % = cumulative_percent"}});
    EXPECT_THAT(contentOf(folder.path("r.xlsx")), HasSubstr("xl/charts/chart2.xml"));
    EXPECT_EQ(report.entry("Components"), 2.0);
    // Standardised scores have the eigenvalue for their variance, T² the number of components for
    // its mean (times (n - 1)/n), and Q what is left.
    const std::vector<double> eigenvalues = reference.vector("eigenvalues");
    const auto meanSquare = [](std::vector<double> values) {
        double sum = 0.0;
        for (const double value : values) sum += value * value;
        return sum / static_cast<double>(values.size() - 1);
    };
    const auto sumOf = [](const std::vector<double>& values) {
        double sum = 0.0;
        for (const double value : values) sum += value;
        return sum;
    };
    EXPECT_NEAR(meanSquare(report.column("Scores", "Component 2")), eigenvalues[1], 1e-9);
    EXPECT_NEAR(sumOf(report.column("Scores", "T²")), 2.0 * 31, 1e-9);
    EXPECT_NEAR(sumOf(report.column("Scores", "Q")), 31 * (6.0 - eigenvalues[0] - eigenvalues[1]),
                1e-8);
    const JsonReport predicted =
        JsonReport(outputOf({"predict --format json --model", model, "--data", data}));
    EXPECT_EQ(predicted.column("Predictions", "T²"), report.column("Scores", "T²"));
}

TEST(CvaCommand, ShowsTheReferenceNumbersLargestFirst) {
    const TemporaryFolder folder;
    const ReferenceData reference("learners/crabs_groups.cva");
    const std::string model = folder.path("m.json");
    const std::string data = kLearners + reference.text("data");
    const JsonReport report = reportOf(
        {"cva --data", data, "--target code --save", model, "--report", folder.path("r.xlsx")});
    const std::vector<double> ascending = reference.vector("eigenvalues");
    EXPECT_TRUE(allNear(report.column("Eigenvalues", "Eigenvalue"),
                        std::vector<double>(ascending.rbegin(), ascending.rend()), {1e-8, 0.0}));
    EXPECT_NEAR(report.column("Eigenvalues", "Share, %")[0], 68.61217, 1e-4);
    for (const auto& [table, quantity] :
         {std::pair("Coefficients", "coefficients"), std::pair("Scores", "scores")}) {
        const Table expected = reference.matrix(quantity);
        for (std::size_t j = 0; j < 3; ++j) {
            const auto found = report.column(table, fmt::format("Variate {}", 3 - j));
            const double sign = found[0] * expected(0, j) < 0.0 ? -1.0 : 1.0;
            for (std::size_t i = 0; i < found.size(); ++i) {
                EXPECT_NEAR(sign * found[i], expected(i, j), 1e-9) << quantity;
            }
        }
    }
    EXPECT_THAT(contentOf(folder.path("r.xlsx")), HasSubstr("xl/charts/chart1.xml"));
    const JsonReport predicted =
        JsonReport(outputOf({"predict --format json --model", model, "--data", data}));
    EXPECT_EQ(predicted.column("Predictions", "Variate 1"), report.column("Scores", "Variate 1"));
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

TEST(NaiveBayesCommand, ShowsTheReferenceNumbers) {
    const TemporaryFolder folder;
    const ReferenceData reference("learners/birthwt_nb.naivebayes");
    const std::string model = folder.path("m.json");
    const JsonReport report =
        reportOf(Arguments{"naive-bayes --data", kLearners + reference.text("data"), "--target",
                           reference.text("class"), "--alpha", reference.text("alpha"), "--save",
                           model, "--predictors", joined(reference.texts("features"))} +
                 classOptions(reference));
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

class TreeCommand : public testing::Test {
  protected:
    static JsonReport run(const ReferenceData& reference, const std::string& data,
                          const Arguments& options) {
        Arguments arguments{"tree --data",
                            data,
                            "--partition-column part --target",
                            reference.text("response"),
                            "--predictors",
                            joined(reference.texts("predictors"))};
        for (const char* limit : {"max_splits", "max_levels", "max_nodes", "min_records", "seed"}) {
            const std::string quantity = std::string("parameters.") + limit;
            if (!reference.has(quantity)) continue;
            std::string option = std::string("--") + limit;
            std::ranges::replace(option, '_', '-');
            arguments = arguments + Arguments{option, reference.text(quantity)};
        }
        return reportOf(arguments + options);
    }
};

// The measures that scikit-learn 1.2.1 gives for the actual classes and the scores of the report.
TEST_F(TreeCommand, EveryPartIsEvaluated) {
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
    // Without a success class each has its curves; what made them stands in the files.
    EXPECT_THAT(outputOf(start + Arguments{"--report", folder.path("r.xlsx")}),
                AllOf(HasSubstr("mean over the classes"), Not(HasSubstr("ROC curve: "))));
    EXPECT_THAT(contentOf(folder.path("r.xlsx")), HasSubstr("xl/charts/chart7.xml"));
    EXPECT_EQ(reportOf(start).column("Lift: validation", "Decile").size(), 20U);
}

TEST_F(TreeCommand, WithoutValidationTheFullTreeIsShown) {
    const TemporaryFolder folder;
    const ReferenceData reference("learners/airquality.tree");
    std::string text = contentOf(kLearners + reference.text("data"));
    for (std::size_t at = 0; (at = text.find("valid\n", at)) != std::string::npos;) {
        text.replace(at, 5, "test");
    }
    const JsonReport report = run(reference, folder.write("data.csv", text), {"--regression"});
    expectShown(report, reference,
                {{"Scores: test", "Prediction = full_tree_outputs"},
                 {"Risk log", "Total risk = risk_log"},
                 {"Summary", "Nodes of the full tree = node_count"},
                 {"Column accumulators", "Accumulator = column_accumulators"}});
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

TEST_F(TreeCommand, IsPrunedOnTheValidationPart) {
    const ReferenceData reference("learners/pima_equal.tree");
    const JsonReport report =
        run(reference, kLearners + reference.text("data"), classOptions(reference));
    expectShown(
        report, reference,
        {{"Tree sequence",
          "Complexity = pruning.complexity | Validation errors = pruning.validation_errors"},
         {"Pruning log",
          "Error per record = pruning.pruning_log | Complexity = pruning.complexity_log"}});
    const auto nameOf = [&](const std::string& tree) {
        const auto place = static_cast<std::int64_t>(reference.scalar(tree));
        return report.table("Tree sequence").at("rows").at(place).at(std::int64_t{6}).asString();
    };
    EXPECT_THAT(nameOf("pruning.best_pruned_tree"), HasSubstr("best pruned"));
    EXPECT_THAT(nameOf("pruning.minimum_error_tree"), HasSubstr("minimum error"));
    EXPECT_TRUE(allNear(posteriorsOf(report, "Scores: validation", reference),
                        reference.flattened("best_tree_outputs"), {1e-9, 1e-12}));
}

TEST_F(TreeCommand, TellsOfCategoriesAndUnknownClasses) {
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

TEST(KMeansCommand, ShowsTheReferenceNumbers) {
    const ReferenceData reference("learners/ruspini.kmeans");
    const auto text = [&](const char* name) {
        return reference.text(std::string("fits.1.") + name);
    };
    const JsonReport report = reportOf(
        {"kmeans --data", kLearners + "ruspini.csv", "--clusters", text("k"), "--starts",
         text("random_starts"), "--iterations", text("max_iterations"), "--seed", text("seed")});
    expectShown(report, reference,
                {{"Random starts", "Sum of squares within clusters = fits.1.start_within_ss"},
                 {"Clusters",
                  "Average distance = fits.1.average_distance | Sum of squares within = "
                  "fits.1.within_ss"}});
    std::vector<double> clusters = reference.vector("fits.1.assignment");
    for (double& cluster : clusters) cluster += 1.0;
    EXPECT_EQ(report.column("Rows and their clusters", "Cluster"), clusters);
    EXPECT_EQ(report.texts("Random starts", "Remark"), std::vector<std::string>{"best"});
    EXPECT_THAT(report.table("Fit").toJson(), HasSubstr(R"(["Iterations",2],["Converged","yes"])"));
}

TEST(HierarchicalCommand, ShowsTheReferenceNumbers) {
    const TemporaryFolder folder;
    const std::string svg = folder.path("tree.svg");
    const std::string workbook = folder.path("tree.xlsx");
    const std::string model = folder.path("tree.json");
    const char* const linkages[] = {"single", "complete", "average", "weighted",
                                    "median", "centroid", "ward"};
    for (std::size_t l = 0; l < 7; ++l) {
        SCOPED_TRACE(linkages[l]);
        const bool items = l % 2 == 0;
        const ReferenceData reference(items ? "learners/eurodist.hierarchical"
                                            : "learners/usarrests_hc.hierarchical");
        const std::string at = "linkages." + std::to_string(l) + ".";
        const std::string cut = at + "cuts.1.";
        const JsonReport report =
            reportOf({"hierarchical", items ? "--distance-matrix" : "--data",
                      kLearners + reference.text("data"), "--linkage", linkages[l], "--clusters",
                      reference.text(cut + "k"), "--dendrogram", svg, "--report", workbook,
                      "--save", model});
        const Table merges = reference.matrix(at + "merges");
        std::vector<double> expected[3];
        for (std::size_t k = 0; k < merges.values.size(); ++k) {
            expected[k % 3].push_back(merges.values[k]);
        }
        EXPECT_EQ(report.column("Merges", "Cluster"), expected[0]);
        EXPECT_EQ(report.column("Merges", "Merged cluster"), expected[1]);
        EXPECT_TRUE(
            allNear(report.column("Merges", "Distance"), expected[2], Tolerance{1e-12, 0.0}));
        EXPECT_EQ(report.column(items ? "Items and their clusters" : "Rows and their clusters",
                                "Cluster"),
                  reference.vector(cut + "cluster"));
    }
    EXPECT_THAT(contentOf(svg), AllOf(HasSubstr(">Hook of Holland</text>"), HasSubstr("</svg>")));
    EXPECT_THAT(contentOf(workbook), HasSubstr("xl/charts/chart2.xml"));
    expectMistake(run({"predict --model", model, "--data", kLearners + "swiss_hc.csv"}),
                  "--model | \"hierarchical clustering\" | scores no records");
}

// Rows left out keep their numbers; means are those of the file; names may hold anything; the
// drawing stops at the leaves asked for.
TEST(HierarchicalCommand, StandardizesAndDrawsClusters) {
    const TemporaryFolder folder;
    const std::string data =
        folder.write("data.csv", "name,a,b\nu,1,1000\nv,,3\nw,2,1000\nx,9,5000\ny,9,7000\n");
    const JsonReport report =
        reportOf({"hierarchical --data", data, "--standardize --clusters 2 --linkage average"});
    EXPECT_EQ(report.column("Merges", "Cluster"), (std::vector<double>{1, 4, 1}));
    EXPECT_EQ(report.column("Merges", "Merged cluster"), (std::vector<double>{3, 5, 4}));
    EXPECT_EQ(report.column("Cluster means", "a"), (std::vector<double>{1.5, 9}));
    EXPECT_EQ(report.column("Cluster means", "b"), (std::vector<double>{1000, 6000}));
    const std::string svg = folder.path("tree.svg");
    const std::string distances =
        folder.write("d.csv", "of,\"a<b\",c & d,e\na<b,0,1,4\nc & d,1,0,4\ne,4,4,0\n");
    outputOf({"hierarchical --distance-matrix", distances, "--leaves 2 --dendrogram", svg});
    EXPECT_THAT(contentOf(svg), AllOf(HasSubstr(">a&lt;b and 1 more</text>"),
                                      HasSubstr(">e</text>"), Not(HasSubstr("c &"))));
}

TEST(KMeansCommand, LeavesOutTextAndDrawsTheClusters) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.csv", "name,x\na,1\nb,1.5\nc,NA\nd,8\ne,9\n");
    const std::string report = folder.path("r.xlsx");
    EXPECT_THAT(
        outputOf({"kmeans --data", file,
                  "--clusters 2 --iterations 0 --starts 30 --format csv --report", report}),
        AllOf(HasSubstr("Columns,x\nText columns left out,name\nRows read,5\nRows used,4\n"),
              HasSubstr("Iterations,0\nConverged,no\n"),
              HasSubstr("Cluster chart\nCluster,Row,x\n1,")));
    EXPECT_THAT(contentOf(report), HasSubstr("xl/charts/chart2.xml"));
}

TEST(AcfCommand, ShowsTheReferenceNumbers) {
    const ReferenceData reference("timeseries/acvf_pacf");
    const std::string name = "jj_d2_D1";
    const auto text = [&](const char* quantity) { return reference.text(name + quantity); };
    const std::vector<double> acvf = reference.vector(name + ".acvf");
    const std::string lags = std::to_string(acvf.size() - 1);
    const JsonReport report = reportOf(
        {"acf --data", std::string(kTestData) + "/timeseries/series/" + text(".series") + ".csv",
         "--column x --confidence 0.9 --lags", lags, "--difference", text(".d"),
         "--seasonal-difference", text(".D"), "--period", text(".period")});
    std::vector<double> acf;
    for (const double value : acvf) acf.push_back(value / acvf[0]);
    const double limit = 1.6448536269514722 / std::sqrt(reference.scalar(name + ".n"));
    const auto expect = [&](const char* heading, const std::vector<double>& expected) {
        EXPECT_TRUE(allNear(report.column("Autocorrelations", heading), expected,
                            {1e-9, 1e-12 * std::max(1.0, acvf[0])}))
            << heading;
    };
    expect("Autocovariance", acvf);
    expect("ACF", acf);
    expect("PACF", reference.vector(name + ".pacf"));
    expect("Lower 90%", std::vector<double>(acvf.size(), -limit));
    expect("Upper 90%", std::vector<double>(acvf.size(), limit));
    EXPECT_EQ(report.column("Autocorrelations", "Lag").back(),
              static_cast<double>(acvf.size() - 1));
}

TEST(AcfCommand, LeavesOutMissingValuesAtTheEndsAndChartsOfAConstant) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("a.csv", "t,x,c\n1,NA,5\n2,3,5\n3,1,5\n4,2,5\n5,4,5\n6,,5\n");
    const std::string book = folder.path("r.xlsx");
    const JsonReport report = reportOf({"acf --data", file, "--column x --report", book});
    EXPECT_EQ(report.entry("Rows used"), 4.0);
    EXPECT_EQ(report.entry("Rows left out (missing values)"), 2.0);
    EXPECT_EQ(report.column("Autocorrelations", "Lag"), (std::vector<double>{0, 1, 2, 3}));
    EXPECT_THAT(contentOf(book), HasSubstr("xl/charts/chart2.xml"));
    EXPECT_THAT(outputOf({"acf --data", file, "--column c --report", book}), HasSubstr("NaN"));
    EXPECT_THAT(contentOf(book), testing::Not(HasSubstr("xl/charts/")));
}

const std::string kSeries = std::string(kTestData) + "/timeseries/series/";

TEST(SmoothCommand, ShowsTheReferenceNumbers) {
    const ReferenceData reference("timeseries/smoothing_fixed");
    const auto text = [&](const std::string& quantity) {
        return reference.text("mul_air." + quantity);
    };
    const TemporaryFolder folder;
    const std::string book = folder.path("r.xlsx");
    const JsonReport report = reportOf(
        {"smooth --method multiplicative --forecast 24 --noise --seed 2024 --data",
         kSeries + text("series") + ".csv", "--column x --period 12 --alpha", text("alpha"),
         "--beta", text("beta"), "--gamma", text("gamma"), "--report", book});
    expectShown(report, reference,
                {{"Parameters",
                  "Value = mul_air.alpha + mul_air.beta + mul_air.gamma + mul_air.final_level + "
                  "mul_air.final_trend + mul_air.final_seasonal"},
                 {"Forecasts",
                  "Forecast = mul_air.forecast | Standard deviation = mul_air.forecast_sd | "
                  "With noise = mul_air.noisy_53bit_kept"},
                 {"Fitted values and residuals", "Fitted = mul_air.smoothed"}});
    const std::vector<double> errors = report.column("Error measures", "Fitted values");
    const std::vector<double> codes = reference.vector("mul_air.error_measures");
    const std::vector<double> expected{
        144, codes[0], std::sqrt(codes[0]), codes[2], codes[1], codes[4], codes[3], codes[5]};
    EXPECT_TRUE(allNear(errors, expected, {1e-9}));
    EXPECT_EQ(report.column("Ljung-Box tests of the residuals", "DF"),
              (std::vector<double>{12, 24, 36, 48}));
    EXPECT_THAT(contentOf(book), HasSubstr("xl/charts/chart4.xml"));
    const ReferenceData searches("timeseries/smoothing_search");
    const JsonReport found = reportOf({"smooth --method no-trend --search --data",
                                       kSeries + "ldeaths.csv", "--column x --period 12"});
    EXPECT_TRUE(isNear(found.column("Parameters", "Value")[1],
                       searches.scalar("nt_ldeaths_mse.gamma"), {1e-15}));
}

TEST(SmoothCommand, ComparesForecastsWithValuesHeldBack) {
    const TemporaryFolder folder;
    // Values rise by 2 from time to time; the last two do not. The first and the last row are
    // empty.
    const std::string file = folder.write(
        "a.csv",
        "year,x\n2000,\n2001,1\n2002,3\n2003,5\n2004,7\n2005,9\n2006,12\n2007,13\n2008,\n");
    const std::string model = folder.path("m.json");
    const JsonReport report =
        reportOf({"smooth --method additive --period 1 --gamma 0 --alpha 0.5 --beta 0.5 --holdout "
                  "2 --forecast 2 --time "
                  "year --column x --save",
                  model, "--data", file});
    EXPECT_EQ(report.column("Fitted values and residuals", "year"),
              (std::vector<double>{2001, 2002, 2003, 2004, 2005}));
    EXPECT_TRUE(allNear(report.column("Values held back", "Forecast"), std::vector<double>{11, 13},
                        {1e-12}));
    EXPECT_TRUE(allNear(report.column("Values held back", "Error"), std::vector<double>{1, 0},
                        {1e-12, 1e-12}));
    EXPECT_EQ(report.column("Values held back", "Row"), (std::vector<double>{7, 8}));
    EXPECT_EQ(report.column("Forecasts", "year"), (std::vector<double>{2008, 2009}));
    EXPECT_TRUE(isNear(report.column("Error measures", "Held back, forecasts")[1], 0.5, {1e-12}));
    // The stored model smooths the longer series with its parameters, as one fitted to it does.
    const JsonReport again = reportOf({"predict --model", model, "--data", file});
    const JsonReport whole =
        reportOf({"smooth --method additive --period 1 --gamma 0 --alpha 0.5 --beta 0.5 --forecast "
                  "2 --column x --data",
                  file});
    EXPECT_EQ(again.column("Forecasts", "Upper 95%"), whole.column("Forecasts", "Upper 95%"));
    EXPECT_EQ(report.column("Forecasts", "Forecast"), whole.column("Forecasts", "Forecast"));
    EXPECT_EQ(again.column("Predictions", "Residual").at(3),
              whole.column("Fitted values and residuals", "Residual").at(2));
}

TEST(ArimaCommand, ShowsTheReferenceNumbers) {
    const ReferenceData reference("timeseries/arima_commands");
    const TemporaryFolder folder;
    for (const std::string& name : reference.texts("cases")) {
        SCOPED_TRACE(name);
        const auto key = [&](const char* quantity) { return name + "." + quantity; };
        const auto orders = [&](const char* quantity) {
            std::string text = reference.text(key(quantity));
            std::ranges::replace(text, ' ', ',');
            return text;
        };
        const std::string file = kSeries + reference.text(key("series")) + ".csv";
        const std::string model = folder.path("m.json");
        Arguments arguments{"arima --forecast 24 --column x --data",
                            file,
                            "--order",
                            orders("order"),
                            "--save",
                            model};
        if (reference.has(key("seasonal"))) {
            arguments = arguments + Arguments{"--seasonal", orders("seasonal"), "--period",
                                              reference.text(key("period"))};
        }
        const JsonReport report = reportOf(arguments);
        EXPECT_TRUE(
            isNear(report.entry("-2 log-likelihood"), reference.scalar(key("objective")), {1e-6}));
        EXPECT_TRUE(isNear(report.entry("AICc"), reference.scalar(key("aicc")), {1e-6}));
        EXPECT_TRUE(
            isNear(report.entry("White-noise variance"), reference.scalar(key("sigma2")), {1e-3}));
        const std::vector<double> errors = reference.vector(key("standard_errors"));
        const std::vector<double> estimates = reference.vector(key("estimates"));
        const auto found = report.column("Coefficients", "Estimate");
        ASSERT_EQ(found.size(), estimates.size());
        for (std::size_t k = 0; k < found.size(); ++k) {
            EXPECT_TRUE(isNear(found[k], estimates[k], {0.0, 0.03 * errors[k]}));
        }
        EXPECT_TRUE(allNear(report.column("Coefficients", "Standard error"), errors, {0.15}));
        const std::vector<double> deviations = reference.vector(key("forecast_sd_integrated"));
        EXPECT_TRUE(allNear(report.column("Forecasts", "Standard deviation"), deviations, {1e-3}));
        EXPECT_TRUE(allNear(report.column("Forecasts", "Forecast"),
                            reference.vector(key("forecast")), {0.0, 0.03 * deviations[0]}));
        const std::string tests = "Ljung-Box tests of the residuals";
        EXPECT_TRUE(allNear(report.column(tests, "Statistic"),
                            reference.vector(key("ljung_box_statistic")), {0.01}));
        EXPECT_EQ(report.column(tests, "DF"), reference.vector(key("ljung_box_df")));
        // What is stored goes on from the same series in the same way.
        const JsonReport again = reportOf({"predict --model", model, "--data", file});
        EXPECT_EQ(again.column("Forecasts", "Forecast"), report.column("Forecasts", "Forecast"));
        EXPECT_EQ(again.column("Predictions", "Residual").back(),
                  report.column("Fitted values and residuals", "Residual").back());
    }
}

TEST(ArimaCommand, TakesTheModelOfLeastAicc) {
    const JsonReport report =
        reportOf({"arima --auto --order 1,1,1 --seasonal 1,1,1 --period 12 "
                  "--textbook-ma --column x --data",
                  kSeries + "airpassengers_log.csv"});
    const std::vector<double> criteria = report.column("Models tried", "AICc");
    EXPECT_EQ(criteria.size(), 16u);
    EXPECT_TRUE(std::ranges::is_sorted(criteria));
    EXPECT_EQ(report.entry("AICc, all coefficients"), criteria[0]);
    EXPECT_EQ(report.texts("Models tried", "Model")[0], "(0,1,1)(0,1,1)12");
    // The mean of the differences is left in.
    const JsonReport walk =
        reportOf({"arima --order 0,1,0 --no-constant --forecast 2 --column x "
                  "--data",
                  kSeries + "nile.csv"});
    EXPECT_EQ(walk.column("Forecasts", "Forecast"), (std::vector<double>{740, 740}));
}

TEST(FamilyCommand, ATerminalSeesHowFarItIsAndEndsItByCtrlC) {
    if (!hasTerminals()) GTEST_SKIP() << "the system hands out no terminals";
    const TemporaryFolder folder;
    std::string csv = "x,y\n";
    for (int i = 0; i < 20000; ++i) csv += fmt::format("{},{}\n", i * 37 % 1009, i * 53 % 997);
    const Arguments arguments{"kmeans --clusters 60 --data", folder.write("data.csv", csv),
                              "--output", folder.path("out.txt")};
    const ProcessResult whole =
        runOnTerminal(kVeltrix, Arguments{arguments, "--starts 1 --iterations 40"}.list);
    EXPECT_EQ(whole.exitCode, 0);
    EXPECT_THAT(whole.out, AllOf(HasSubstr("Fitting the model ..."), HasSubstr(" %"),
                                 testing::EndsWith("\r\x1b[K")));
    std::filesystem::remove(folder.path("out.txt"));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(runOnTerminal(kVeltrix, Arguments{arguments, "--starts 9999"}.list, " %").exitCode,
              130);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    EXPECT_THAT(folder.files(), testing::ElementsAre("data.csv"));
}

}  // namespace
}  // namespace Veltrix::Testing
