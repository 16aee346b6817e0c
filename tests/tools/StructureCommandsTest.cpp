// Components, variates and clusters by the real program.
#include <numeric>
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

TEST(PcaCommand, ScoresAboutTheMean) {
    const TemporaryFolder folder;
    const ReferenceData reference("learners/mtcars_corr_raw.pca");
    const std::string model = folder.path("m.json");
    const std::string data = kLearners + reference.text("data");
    const JsonReport report = reportOf({"pca --correlation --variance 88 --data", data, "--save",
                                        model, "--report", folder.path("r.xlsx")});
    EXPECT_THAT(contentOf(folder.path("r.xlsx")), HasSubstr("xl/charts/chart2.xml"));
    EXPECT_EQ(report.entry("Components"), 2.0);
    // Standardised scores have the eigenvalue for their variance, T² the number of components for
    // its mean (times (n - 1)/n), and Q what is left.
    const std::vector<double> eigenvalues = reference.vector("eigenvalues");
    const auto dot = [](const std::vector<double>& a, const std::vector<double>& b) {
        return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
    };
    const std::vector<double> ones(32, 1.0);
    const std::vector<double> second = report.column("Scores", "Component 2");
    EXPECT_NEAR(dot(second, second) / 31, eigenvalues[1], 1e-9);
    EXPECT_NEAR(dot(report.column("Scores", "T²"), ones), 2.0 * 31, 1e-9);
    EXPECT_NEAR(dot(report.column("Scores", "Q"), ones),
                31 * (6.0 - eigenvalues[0] - eigenvalues[1]), 1e-8);
    const JsonReport predicted = reportOf({"predict --model", model, "--data", data});
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
    const JsonReport predicted = reportOf({"predict --model", model, "--data", data});
    EXPECT_EQ(predicted.column("Predictions", "Variate 1"), report.column("Scores", "Variate 1"));
}

TEST(KMeansCommand, NumbersItsClusters) {
    const ReferenceData reference("learners/ruspini.kmeans");
    const auto text = [&](const char* name) {
        return reference.text(std::string("fits.1.") + name);
    };
    const JsonReport report = reportOf(
        {"kmeans --data", kLearners + "ruspini.csv", "--clusters", text("k"), "--starts",
         text("random_starts"), "--iterations", text("max_iterations"), "--seed", text("seed")});
    std::vector<double> clusters = reference.vector("fits.1.assignment");
    for (double& cluster : clusters) cluster += 1.0;
    EXPECT_EQ(report.column("Rows and their clusters", "Cluster"), clusters);
    EXPECT_EQ(report.texts("Random starts", "Remark"), std::vector<std::string>{"best"});
    EXPECT_THAT(report.table("Fit").toJson(), HasSubstr(R"(["Iterations",2],["Converged","yes"])"));
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

}  // namespace
}  // namespace Veltrix::Testing
