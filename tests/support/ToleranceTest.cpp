#include "tests/support/Tolerance.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/ReferenceData.h"

using namespace Veltrix::Testing;

TEST(Tolerance, PassesOnlyWhatAgrees) {
    const double nan = std::nan("");
    const double inf = std::numeric_limits<double>::infinity();
    const struct {
        double actual;
        double expected;
        Tolerance tolerance;
        bool agree;
    } cases[] = {{1.0 + 1e-10, 1.0, {1e-9}, true},
                 {1.0 + 1e-8, 1.0, {1e-9}, false},
                 {1e-12, 0.0, {1e-9}, false},
                 {1e-12, 0.0, {1e-9, 1e-10}, true},
                 {nan, 1.0, {1e9, 1e9}, false},
                 {1.0, nan, {1e9, 1e9}, false},
                 {nan, nan, {1e9, 1e9}, false},
                 {nan, nan, {0.0, 0.0, NaNRule::EqualsNaN}, true},
                 {1.0, nan, {1.0, 1.0, NaNRule::EqualsNaN}, false},
                 {inf, inf, {}, true},
                 {inf, -inf, {1.0, inf}, false},
                 {1.0, inf, {1.0, 1.0}, false}};
    for (const auto& c : cases) {
        EXPECT_EQ(bool(isNear(c.actual, c.expected, c.tolerance)), c.agree)
            << c.actual << " " << c.expected;
    }
    const std::vector<double> two{1, 2};
    EXPECT_FALSE(allNear(two, std::vector<double>{1}, {1.0}));
    EXPECT_FALSE(allNear(two, std::vector<double>{1, 3}, {1e-9}));
}

TEST(Tolerance, CountsCorrectDigits) {
    EXPECT_NEAR(logRelativeError(-200.02, -200.0), 4.0, 1e-3);
    EXPECT_NEAR(logRelativeError(1e-6, 0.0), 6.0, 1e-3);
    EXPECT_EQ(logRelativeError(5.0, 5.0), 15.0);
    EXPECT_EQ(logRelativeError(std::nan(""), 5.0), 0.0);
}

// A name that is misspelt must not pass a test.
TEST(ReferenceData, RefusesWhatIsNotThere) {
    const ReferenceData reference("learners/longley.ols");
    const CsvData data(std::string("learners/") + reference.text("data"));
    EXPECT_THROW(reference.scalar("no such quantity"), std::runtime_error);
    EXPECT_THROW(reference.scalar("certified.coefficients"), std::runtime_error);
    EXPECT_THROW(data.numbers("no such column"), std::runtime_error);
    EXPECT_THROW(ReferenceData("learners/none"), std::runtime_error);
}
