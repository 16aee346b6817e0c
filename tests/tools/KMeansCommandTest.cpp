// The clusters that the real program prints, against results computed elsewhere, and what it
// answers to mistakes.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Json.h"
#include "tests/support/Paths.h"
#include "tests/support/Process.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using testing::HasSubstr;

TEST(KMeansCommand, PrintsTheReferenceNumbers) {
    const ReferenceData reference("learners/ruspini.kmeans");
    const auto text = [&](const char* name) {
        return reference.text(std::string("fits.1.") + name);
    };
    const ProcessResult run = runProgram(
        kVeltrix, {"kmeans", "--data", std::string(kTestData) + "/learners/ruspini.csv", "--format",
                   "json", "--clusters", text("k"), "--starts", text("random_starts"),
                   "--iterations", text("max_iterations"), "--seed", text("seed")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const auto document = Support::JsonDocument::parse(run.out);
    const auto column = [&](std::int64_t table, std::int64_t j) {
        std::vector<double> numbers;
        const auto rows = document.root().at("tables").at(table).at("rows");
        for (std::int64_t i = 0; i < rows.size(); ++i) {
            numbers.push_back(rows.at(i).at(j).asDouble());
        }
        return numbers;
    };
    const auto expect = [&](const std::vector<double>& numbers, const char* quantity) {
        const auto expected = reference.vector(std::string("fits.1.") + quantity);
        EXPECT_TRUE(allNear(numbers, expected, {1e-10, 1e-12})) << quantity;
    };
    expect(column(1, 1), "start_within_ss");
    expect(column(4, 2), "average_distance");
    expect(column(4, 3), "within_ss");
    std::vector<double> clusters = column(6, 1);
    for (double& cluster : clusters) cluster -= 1.0;
    expect(clusters, "assignment");
    EXPECT_THAT(run.out, testing::ContainsRegex(R"(\[5,[0-9.]+,"best"\])"));
    EXPECT_THAT(run.out, HasSubstr(R"(["Iterations",2],["Converged","yes"])"));
}

TEST(KMeansCommand, LeavesOutTextAndMissingValuesAndDrawsTheClusters) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.csv", "name,x\na,1\nb,1.5\nc,NA\nd,8\ne,9\n");
    const std::string report = folder.path("r.xlsx");
    const ProcessResult run =
        runProgram(kVeltrix, {"kmeans", "--data", file, "--clusters", "2", "--iterations", "0",
                              "--starts", "30", "--format", "csv", "--report", report});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out,
                HasSubstr("Columns,x\nText columns left out,name\nRows read,5\nRows used,4\n"));
    EXPECT_THAT(run.out, HasSubstr("Iterations,0\nConverged,no\n"));
    EXPECT_THAT(run.out, HasSubstr("Cluster chart\nCluster,Row,x\n1,"));
    EXPECT_THAT(contentOf(report), HasSubstr("xl/charts/chart2.xml"));
}

TEST(KMeansCommand, StoredClustersScoreNewRows) {
    const TemporaryFolder folder;
    const std::string file = folder.write("rows.csv", "x,y\n0,0\n0,1\n9,9\n9,8\n");
    const std::string saved = folder.path("clusters.json");
    const auto fitted = runProgram(
        kVeltrix, {"kmeans", "--data", file, "--clusters", "2", "--seed", "7", "--save", saved});
    ASSERT_EQ(fitted.exitCode, 0) << fitted.err;
    const std::string fresh = folder.write("new.csv", "y,x\n8.5,9\n,1\n0.5,0\n");
    const auto scored =
        runProgram(kVeltrix, {"predict", "--model", saved, "--data", fresh, "--format", "csv"});
    ASSERT_EQ(scored.exitCode, 0) << scored.err;
    // The row without y has no cluster; the distances tell the clusters apart whatever their
    // number.
    EXPECT_THAT(scored.out, HasSubstr("Rows scored,2\n"));
    EXPECT_THAT(scored.out, HasSubstr("\n2,,NaN,NaN\n"));
    EXPECT_THAT(scored.out, testing::AnyOf(HasSubstr("\n1,1,0,12.041594578792296\n"),
                                           HasSubstr("\n1,2,12.041594578792296,0\n")));
}

TEST(KMeansCommand, MistakesAreNamedInOneLine) {
    const TemporaryFolder folder;
    const std::string text = folder.write("text.csv", "name,x,big\na,3,1\nb,4,1e151\n");
    const struct {
        std::vector<std::string> options;
        std::vector<std::string> words;
    } cases[] = {
        {{"--clusters", "0"}, {"--clusters", "\"0\"", "from 1"}},
        {{"--clusters", "3", "--columns", "x"}, {"--clusters: 3", "rows used, 2"}},
        {{"--clusters", "1"}, {"--data", "\"big\"", "row 2", "1e+151", "1e+150"}},
        {{"--clusters", "1", "--report", "r.csv"}, {"--report", "\"r.csv\"", ".xlsx"}},
        {{}, {"--clusters"}},
        {{"--clusters", "2", "--starts", "0"}, {"--starts", "\"0\"", "from 1"}},
        {{"--clusters", "2", "--seed", "-1"}, {"--seed", "\"-1\"", "from 0"}},
        {{"--clusters", "1", "--columns", "x,y"}, {"--columns", "\"y\""}},
        {{"--clusters", "1", "--columns", "x,x"},
         {"--columns", "\"x\"", "twice", "each column once"}},
        {{"--clusters", "1", "--columns", "name"}, {"\"name\"", "row 1", "\"a\""}},
    };
    for (const auto& mistake : cases) {
        std::vector<std::string> options{"kmeans", "--data", text, "--report",
                                         folder.path("r.xlsx")};
        options.insert(options.end(), mistake.options.begin(), mistake.options.end());
        const ProcessResult run = runProgram(kVeltrix, options);
        SCOPED_TRACE(run.err);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1);
        for (const std::string& word : mistake.words) EXPECT_THAT(run.err, HasSubstr(word));
    }
    EXPECT_THAT(folder.files(), testing::ElementsAre("text.csv"));
}

}  // namespace
}  // namespace Veltrix::Testing
