// The autocorrelations that the real program prints, against results computed elsewhere (origin and
// tolerances in tests/data/timeseries/README.md), and what it answers to mistakes.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Json.h"
#include "tests/engine/timeseries/SeriesReference.h"
#include "tests/support/Paths.h"
#include "tests/support/Process.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using testing::HasSubstr;

std::string seriesFile(const std::string& name) {
    return std::string(kTestData) + "/timeseries/series/" + name + ".csv";
}

ProcessResult runAcf(const std::string& file, std::vector<std::string> options) {
    options.insert(options.begin(), {"acf", "--data", file, "--column", "x"});
    return runProgram(kVeltrix, options);
}

/// The table of lags of a report printed as JSON: column by column, without the headings.
std::vector<std::vector<double>> lagColumns(const std::string& json) {
    const auto document = Support::JsonDocument::parse(json);
    const auto rows = document.root().at("tables").at(1).at("rows");
    std::vector<std::vector<double>> columns(static_cast<std::size_t>(rows.at(0).size()));
    for (std::int64_t i = 0; i < rows.size(); ++i) {
        for (std::size_t j = 0; j < columns.size(); ++j) {
            columns[j].push_back(rows.at(i).at(static_cast<std::int64_t>(j)).asDouble());
        }
    }
    return columns;
}

TEST(AcfCommand, PrintsTheReferenceNumbers) {
    const SeriesReference reference("acvf_pacf");
    const std::string name = "jj_d2_D1";
    const auto text = [&](const char* quantity) { return reference.text(name + quantity); };
    const std::vector<double> acvf = reference.vector(name + ".acvf");
    const ProcessResult run =
        runAcf(seriesFile(text(".series")),
               {"--format", "json", "--confidence", "0.9", "--lags",
                std::to_string(acvf.size() - 1), "--difference", text(".d"),
                "--seasonal-difference", text(".D"), "--period", text(".period")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    std::vector<double> acf;
    for (const double value : acvf) acf.push_back(value / acvf[0]);
    const double limit = 1.6448536269514722 / std::sqrt(reference.scalar(name + ".n"));
    const auto columns = lagColumns(run.out);
    const Tolerance tolerance = {1e-9, 1e-12};
    ASSERT_EQ(columns.size(), 6u);
    EXPECT_EQ(columns[0].back(), static_cast<double>(acvf.size() - 1));
    EXPECT_TRUE(allNear(columns[1], acvf, {1e-9, 1e-12 * acvf[0]}));
    EXPECT_TRUE(allNear(columns[2], acf, tolerance));
    EXPECT_TRUE(allNear(columns[3], reference.vector(name + ".pacf"), tolerance));
    EXPECT_TRUE(allNear(columns[4], std::vector<double>(acvf.size(), -limit), tolerance));
    EXPECT_TRUE(allNear(columns[5], std::vector<double>(acvf.size(), limit), tolerance));
}

TEST(AcfCommand, LeavesOutMissingValuesAtTheEnds) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.csv", "t,x\n1,NA\n2,3\n3,1\n4,2\n5,4\n6,\n");
    const ProcessResult run = runAcf(file, {"--format", "json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr(R"(["Rows used",4])"));
    EXPECT_THAT(run.out, HasSubstr(R"x(["Rows left out (missing values)",2])x"));
    EXPECT_EQ(lagColumns(run.out)[0], (std::vector<double>{0, 1, 2, 3}));
}

TEST(AcfCommand, DrawsChartsOnlyWhereThereAreNumbers) {
    const TemporaryFolder folder;
    const std::string report = folder.path("r.xlsx");
    ASSERT_EQ(runAcf(seriesFile("lynx"), {"--report", report}).exitCode, 0);
    EXPECT_THAT(contentOf(report), HasSubstr("xl/charts/chart2.xml"));
    const std::string constant = folder.write("c.csv", "t,x\n1,5\n2,5\n3,5\n");
    const ProcessResult run = runAcf(constant, {"--report", report});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("NaN"));
    EXPECT_THAT(contentOf(report), testing::Not(HasSubstr("xl/charts/")));
}

TEST(AcfCommand, MistakesAreNamedInOneLine) {
    const TemporaryFolder folder;
    const std::string gap = folder.write("gap.csv", "t,x\n1,3\n2,1\n3,NA\n4,2\n");
    const std::string none = folder.write("none.csv", "t,x\n1,NA\n2,\n");
    const std::string text = folder.write("text.csv", "t,x\n1,3\n2,b\n");
    const std::string nile = seriesFile("nile");
    const struct {
        std::string file;
        std::vector<std::string> options;
        std::vector<std::string> words;
    } cases[] = {
        {nile, {"--lags", "0"}, {"--lags", "\"0\"", "at least 1"}},
        {nile, {"--lags", "100"}, {"--lags", "100", "less"}},
        {nile, {"--difference", "60", "--lags", "40"}, {"--lags", "40 after"}},
        {nile, {"--difference", "100"}, {"--difference", "100 values", "\"x\""}},
        {nile, {"--seasonal-difference", "9", "--period", "12"}, {"--seasonal-difference"}},
        {nile, {"--seasonal-difference", "1"}, {"--period"}},
        {nile, {"--output", nile}, {"--output", "--data"}},
        {gap, {}, {"--column", "\"x\"", "row 3", "without gaps"}},
        {none, {}, {"--column", "\"x\"", "no value"}},
        {text, {}, {"--column", "\"x\"", "row 2", "\"b\""}},
    };
    for (const auto& mistake : cases) {
        const std::string report = folder.path("r.xlsx");
        std::vector<std::string> options = mistake.options;
        options.insert(options.end(), {"--report", report});
        const ProcessResult run = runAcf(mistake.file, options);
        SCOPED_TRACE(run.err);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1);
        for (const std::string& word : mistake.words) EXPECT_THAT(run.err, HasSubstr(word));
    }
    EXPECT_THAT(folder.files(), testing::ElementsAre("gap.csv", "none.csv", "text.csv"));
}

}  // namespace
}  // namespace Veltrix::Testing
