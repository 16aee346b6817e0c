#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Engine/Distributions.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using namespace Engine::Distributions;

TEST(Distributions, ReferenceValues) {
    const ReferenceData reference("learners/distributions");
    const Tolerance within{1e-11, 0.0};
    const auto check = [&](const std::string& quantity, auto function) {
        const Table table = reference.matrix(quantity);
        for (std::size_t i = 0; i < table.rows; ++i) {
            EXPECT_TRUE(isNear(function(table, i), table(i, table.columns - 1), within))
                << quantity << " " << i;
        }
    };
    check("t_upper_tail",
          [](const Table& t, std::size_t i) { return studentTUpperTail(t(i, 0), t(i, 1)); });
    check("t_quantile",
          [](const Table& t, std::size_t i) { return studentTQuantile(t(i, 0), t(i, 1)); });
    check("f_upper_tail",
          [](const Table& t, std::size_t i) { return fUpperTail(t(i, 0), t(i, 1), t(i, 2)); });
    check("chi2_1_upper_tail",
          [](const Table& t, std::size_t i) { return chiSquareUpperTail(t(i, 0), 1.0); });
    check("normal_quantile", [](const Table& t, std::size_t i) { return normalQuantile(t(i, 0)); });
}

// Quantile and tail undo one another, and t² is F(1, ν), over the whole range of degrees of
// freedom including fractions.
TEST(Distributions, ConsistentWithOneAnother) {
    for (const double nu : {0.5, 1.0, 2.0, 7.3, 40.0, 1e4, 1e8, 1e11}) {
        for (const double p : {1e-12, 1e-5, 0.01, 0.3, 0.4999, 0.5, 0.51, 0.8, 0.999}) {
            const double x = studentTQuantile(p, nu);
            EXPECT_TRUE(isNear(1.0 - studentTUpperTail(x, nu), p, {1e-9, 1e-15})) << p << " " << nu;
            if (nu < 1e10) {
                EXPECT_TRUE(isNear(2.0 * studentTUpperTail(std::abs(x), nu),
                                   fUpperTail(x * x, 1.0, nu), {1e-10, 0.0}))
                    << p << " " << nu;
            }
        }
    }
}

TEST(Distributions, EndsAndNonsense) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(studentTUpperTail(kInfinity, 3.0), 0.0);
    EXPECT_EQ(studentTUpperTail(-kInfinity, 3.0), 1.0);
    EXPECT_EQ(studentTQuantile(1.0, 3.0), kInfinity);
    EXPECT_EQ(studentTQuantile(0.0, 3.0), -kInfinity);
    EXPECT_EQ(fUpperTail(kInfinity, 2.0, 3.0), 0.0);
    EXPECT_EQ(fUpperTail(0.0, 2.0, 3.0), 1.0);
    EXPECT_EQ(normalQuantile(0.0), -kInfinity);
    for (const double nonsense :
         {studentTUpperTail(1.0, 0.0), studentTUpperTail(1.0, -2.0), studentTQuantile(1.5, 3.0),
          fUpperTail(-1.0, 2.0, 3.0), fUpperTail(1.0, 0.0, 3.0), chiSquareUpperTail(1.0, 0.0),
          normalQuantile(-0.1), studentTQuantile(std::nan(""), 3.0)}) {
        EXPECT_TRUE(std::isnan(nonsense));
    }
}

}  // namespace
}  // namespace Veltrix::Testing
