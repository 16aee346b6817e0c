// Reference values: see tests/reference/statistics/README.md.
#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "Veltrix/Data/Util.h"
#include "tests/data/RandomValues.h"
#include "tests/support/Containers.h"
#include "tests/support/Refusals.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

constexpr Tolerance kDigits{1e-13, 1e-14};

Vector reference(const char* quantity) {
    return toVector(ReferenceData("statistics/cars").vector(quantity));
}

Matrix cars(MatrixOrderType order) {
    return ordered(Matrix(14, 3, reference("cars"), MatrixOrderType::rowMajor), order);
}

TEST(UtilStatistics, CovarianceAndCorrelation) {
    const Vector covariance = reference("covariance");
    const Vector correlation = reference("correlation");
    for (const MatrixOrderType order : kOrders) {
        const Matrix a = cars(order);
        EXPECT_TRUE(allNear(rowsOf(Util::covariance(a)), covariance, kDigits));
        EXPECT_TRUE(allNear(rowsOf(Util::correlation(a, false)), correlation, kDigits));
        EXPECT_TRUE(
            allNear(rowsOf(Util::correlation(a, true)), Util::absolute(correlation), kDigits));
        EXPECT_EQ(Util::covariance(a).getMatrixOrder(), order);
        // Squares of the first and the second column are beyond the range of a double.
        Matrix extreme(a);
        extreme(Util::all, 0) *= 1e200;
        extreme(Util::all, 1) *= 1e-200;
        EXPECT_TRUE(allNear(rowsOf(Util::correlation(extreme, false)), correlation, kDigits));
        Vector scaled = covariance;
        for (const int entry : {0, 1, 2, 3, 6}) scaled[entry] *= 1e200;
        for (const int entry : {1, 3, 4, 5, 7}) scaled[entry] *= 1e-200;
        scaled[0] = kInfinity;
        scaled[4] = 0.0;
        EXPECT_TRUE(allNear(rowsOf(Util::covariance(extreme)), scaled, {1e-13, 0.0}));
    }
    EXPECT_THROW((void)Util::covariance(Matrix(1, 3)), TooFewNumRows);
    EXPECT_THROW((void)Util::correlation(Matrix(), false), TooFewNumRows);
}

// Several blocks of rows; a large offset must not cost digits; constant columns and NaN columns.
TEST(UtilStatistics, CovarianceOfTallMatrices) {
    const int n = 40001;
    for (const MatrixOrderType order : kOrders) {
        Matrix a = normalMatrix(n, 6, order, 21);
        const Matrix centred = Util::covariance(a);
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < 4; ++j) a(i, j) += std::ldexp(1.0, 20);
            a(i, 4) = 0.1;
        }
        a(77, 5) = kNaN;
        const Matrix c = Util::covariance(a);
        long double cross = 0.0L;
        const Vector means = Util::mean(a);
        for (int i = 0; i < n; ++i) cross += (a(i, 0) - means[0]) * (a(i, 3) - means[3]);
        EXPECT_TRUE(isNear(c(0, 3), static_cast<double>(cross / (n - 1)), {1e-11, 0.0}));
        EXPECT_TRUE(isNear(c(1, 1), centred(1, 1), {1e-9, 0.0}));
        EXPECT_EQ(c(4, 4), 0.0);
        EXPECT_TRUE(std::isnan(c(5, 0)) && std::isnan(c(0, 5)) && std::isnan(c(5, 5)));
        const Matrix r = Util::correlation(a, false);
        EXPECT_TRUE(std::isnan(r(4, 0)) && std::isnan(r(0, 4)));
        EXPECT_EQ(r(4, 4), 1.0);
        EXPECT_FALSE(std::isnan(r(2, 3)));
    }
}

TEST(UtilStatistics, Groups) {
    const Vector codes = reference("cylinders");
    const IntVector cylinders(codes.begin(), codes.end());
    for (const MatrixOrderType order : kOrders) {
        for (const bool separate : {false, true}) {
            const GroupStatistic s = Util::groupStatistic(cars(order), cylinders, separate, true);
            EXPECT_EQ(s.getGroupCodes(), (IntVector{4, 6, 8}));
            EXPECT_EQ(s.getGroupSizes(), (IntVector{3, 6, 5}));
            EXPECT_TRUE(
                allNear(rowsOf(Util::transpose(s.getGroupMean())), reference("means"), kDigits));
            EXPECT_TRUE(allNear(rowsOf(s.getPooledCovariance()), reference("pooled"), kDigits));
            EXPECT_TRUE(allNear(s.getPooledMean(), reference("mean"), kDigits));
            if (separate) {
                EXPECT_TRUE(allNear(rowsOf(s.getGroupCovariance(1)), reference("six"), kDigits));
            } else {
                EXPECT_THROW((void)s.getGroupCovariance(1), Exception);
            }
        }
        const IntVector single{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2};
        const GroupStatistic s = Util::groupStatistic(cars(order), single, true, false);
        EXPECT_TRUE(std::isnan(s.getGroupCovariance(1)(0, 2)));
        EXPECT_TRUE(s.getPooledCovariance().empty());
    }
    const auto twoCodes = [] {
        (void)Util::groupStatistic(Matrix(3, 1), IntVector(2), true, true);
    };
    EXPECT_TRUE(refuses(twoCodes, "3 rows, 2 group codes"));
}

