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

constexpr Tolerance kContract{1e-13, 0.0, NaNRule::EqualsNaN};

double exactDistance(const Matrix& a, int i, const Matrix& b, int k, bool squared) {
    long double sum = 0.0L;
    for (int j = 0; j < a.getNumCols(); ++j) {
        const long double difference = static_cast<long double>(a(i, j)) - b(k, j);
        sum += difference * difference;
    }
    return static_cast<double>(squared ? sum : std::sqrt(sum));
}

/// Every `step`-th distance against the exact one, in all combinations of orders and forms.
void expectDistances(const Matrix& rowsA, const Matrix& rowsB, int step) {
    for (const MatrixOrderType orderA : kOrders) {
        const Matrix a = ordered(rowsA, orderA);
        for (const MatrixOrderType orderB : kOrders) {
            const Matrix b = ordered(rowsB, orderB);
            for (const bool squared : {false, true}) {
                const Matrix d = Util::pairwiseDistance(a, b, orderB, squared);
                ASSERT_EQ(d.getMatrixOrder(), orderB);
                ASSERT_EQ(d.getNumRows(), a.getNumRows());
                for (int cell = 0; cell < d.getNumRows() * d.getNumCols(); cell += step) {
                    const int i = cell / d.getNumCols();
                    const int k = cell % d.getNumCols();
                    ASSERT_TRUE(isNear(d(i, k), exactDistance(a, i, b, k, squared), kContract))
                        << i << ", " << k;
                }
            }
        }
    }
}

// Row counts around the panels of six and eight, column counts around the block of 256.
TEST(UtilDistances, ContractInAllShapes) {
    for (const int p : {1, 2, 7, 33}) {
        for (const int m : {1, 2, 6, 7, 24}) {
            for (const int n : {1, 3, 8, 9, 41}) {
                expectDistances(normalMatrix(m, p, MatrixOrderType::rowMajor, 1),
                                normalMatrix(n, p, MatrixOrderType::rowMajor, 2), 1);
            }
        }
    }
    for (const int p : {255, 256, 257, 1000}) {
        expectDistances(normalMatrix(13, p, MatrixOrderType::rowMajor, 3),
                        normalMatrix(19, p, MatrixOrderType::rowMajor, 4), 1);
    }
    // More than one block of inner points.
    expectDistances(normalMatrix(1031, 40, MatrixOrderType::rowMajor, 5),
                    normalMatrix(1103, 40, MatrixOrderType::rowMajor, 6), 997);
    EXPECT_EQ(Util::sum(Util::pairwiseDistance(Matrix(3, 0), Matrix(4, 0), false)), 0.0);
}

// Rows that differ in their last bits, far from the origin: the case where ‖a‖² + ‖b‖² − 2aᵀb has
// no digits left.
TEST(UtilDistances, NearDuplicatesFarFromTheOrigin) {
    const int p = 50;
    Matrix a = normalMatrix(60, p, MatrixOrderType::rowMajor, 7);
    for (int i = 0; i < 60; ++i) {
        for (int j = 0; j < p; ++j) a(i, j) += 1e8;
    }
    Matrix b(a);
    for (int i = 0; i < 60; i += 2) b(i, i % p) += std::ldexp(1.0, -20);
    expectDistances(a, b, 1);
    const Matrix d = Util::pairwiseDistance(a, b, false);
    for (int i = 0; i < 60; ++i) EXPECT_EQ(d(i, i) > 0.0, i % 2 == 0);
}

TEST(UtilDistances, FormsGiveTheSameBits) {
    const int p = 300;
    for (const MatrixOrderType order : kOrders) {
        const Matrix a = normalMatrix(700, p, order, 8);
        const Matrix full = Util::pairwiseDistance(a, a, false);
        EXPECT_TRUE(
            full.equalTo(Util::pairwiseDistance(a, false, DissimilarityType::euclidean), 0.0));
        Vector third;
        for (int j = 0; j < p; ++j) third.push_back(a(3, j));
        const Vector fromPoint = Util::pairwiseDistance(third, a, false);
        for (int i = 0; i < 700; ++i) {
            ASSERT_EQ(fromPoint[static_cast<std::uint64_t>(i)], full(3, i));
        }
    }
}

TEST(UtilDistances, NonFiniteRows) {
    for (const MatrixOrderType order : kOrders) {
        Matrix a = normalMatrix(11, 4, order, 9);
        a(2, 1) = kNaN;
        a(5, 3) = kInfinity;
        a(7, 3) = -kInfinity;
        for (const int type : {1, 4, 5}) {
            const Matrix d = Util::pairwiseDistance(a, false, static_cast<DissimilarityType>(type));
            for (int i = 0; i < 11; ++i) {
                EXPECT_TRUE(std::isnan(d(i, 2)) && std::isnan(d(2, i))) << type;
                if (i == 2) continue;
                EXPECT_TRUE(agrees(d(i, i), i == 5 || i == 7 ? kNaN : 0.0, kContract)) << type;
                EXPECT_TRUE(agrees(d(i, 5), i == 5 ? kNaN : kInfinity, kContract)) << type;
            }
        }
    }
}

