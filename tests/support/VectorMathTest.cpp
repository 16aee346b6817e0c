#include "support/VectorMath.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "support/RuntimeRandom.h"

namespace S = Veltrix::Support;

namespace {

using Function = void (*)(const double*, double*, std::int64_t);
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kTiny = std::numeric_limits<double>::denorm_min();

struct Case {
    const char* name;
    Function function;
    long double (*exact)(long double);
    double low;
    double high;
    double maxUlp;
};

long double logistic(long double x) { return 1.0L / (1.0L + std::exp(-x)); }

const Case kCases[] = {
    {"ln near 1", S::ln, std::log, 0.5, 2.0, 1.0},
    {"ln", S::ln, std::log, 1e-300, 1e300, 1.0},
    {"exp", S::exp, std::exp, -700.0, 700.0, 1.0},
    {"exp near 0", S::exp, std::exp, -1.0, 1.0, 1.0},
    {"exp before overflow", S::exp, std::exp, 709.7827, 709.78271289338395, 1.0},
    {"exp before underflow", S::exp, std::exp, -745.13, -708.0, 1.0},
    {"tanh", S::tanh, std::tanh, -20.0, 20.0, 1.5},
    {"tanh near 0", S::tanh, std::tanh, -0.01, 0.01, 1.5},
    {"sigmoid", S::sigmoid, logistic, -700.0, 40.0, 2.5},
    {"sqrt", S::sqrt, std::sqrt, 0.0, 1e6, 0.5001},
};

std::vector<double> randomValues(const Case& c, int n) {
    S::RuntimeRandom random(11);
    std::vector<double> values;
    for (int i = 0; i < n; ++i) {
        values.push_back(c.low + (c.high - c.low) * (random.nextJoined() / 1073741824.0));
    }
    return values;
}

double errorInUlp(double value, long double exact) {
    const double nearest = std::fabs(static_cast<double>(exact));
    const double ulp = std::nextafter(nearest, kInf) - nearest;
    return static_cast<double>(std::fabs(value - exact) / ulp);
}

}  // namespace

TEST(VectorMath, IsAccurateToAboutOneUlp) {
    for (const Case& c : kCases) {
        const std::vector<double> x = randomValues(c, 50001);
        std::vector<double> y(x.size());
        c.function(x.data(), y.data(), std::ssize(x));
        for (std::size_t i = 0; i < x.size(); ++i) {
            ASSERT_LE(errorInUlp(y[i], c.exact(x[i])), c.maxUlp) << c.name << " at " << x[i];
        }
    }
}

TEST(VectorMath, ResultsDoNotDependOnPositionLengthOrAlignment) {
    for (const Case& c : kCases) {
        const std::vector<double> x = randomValues(c, 37);
        std::vector<double> whole(x.size());
        c.function(x.data(), whole.data(), std::ssize(x));
        for (std::size_t start = 0; start < 9; ++start) {
            for (std::size_t n = 0; start + n <= x.size(); ++n) {
                std::vector<double> part(n + 1, 77.0);
                c.function(x.data() + start, part.data(), static_cast<std::int64_t>(n));
                ASSERT_EQ(part[n], 77.0) << c.name << " wrote behind its end";
                for (std::size_t i = 0; i < n; ++i) ASSERT_EQ(part[i], whole[start + i]) << c.name;
            }
        }
        std::vector<double> inPlace = x;
        c.function(inPlace.data(), inPlace.data(), std::ssize(inPlace));
        EXPECT_EQ(inPlace, whole) << c.name;
    }
}

TEST(VectorMath, SpecialValues) {
    const double nan = std::nan("");
    const struct {
        Function function;
        std::vector<double> x;
        std::vector<double> expected;
    } cases[] = {
        {S::ln, {0.0, -0.0, -1.0, kInf, nan, 1.0, -kInf}, {-kInf, -kInf, nan, kInf, nan, 0.0, nan}},
        {S::ln, {kTiny}, {-744.44007192138126}},
        {S::exp, {-kInf, kInf, 709.7827128933841, -746.0, nan}, {0.0, kInf, kInf, 0.0, nan}},
        {S::exp, {-745.0, 0.0}, {kTiny, 1.0}},
        {S::tanh, {kInf, -kInf, 0.0, nan}, {1.0, -1.0, 0.0, nan}},
        {S::sqrt, {-1.0, 4.0, kInf, nan, -0.0}, {nan, 2.0, kInf, nan, -0.0}},
    };
    for (const auto& [function, arguments, results] : cases) {
        for (std::size_t k = 0; k < 5 * arguments.size(); ++k) {
            // The tail alone, and the vector body before it.
            const std::vector<double> x(1 + k % 5, arguments[k / 5]);
            const double expected = results[k / 5];
            std::vector<double> y(x.size(), 77.0);
            function(x.data(), y.data(), std::ssize(x));
            for (const double value : y) {
                EXPECT_TRUE(std::isnan(expected) ? std::isnan(value) : value == expected) << x[0];
                EXPECT_TRUE(std::isnan(expected) || std::signbit(value) == std::signbit(expected));
            }
        }
    }
}
