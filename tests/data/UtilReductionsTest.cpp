#include <algorithm>
#include <cmath>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "Veltrix/Data/Util.h"
#include "tests/data/RandomValues.h"
#include "tests/support/Refusals.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

constexpr Tolerance kTight{1e-15, 0.0};

/// Terms of magnitudes from 1e-8 to 1e16 that all but cancel, and their exact sum.
Vector cancelling(std::uint64_t pairs, double& exact) {
    const Vector noise = normals(static_cast<std::int64_t>(pairs), 3);
    Vector values;
    exact = 0.0;
    for (std::uint64_t i = 0; i < pairs; ++i) {
        const double large = std::ldexp(std::floor(noise[i] * 1000.0), static_cast<int>(i % 45));
        const double small = static_cast<double>(i % 7) / 8.0;
        values.push_back(large);
        values.push_back(small);
        exact += small;
    }
    for (std::uint64_t i = 0; i < pairs; ++i) values.push_back(-values[2 * i]);
    return values;
}

TEST(UtilSums, AreCompensated) {
    for (const std::uint64_t pairs : {1U, 2U, 5U, 21U, 1000U, 40000U}) {
        double exact = 0.0;
        const Vector values = cancelling(pairs, exact);
        EXPECT_EQ(Util::sum(values), exact) << pairs;
        EXPECT_EQ(Util::mean(values), exact / static_cast<double>(values.size())) << pairs;
        const auto n = static_cast<int>(values.size());
        for (const MatrixOrderType order : kOrders) {
            Matrix a(n, 3, order);
            a(Util::all, 1) = values;
            EXPECT_EQ(Util::sum(a), exact);
            a.transpose();
            EXPECT_EQ(Util::sum(a(1, Util::all)), exact);
        }
        EXPECT_EQ(Util::partialSum(values).back(), exact);
    }
}

// What plain addition gives, with NaN from neither the compensation nor the padding of lanes.
TEST(UtilSums, NonFiniteTerms) {
    for (const int n : {1, 4, 16, 17, 40}) {
        for (int place = 0; place < n; ++place) {
            Vector values(static_cast<std::uint64_t>(n), 1.5);
            double& special = values[static_cast<std::uint64_t>(place)];
            for (const double infinite : {kInfinity, -kInfinity}) {
                special = infinite;
                ASSERT_EQ(Util::sum(values), infinite);
                ASSERT_EQ(Util::mean(values), infinite);
            }
            special = kNaN;
            ASSERT_TRUE(std::isnan(Util::sum(values)));
            ASSERT_EQ(Util::sum(values, true), 1.5 * (n - 1));
        }
    }
    EXPECT_TRUE(std::isnan(Util::sum(Vector{kInfinity, 1, -kInfinity})));
    EXPECT_EQ(Util::partialSum(Vector{1, kInfinity, 2}), (Vector{1, kInfinity, kInfinity}));
    EXPECT_EQ(Util::sum(Vector()), 0.0);
}

TEST(UtilSums, MeanOfEqualValuesIsTheValue) {
    for (const double value : {0.1, 1e15 + 0.3, -7e-9}) {
        for (const int n : {3, 49, 1001}) {
            EXPECT_EQ(Util::mean(Vector(static_cast<std::uint64_t>(n), value)), value);
            for (const MatrixOrderType order : kOrders) {
                EXPECT_EQ(Util::SST(Matrix(n, 2, value, order)), 0.0);
                EXPECT_EQ(Util::mean(Matrix(n, 2, 1e292 * value, order)), Vector(2, 1e292 * value));
            }
        }
    }
}

