// Models of time series by the real program.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CommandRun.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using testing::HasSubstr;

TEST(AcfCommand, LeavesOutMissingValuesAtTheEndsAndChartsOfAConstant) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("a.csv", "t,x,c\n1,NA,5\n2,3,5\n3,1,5\n4,2,5\n5,4,5\n6,,5\n");
    const std::string book = folder.path("r.xlsx");
    const JsonReport report = reportOf({"acf --data", file, "--column x --report", book});
    EXPECT_EQ(report.entry("Rows used"), 4.0);
    EXPECT_EQ(report.entry("Rows left out (missing values)"), 2.0);
    EXPECT_EQ(report.column("Autocorrelations", "Lag"), (std::vector<double>{0, 1, 2, 3}));
    // Deviations 0.5, -1.5, -0.5 and 1.5; of 4 values the limits are half the quantile.
    EXPECT_TRUE(allNear(report.column("Autocorrelations", "ACF"),
                        std::vector<double>{1, -0.15, -0.5, 0.15}, {1e-12}));
    EXPECT_NEAR(report.column("Autocorrelations", "Upper 95%").at(1), 0.979981992270027, 1e-12);
    EXPECT_NEAR(report.column("Autocorrelations", "Lower 95%").at(1), -0.979981992270027, 1e-12);
    EXPECT_THAT(contentOf(book), HasSubstr("xl/charts/chart2.xml"));
    EXPECT_THAT(outputOf({"acf --data", file, "--column c --report", book}), HasSubstr("NaN"));
    EXPECT_THAT(contentOf(book), testing::Not(HasSubstr("xl/charts/")));
}

const std::string kSeries = std::string(kTestData) + "/timeseries/series/";

TEST(SmoothCommand, TellsErrorsAndSearches) {
    const ReferenceData reference("timeseries/smoothing_fixed");
    const auto text = [&](const std::string& quantity) {
        return reference.text("mul_air." + quantity);
    };
    const TemporaryFolder folder;
    const std::string book = folder.path("r.xlsx");
    const JsonReport report =
        reportOf({"smooth --method multiplicative --data", kSeries + text("series") + ".csv",
                  "--column x --period 12 --alpha", text("alpha"), "--beta", text("beta"),
                  "--gamma", text("gamma"), "--report", book});
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

}  // namespace
}  // namespace Veltrix::Testing
