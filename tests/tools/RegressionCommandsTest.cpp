// Regressions by the real program.
#include <cmath>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CommandRun.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using testing::HasSubstr;

const std::string kLearners = std::string(kTestData) + "/learners/";

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

TEST(SelectCommand, FitsTheChosenModel) {
    const TemporaryFolder folder;
    const ReferenceData reference("learners/cement.selection");
    const std::string model = folder.path("m.json");
    const Arguments data{"select --target y --data", kLearners + reference.text("data")};
    const JsonReport best = reportOf(data + Arguments{"--subsets 3 --use 5 --save", model});
    EXPECT_EQ(best.column("Models", "Size"), (std::vector<double>{1, 1, 1, 2, 2, 2, 3, 3, 3, 4}));
    // The fifth is that of x1 and x4.
    const JsonReport fitted = reportOf(
        {"regress --target y --predictors x1,x4 --data", kLearners + reference.text("data")});
    EXPECT_EQ(best.table("Coefficients").toJson(), fitted.table("Coefficients").toJson());
    EXPECT_THAT(
        predictionsOf(model, folder.write("new.csv", "x4,x1\n0,0\n")),
        HasSubstr(fmt::format("\n1,{}\n", fitted.column("Coefficients", "Estimate").at(0))));
    const JsonReport forward = reportOf(data + Arguments{"--method forward --f-in 4"});
    const auto f = forward.column("Models", "F");
    EXPECT_TRUE(allNear(std::vector<double>(f.begin() + 1, f.end()),
                        reference.vector("forward.0.f"), {1e-9}));
    EXPECT_EQ(forward.entry("Chosen model"), 4.0);  // of least Cp
}

}  // namespace
}  // namespace Veltrix::Testing