/// A dissimilarity of two rows by its definition, in extended precision.
double exactDissimilarity(const Matrix& a, int i, int k, int type) {
    const int p = a.getNumCols();
    long double means[2] = {0.0L, 0.0L};
    for (int j = 0; type == 7 && j < p; ++j) {
        means[0] += a(i, j) / static_cast<long double>(p);
        means[1] += a(k, j) / static_cast<long double>(p);
    }
    int both = 0;
    int one = 0;
    long double sum = 0.0L;
    long double largest = 0.0L;
    long double ii = 0.0L;
    long double kk = 0.0L;
    long double ik = 0.0L;
    for (int j = 0; j < p; ++j) {
        both += a(i, j) != 0.0 && a(k, j) != 0.0;
        one += (a(i, j) != 0.0) != (a(k, j) != 0.0);
        const long double x = a(i, j) - means[0];
        const long double y = a(k, j) - means[1];
        sum += std::fabs(x - y);
        largest = std::max(largest, std::fabs(x - y));
        ii += x * x;
        kk += y * y;
        ik += x * y;
    }
    const double jaccard = both + one == 0 ? 0.0 : static_cast<double>(one) / (both + one);
    const long double angular = 1.0L - ik / std::sqrt(ii * kk);
    const long double results[] = {
        exactDistance(a, i, a, k, false), jaccard, double(one) / p, sum, largest, angular, angular};
    return static_cast<double>(results[type - 1]);
}

TEST(UtilDistances, AllDissimilarities) {
    for (const MatrixOrderType order : kOrders) {
        Matrix a = normalMatrix(45, 9, order, 10);
        for (int i = 0; i < 45; ++i) {
            for (int j = 0; j < 9; ++j) {
                if (i < 2 ? j > 0 : (i * 7 + j * 5) % 3 == 0) a(i, j) = 0.0;
            }
        }
        a(0, 0) = 0.0;
        a(1, 0) = 0.0;
        for (int type = 1; type <= 7; ++type) {
            const bool angle = type >= 6;
            const Matrix d = Util::pairwiseDistance(a, false, static_cast<DissimilarityType>(type));
            for (int i = angle ? 2 : 0; i < 45; ++i) {
                EXPECT_EQ(d(i, i), 0.0);
                for (int k = angle ? 2 : 0; k < i; ++k) {
                    ASSERT_EQ(d(i, k), d(k, i));
                    ASSERT_TRUE(isNear(d(i, k), exactDissimilarity(a, i, k, type),
                                       {1e-13, angle ? 1e-15 : 0.0}))
                        << type << ": " << i << ", " << k;
                }
            }
            // A row without direction has an angle to none.
            EXPECT_EQ(std::isnan(d(0, 9)), angle);
        }
    }
}

// The angle between almost parallel rows, where 1 − cos has no digits.
TEST(UtilDistances, SmallAngles) {
    const double angle = 1e-6;
    const Matrix a(2, 2, Vector{1e200, 0, 3e-200, 3e-200 * angle}, MatrixOrderType::rowMajor);
    const double cosine = Util::pairwiseDistance(a, false, DissimilarityType::cosine)(0, 1);
    const double half = std::sin(std::atan(angle) / 2.0);
    EXPECT_TRUE(isNear(cosine, 2.0 * half * half, {1e-9, 0.0}));
}

TEST(UtilDistances, BadArguments) {
    const auto type8 = static_cast<DissimilarityType>(8);
    const Matrix a(2, 3);
    expectRefused({
        {"3 columns on the left, 4", [&] { (void)Util::pairwiseDistance(a, Matrix(2, 4), false); }},
        {"2 elements in the point", [&] { (void)Util::pairwiseDistance(Vector(2), a, false); }},
        {"dissimilarity type 8", [&] { (void)Util::pairwiseDistance(a, false, type8); }},
    });
}

TEST(ValidateDistanceMatrix, Flags) {
    Matrix large = Util::pairwiseDistance(normalMatrix(70, 3, MatrixOrderType::rowMajor, 13), false,
                                          DissimilarityType::euclidean);
    Matrix lopsided(large);
    lopsided(69, 2) *= 1.0 + 1e-9;
    const std::pair<Matrix, int> cases[] = {
        {Matrix(2, 3), 0},
        {Matrix(2, 2, Vector{0, 1, 1 + 1e-13, 0}), 3},
        {Matrix(2, 2, Vector{0, -1, -1, 0}), 0},
        {Matrix(2, 2, Vector{1, 0.5, 0.5, 1}), 2},
        {Matrix(2, 2, Vector{0, kNaN, 1, kNaN}), 3},
        {large, 3},
        {lopsided, 0},
    };
    for (const auto& [matrix, flags] : cases) EXPECT_EQ(validateDistanceMatrix(matrix), flags);
}

}  // namespace
}  // namespace Veltrix::Testing