/// [1 hp wt mpg]ᵀ[1 hp wt mpg]
Matrix borderedCrossProduct(MatrixOrderType order) {
    const Matrix a = cars(order);
    Matrix z(14, 4, order);
    z(Util::all, 0) = Vector(14, 1.0);
    z(Util::all, 1) = a(Util::all, 1);
    z(Util::all, 2) = a(Util::all, 2);
    z(Util::all, 3) = a(Util::all, 0);
    return Util::transpose(z) * z;
}

TEST(UtilSweep, GivesTheRegression) {
    for (const MatrixOrderType order : kOrders) {
        Matrix a = borderedCrossProduct(order);
        Util::sweep(a, IntVector{0, 1, 2});
        EXPECT_TRUE(
            allNear(a.getSubColumn(Util::range(0, 3), 3), reference("coefficients"), {1e-11, 0.0}));
        EXPECT_TRUE(isNear(Util::residualSumOfSquares(a), 18.867761345614806, {1e-11, 0.0}));
        EXPECT_TRUE(allNear(rowsOf(a(Util::except(3), Util::except(3))), reference("inverse"),
                            {1e-11, 0.0}));
        // Rows and columns have opposite signs, whatever the order of storage.
        EXPECT_TRUE(isNear(a(3, 1), -a(1, 3), kDigits));
    }
}

TEST(UtilSweep, TwiceRestores) {
    for (const int n : {1, 2, 9, 50}) {
        for (const MatrixOrderType order : kOrders) {
            const Matrix x = normalMatrix(n + 5, n, order, 31);
            const Matrix a = Util::transpose(x) * x;
            for (int k = 0; k < n; k += 3) {
                const Matrix once = Util::sweep(a, k);
                EXPECT_TRUE(Util::sweep(once, k).equalTo(a, 1e-10)) << n << ", " << k;
            }
            Matrix forth(a);
            Util::sweep(forth, Util::range(0, n));
            EXPECT_TRUE((forth * a).equalTo(Util::eye(n, n), 1e-9)) << n;
        }
    }
}

TEST(UtilSweep, BadArguments) {
    Matrix a(2, 2, Vector{0, 1, 1, 2});
    Matrix ones(2, 2, 1.0);  // the second pivot is 0 when its turn comes
    Matrix wide(2, 3);
    const IntVector outside{1, 2};
    const IntVector both{0, 1};
    expectRefused({
        {"diagonal element 0 is 0", [&] { Util::sweep(a, 0); }},
        {"pivot 2 of 2", [&] { Util::sweep(a, outside); }},
        {"diagonal element 1 is 0", [&] { Util::sweep(ones, both); }},
        {"does not match", [&] { Util::sweep(wide, 0); }},
        {"does not match", [&] { (void)Util::residualSumOfSquares(wide); }},
        {"empty", [&] { (void)Util::residualSumOfSquares(Matrix()); }},
    });
    EXPECT_EQ(a(1, 1), 2.0);
    EXPECT_TRUE(ones.equalTo(Matrix(2, 2, 1.0), 0.0));
}

TEST(UtilPermutation, ReordersAndUndoes) {
    const IntVector p{2, 0, 3, 1};
    for (const MatrixOrderType order : kOrders) {
        const Matrix a = normalMatrix(4, 4, order, 41);
        Matrix rows(a);
        Matrix cols(a);
        Util::permuteRows(rows, p, PermutationType::forward);
        Util::permuteCols(cols, p, PermutationType::forward);
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                EXPECT_EQ(rows(i, j), a(p[i], j));
                EXPECT_EQ(cols(i, j), a(i, p[j]));
            }
        }
        Util::permuteRows(rows, p, PermutationType::inverse);
        Util::permuteCols(cols, p, PermutationType::inverse);
        EXPECT_TRUE(rows.equalTo(a, 0.0) && cols.equalTo(a, 0.0));
        EXPECT_EQ(rows.getMatrixOrder(), order);
    }
    Matrix a(4, 2);
    const auto permute = [&](const IntVector& permutation, int type) {
        Util::permuteRows(a, permutation, static_cast<PermutationType>(type));
    };
    const IntVector twice{0, 1, 1, 3};
    const IntVector outside{0, 1, 4, 3};
    expectRefused({{"index 1 stands twice", [&] { permute(twice, 1); }},
                   {"index 4 of 4", [&] { permute(outside, 2); }},
                   {"2 indexes", [&] { permute(IntVector(2, 1), 1); }},
                   {"type 3", [&] { permute(p, 3); }}});
}

}  // namespace
}  // namespace Veltrix::Testing