TEST(UtilReductions, AgreeWithPlainLoops) {
    const Tolerance product{1e-13, 1e-13};
    for (const int n : {1, 3, 18, 700}) {
        for (const bool byRows : {false, true}) {
            const Matrix a = normalMatrix(n, 5, kOrders[byRows], 8);
            const Matrix other = normalMatrix(n, 5, kOrders[!byRows], 9);
            long double squares = 0.0L;
            long double cross = 0.0L;
            const Vector minima = Util::minimum(a);
            const IntVector rowMinima = Util::indexesOfRowMin(a);
            for (int j = 0; j < 5; ++j) {
                long double mean = 0.0L;
                double least = a(0, j);
                for (int i = 0; i < n; ++i) {
                    mean += a(i, j) / static_cast<long double>(n);
                    least = std::min(least, a(i, j));
                    cross += static_cast<long double>(a(i, j)) * other(i, j);
                }
                for (int i = 0; i < n; ++i) squares += (a(i, j) - mean) * (a(i, j) - mean);
                EXPECT_EQ(minima[static_cast<std::uint64_t>(j)], least);
            }
            EXPECT_TRUE(isNear(Util::SST(a), static_cast<double>(squares), {1e-14, 1e-30}));
            EXPECT_TRUE(isNear(Util::dotProduct(a, other), static_cast<double>(cross), product));
            EXPECT_TRUE(
                isNear(Util::dotProduct(a, a), Util::innerProduct(a.getAsDoubleVector()), product));
            for (int i = 0; i < n; ++i) {
                const ConstMatrixRow row = std::as_const(a)(i, Util::all);
                const auto elements = row.elements();
                const auto greatest = std::max_element(elements.begin(), elements.end());
                EXPECT_EQ(Util::maxValue(row), *greatest);
                EXPECT_EQ(Util::maxIndex(row), greatest - elements.begin());
                const auto smallest = std::min_element(elements.begin(), elements.end());
                EXPECT_EQ(rowMinima[static_cast<std::uint64_t>(i)], smallest - elements.begin());
                EXPECT_TRUE(isNear(Util::innerProduct(row), Util::dotProduct(row, row), product));
            }
        }
    }
}

TEST(UtilReductions, ExtremesPassOverNaNAndTakeTheFirst) {
    for (const std::uint64_t n : {1U, 5U, 16U, 37U}) {
        Vector values(n, kNaN);
        EXPECT_TRUE(std::isnan(Util::maxValue(values)));
        EXPECT_EQ(Util::maxIndex(values), 0);
        for (std::uint64_t i = 0; i < n; ++i) {
            values[i] = -kInfinity;
            EXPECT_EQ(Util::maxValue(values), -kInfinity);
            EXPECT_EQ(Util::minIndex(values), static_cast<int>(i));
            values[n - 1] = -kInfinity;
            EXPECT_EQ(Util::minIndex(values), static_cast<int>(i));
            values = Vector(n, kNaN);
        }
    }
    for (const MatrixOrderType order : kOrders) {
        const Matrix a(3, 3, Vector{kNaN, 2, 2, kNaN, kNaN, kNaN, 5, kNaN, 1},
                       MatrixOrderType::rowMajor);
        EXPECT_EQ(Util::indexesOfRowMin(ordered(a, order)), (IntVector{1, 0, 2}));
        EXPECT_EQ(Util::minimum(ordered(a, order)), (Vector{5, 2, 1}));
    }
}

TEST(UtilReductions, LeastPairOfASymmetricMatrix) {
    for (int n = 2; n < 40; ++n) {
        const Vector values = smallIntegers(n * n, 6, static_cast<unsigned>(n));
        for (const MatrixOrderType order : kOrders) {
            Matrix d(n, n, -100.0, order);
            std::pair expected{0, 1};
            double least = kNaN;
            for (int i = 0; i < n; ++i) {
                for (int j = i + 1; j < n; ++j) {
                    const double v = values[static_cast<std::uint64_t>(i * n + j)];
                    d(i, j) = d(j, i) = v == 3.0 ? kNaN : v;
                    if (v == 3.0 || v >= least) continue;
                    least = v;
                    expected = {i, j};
                }
            }
            std::pair found{-1, -1};
            const double value = Util::minimum(d, found.first, found.second);
            EXPECT_EQ(found, expected) << n;
            EXPECT_TRUE(agrees(value, least, {0.0, 0.0, NaNRule::EqualsNaN}));
        }
    }
}

