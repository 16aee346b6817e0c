// The regression commands of the real program against results computed elsewhere (origin and
// tolerances in tests/reference/learners/README.md).
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/JsonReport.h"
#include "tests/support/Paths.h"
#include "tests/support/Process.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

struct Case {
    const char* name;
    double relative;
};

class RegressionCommand : public testing::TestWithParam<Case> {
  protected:
    RegressionCommand() : reference(std::string("learners/") + GetParam().name + ".ols") {}

    std::string option(const std::string& quantity) const {
        return reference.has(quantity) ? reference.text(quantity) : std::string();
    }

    std::vector<std::string> arguments(const std::string& format) const {
        std::string names;
        for (const std::string& name : reference.texts("predictors")) {
            names += (names.empty() ? "" : ",") + name;
        }
        std::vector<std::string> args{"regress",
                                      "--data",
                                      dataPath(),
                                      "--target",
                                      option("response"),
                                      "--predictors",
                                      names,
                                      "--confidence",
                                      option("confidence"),
                                      "--format",
                                      format,
                                      "--save",
                                      folder.path("model.json")};
        if (!option("weights").empty()) args.insert(args.end(), {"--weights", option("weights")});
        if (reference.scalar("intercept") == 0.0) args.emplace_back("--no-intercept");
        return args;
    }

    std::string dataPath() const { return std::string(kTestData) + "/learners/" + option("data"); }

    /// Absolute slack for numbers that are 0 up to rounding, on the scale of their column.
    testing::AssertionResult matches(const std::vector<double>& actual,
                                     const std::vector<double>& expected) const {
        double largest = 0.0;
        for (const double value : expected) largest = std::max(largest, std::fabs(value));
        return allNear(actual, expected,
                       {GetParam().relative, 1e-12 * largest, NaNRule::EqualsNaN});
    }

    TemporaryFolder folder;
    ReferenceData reference;
};

TEST_P(RegressionCommand, ReportsTheReferenceNumbers) {
    const ProcessResult run = runProgram(kVeltrix, arguments("json"));
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const JsonReport report(run.out);
    const std::string level = reference.scalar("confidence") == 0.95   ? "95%"
                              : reference.scalar("confidence") == 0.99 ? "99%"
                                                                       : "90%";
    struct Column {
        std::string table;
        std::string heading;
        std::string quantity;
    };
    const std::vector<Column> columns = {
        {"Coefficients", "Estimate", "coefficients"},
        {"Coefficients", "Std. error", "standard_errors"},
        {"Coefficients", "t", "t"},
        {"Coefficients", "p-value", "p_values"},
        {"Coefficients", "Lower " + level, "lower"},
        {"Coefficients", "Upper " + level, "upper"},
        {"Collinearity diagnostics", "Eigenvalue", "collinearity.eigenvalues"},
        {"Collinearity diagnostics", "Condition index", "collinearity.condition_indices"},
        {"Residuals", "Fitted", "fitted"},
        {"Residuals", "Residual", "residuals.raw"},
        {"Residuals", "Standardized", "residuals.standardized"},
        {"Residuals", "Studentized", "residuals.studentized"},
        {"Residuals", "Deleted", "residuals.deleted"},
        {"Influence", "Leverage", "leverage"},
        {"Influence", "Cook's distance", "diagnostics.cook"},
        {"Influence", "DFFITS", "diagnostics.dffits"},
        {"Influence", "Covariance ratio", "diagnostics.covratio"},
        {"Influence", "Delete-one variance", "diagnostics.delete1_variance"},
        {"Intervals", "Fitted", "fitted"},
        {"Intervals", "Confidence lower " + level, "fitted_intervals.ci_lower"},
        {"Intervals", "Confidence upper " + level, "fitted_intervals.ci_upper"},
        {"Intervals", "Prediction lower " + level, "fitted_intervals.pi_lower"},
        {"Intervals", "Prediction upper " + level, "fitted_intervals.pi_upper"}};
    for (const auto& [table, heading, quantity] : columns) {
        if (table[1] == 'o' && table[2] == 'l' && !reference.has(quantity)) continue;
        EXPECT_TRUE(matches(report.column(table, heading), reference.vector(quantity)))
            << table << ", " << heading;
    }
    const auto numbers = [&](const std::vector<std::string>& names) {
        std::vector<double> values;
        for (const std::string& name : names) values.push_back(reference.scalar(name));
        return values;
    };
    const std::string anova = "Analysis of variance";
    EXPECT_TRUE(matches(report.column(anova, "df"),
                        numbers({"anova.df_regression", "anova.df_residual", "anova.df_total"})));
    EXPECT_TRUE(matches(report.column(anova, "Sum of squares"),
                        numbers({"anova.ssr", "anova.sse", "anova.sst"})));
    EXPECT_TRUE(matches(report.column(anova, "Mean square"),
                        numbers({"anova.msr", "anova.mse", "anova.mst"})));
    EXPECT_TRUE(matches(report.column(anova, "F"), numbers({"anova.f"})));
    EXPECT_TRUE(matches(report.column(anova, "p-value"), numbers({"anova.p_f"})));
    const std::vector<std::pair<std::string, std::string>> entries = {
        {"Rows used", "n"},
        {"Rank", "rank"},
        {"R-squared", "fit.r2"},
        {"Adjusted R-squared", "fit.adj_r2"},
        {"Standard error of estimate", "anova.std_error_estimate"},
        {"Log-likelihood", "fit.loglik"},
        {"Log-likelihood, intercept only", "fit.loglik_intercept_only"}};
    for (const auto& [label, quantity] : entries) {
        EXPECT_TRUE(matches({report.entry(label)}, {reference.scalar(quantity)})) << label;
    }
}

