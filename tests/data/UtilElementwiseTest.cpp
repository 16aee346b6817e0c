#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "Veltrix/Data/Util.h"
#include "support/MersenneNormal.h"
#include "tests/data/RandomValues.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

constexpr Tolerance kClose{4e-16, 0.0, NaNRule::EqualsNaN};

TEST(UtilElementwise, VectorFunctions) {
    Vector values{0.3, 2.0, 7.5, 0.0, 1e-9, kInfinity, kNaN, 40.0, 3.0};
    values.setName(L"x");
    struct Case {
        Vector actual;
        double (*expected)(double);
    };
    const Case cases[] = {
        {Util::exp(values), [](double x) { return std::exp(x); }},
        {Util::ln(values), [](double x) { return std::log(x); }},
        {Util::sqrt(values), [](double x) { return std::sqrt(x); }},
        {Util::sqr(values), [](double x) { return x * x; }},
        {Util::inverse(values), [](double x) { return 1.0 / x; }},
        {Util::power(values, 1.7), [](double x) { return std::pow(x, 1.7); }},
        {Util::maxScalar(values, 1.0), [](double x) { return x < 1.0 ? 1.0 : x; }},
        {Util::absolute(-values), [](double x) { return std::fabs(x); }},
    };
    for (const Case& test : cases) {
        Vector expected(values);
        for (double& value : expected) value = test.expected(value);
        EXPECT_TRUE(allNear(test.actual, expected, kClose));
        EXPECT_EQ(test.actual.getName(), values.getName());
    }
}

TEST(UtilElementwise, MatrixFunctionsKeepOrderAndName) {
    for (const MatrixOrderType order : kOrders) {
        Matrix a = normalMatrix(3, 4, order, 2);
        a(1, 2) = kNaN;
        a(0, 1) = kInfinity;
        a(2, 2) = -kInfinity;
        a.setName(L"a");
        const Matrix numbers = Util::nanToNum(a);
        EXPECT_EQ(numbers(1, 2), 0.0);
        EXPECT_EQ(numbers(0, 1), std::numeric_limits<double>::max());
        EXPECT_EQ(numbers(2, 2), -numbers(0, 1));
        const Matrix results[] = {Util::exp(a),  Util::ln(a),   Util::sqr(a),
                                  Util::tanh(a), Util::relu(a), Util::softmaxCols(a)};
        for (const Matrix& result : results) {
            EXPECT_EQ(result.getMatrixOrder(), order);
            EXPECT_EQ(result.getName(), a.getName());
            EXPECT_TRUE(std::isnan(result(1, 2)));
        }
        EXPECT_TRUE(isNear(results[0](1, 3), std::exp(a(1, 3)), kClose));
        EXPECT_TRUE(isNear(results[3](1, 3), std::tanh(a(1, 3)), kClose));
        EXPECT_EQ(results[4](0, 3), std::max(a(0, 3), 0.0));
        EXPECT_EQ(results[4](2, 2), 0.0);
    }
}

// Far out on the left the value itself is tiny, and must not be lost to an overflow.
TEST(UtilElementwise, SigmoidKeepsItsTails) {
    const Vector x{0, 1, -1, 40, -40, -700, -720, -745, 800, kInfinity, -kInfinity, kNaN};
    const Vector y = Util::sigmoid(x);
    for (std::uint64_t i = 0; i < x.size(); ++i) {
        const auto wide = 1.0L / (1.0L + std::exp(-static_cast<long double>(x[i])));
        EXPECT_TRUE(agrees(y[i], static_cast<double>(wide), {1e-15, 5e-324, NaNRule::EqualsNaN}))
            << x[i];
    }
    EXPECT_GT(y[6], 0.0);
}

TEST(UtilElementwise, SoftmaxOfColumns) {
    for (const MatrixOrderType order : kOrders) {
        Matrix a = normalMatrix(20, 3, order, 4);
        a(Util::all, 1) *= 1000.0;
        const Matrix s = Util::softmaxCols(a);
        const Matrix negative = -a;
        for (int j = 0; j < 3; ++j) {
            long double total = 0.0L;
            const double largest = -Util::minValue(negative(Util::all, j));
            for (int i = 0; i < 20; ++i) {
                total += std::exp(static_cast<long double>(a(i, j)) - largest);
            }
            for (int i = 0; i < 20; ++i) {
                const auto expected = std::exp(static_cast<long double>(a(i, j)) - largest) / total;
                EXPECT_TRUE(isNear(s(i, j), static_cast<double>(expected), {1e-14, 1e-300}));
            }
        }
    }
}

TEST(UtilConstruction, SimpleMatrices) {
    EXPECT_TRUE(Util::eye(2, 3).equalTo(Matrix(2, 3, Vector{1, 0, 0, 1, 0, 0}), 0.0));
    for (const MatrixOrderType order : kOrders) {
        const Matrix a = normalMatrix(37, 18, order, 7);
        const Matrix t = Util::transpose(a);
        EXPECT_EQ(t.getMatrixOrder(), order);
        ASSERT_EQ(t.getNumRows(), 18);
        for (int i = 0; i < 37; ++i) {
            for (int j = 0; j < 18; ++j) ASSERT_EQ(t(j, i), a(i, j));
        }
        EXPECT_EQ(Util::diag(a)[17], a(17, 17));
    }
}

TEST(UtilConstruction, GaussianMatrixFollowsItsGenerator) {
    Support::MersenneNormal generator(99);
    Vector expected;
    for (int k = 0; k < 12; ++k) expected.push_back(10.0 + 2.0 * generator.next());
    for (const MatrixOrderType order : kOrders) {
        const Matrix a = Util::gaussianMatrix(3, 4, order, 10.0, 2.0, 99);
        EXPECT_TRUE(allNear(a.getAsDoubleVector(), expected, kClose));
    }
}

TEST(UtilComparisons, EqualAndZero) {
    EXPECT_FALSE(Util::equal(1.0, 1.0 + 2e-12));
    EXPECT_TRUE(Util::equal(-1e300, -1e300 * (1 + 5e-13)));
    EXPECT_FALSE(Util::equal(0.0, 1e-300));
    EXPECT_TRUE(Util::equal(kInfinity, kInfinity));
    EXPECT_FALSE(Util::equal(kInfinity, -kInfinity));
    EXPECT_FALSE(Util::equal(kNaN, kNaN));
    EXPECT_TRUE(Util::isZero(-2.220446049250313e-16));
    EXPECT_FALSE(Util::isZero(kNaN));
}

}  // namespace
}  // namespace Veltrix::Testing