TEST(UtilReductions, SmallExamples) {
    const Matrix a(5, 3, Vector{2, kNaN, kNaN, 1, 4, kNaN, 2, 4, kNaN, 1, kNaN, kNaN, 9, 3, kNaN},
                   MatrixOrderType::rowMajor);
    EXPECT_TRUE(allNear(Util::mode(a), Vector{1, 4, kNaN}, {0.0, 0.0, NaNRule::EqualsNaN}));
    EXPECT_EQ(Util::weightedMean(Vector{1, 2, 6}, Vector{1, 2, 1}), 2.75);
    EXPECT_TRUE(std::isnan(Util::weightedMean(Vector{1, 2}, Vector{0, 0})));
    // Three entries and 2^-51 as the largest below the limit 3 · 2^-52 · max(1, max|v|).
    EXPECT_EQ(Util::countZero(Vector{std::ldexp(1.0, -51), -std::ldexp(1.0, -50), 0.25}), 1);
    EXPECT_EQ(Util::countZero(Vector{std::ldexp(1.0, -50), 0.0, 8.0}), 2);
    EXPECT_EQ(Util::countZero(Vector{kInfinity, 0.0, 8.0, kNaN, -kInfinity, 1e-10}), 1);
}

TEST(UtilReductions, Norms) {
    for (const double scale : {1.0, 1e-158, 1e-200, 1e151, 1e200, 1e-308}) {
        for (const MatrixOrderType order : kOrders) {
            Matrix a(2, 4, order);
            a(1, Util::all) = Vector{3 * scale, -4 * scale, 0, 12 * scale};
            const ConstMatrixRow row = a(1, Util::all);
            EXPECT_TRUE(isNear(Util::norm(row, NormType::euclidean, false), 13 * scale, kTight));
            EXPECT_TRUE(isNear(Util::norm(row, NormType::euclidean, true), 13 * scale * 13 * scale,
                               {1e-15, 5e-324}));
            const Matrix b(3, 1, Vector{-scale, 0, scale}, order);
            EXPECT_TRUE(isNear(Util::SST(b), 2 * scale * scale, {1e-15, 5e-324}));
            EXPECT_EQ(Util::norm(row, NormType::largestAbsoluteValue, false), 12 * scale);
            EXPECT_TRUE(
                isNear(Util::norm(row, NormType::sumOfAbsoluteValues, false), 19 * scale, kTight));
        }
    }
    Matrix a(1, 3, Vector{1, -2, 2});
    EXPECT_EQ(Util::norm(a(0, Util::all), NormType::euclidean, true), 9.0);
    EXPECT_EQ(Util::norm(a(0, Util::all), NormType::sumOfAbsoluteValues, true), 25.0);
    a(0, 1) = kNaN;
    for (const int type : {1, 2, 3}) {
        EXPECT_TRUE(std::isnan(Util::norm(a(0, Util::all), static_cast<NormType>(type), false)));
    }
}

TEST(UtilReductions, BadArguments) {
    const Vector two{1, 2};
    const Vector three{1, 2, 3};
    const Matrix a(2, 3);
    int row = 0;
    int col = 0;
    expectRefused({
        {"Largest value: the operand is empty", [] { (void)Util::maxValue(Vector()); }},
        {"Column minima: the operand is empty", [] { (void)Util::minimum(Matrix(0, 2)); }},
        {"Row minima: the operand is empty", [] { (void)Util::indexesOfRowMin(Matrix(2, 0)); }},
        {"2 values, 3 weights", [&] { (void)Util::weightedMean(two, three); }},
        {"2 elements on the left, 3 elements", [&] { (void)Util::dotProduct(two, three); }},
        {"2 x 3 on the left, 2 x 2", [&] { (void)Util::dotProduct(a, Matrix(2, 2)); }},
        {"Number of elements does not match", [&] { Util::minimum(a, row, col); }},
        {"Norm: type 9", [&] { (void)Util::norm(a(0, Util::all), NormType(9), false); }},
    });
}

}  // namespace
}  // namespace Veltrix::Testing