TEST_P(RegressionCommand, AStoredModelPredictsTheSameBits) {
    const ProcessResult fit = runProgram(kVeltrix, arguments("csv"));
    ASSERT_EQ(fit.exitCode, 0) << fit.err;
    const ProcessResult run = runProgram(kVeltrix, {"predict", "--model", folder.path("model.json"),
                                                    "--data", dataPath(), "--format", "csv"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const auto fitted = csvColumn(fit.out, "Residuals", 2);
    EXPECT_EQ(fitted.size(), static_cast<std::size_t>(reference.scalar("n")));
    EXPECT_EQ(csvColumn(run.out, "Predictions", 1), fitted);
}

TEST_P(RegressionCommand, NewRecordsGetTheReferenceIntervals) {
    ASSERT_EQ(runProgram(kVeltrix, arguments("text")).exitCode, 0);
    // Columns in another order, beside one that the model does not know.
    const std::vector<std::string> names = reference.texts("predictors");
    const Table records = reference.matrix("new_records");
    std::string csv = "note";
    for (std::size_t j = names.size(); j-- > 0;) csv += "," + names[j];
    for (std::size_t i = 0; i < records.rows; ++i) {
        csv += "\nnew";
        for (std::size_t j = names.size(); j-- > 0;) {
            csv += "," + Support::numberText(records(i, j));
        }
    }
    const ProcessResult run = runProgram(
        kVeltrix, {"predict", "--model", folder.path("model.json"), "--data",
                   folder.write("new.csv", csv), "--format", "json", "--confidence", "0.95"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const JsonReport report(run.out);
    EXPECT_TRUE(
        matches(report.column("Predictions", "Prediction"), reference.vector("new_predictions")));
    if (reference.scalar("confidence") != 0.95) return;
    const std::vector<std::pair<std::string, std::string>> limits = {
        {"Confidence lower 95%", "new_intervals.ci_lower"},
        {"Confidence upper 95%", "new_intervals.ci_upper"},
        {"Prediction lower 95%", "new_intervals.pi_lower"},
        {"Prediction upper 95%", "new_intervals.pi_upper"}};
    for (const auto& [heading, quantity] : limits) {
        EXPECT_TRUE(matches(report.column("Predictions", heading), reference.vector(quantity)))
            << heading;
    }
}

INSTANTIATE_TEST_SUITE_P(References, RegressionCommand,
                         testing::Values(Case{"longley", 1e-8}, Case{"stackloss", 1e-9},
                                         Case{"cars_weighted", 1e-9}, Case{"trees_aliased", 1e-9},
                                         Case{"women_nointercept", 1e-9},
                                         Case{"lifecyclesavings", 1e-9}),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace Veltrix::Testing
