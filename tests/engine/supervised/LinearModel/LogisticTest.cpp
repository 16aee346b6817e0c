// Logistic regression: separation, units, weights, aliased columns, bad input.
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/data/RandomValues.h"
#include "tests/engine/Refusals.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::LinearModel::Logistic::Model;

/// 1 where a noisy sum of the columns is positive.
Vector responses(const Matrix& x, unsigned seed) {
    Vector y =
        x * Vector(static_cast<std::uint64_t>(x.getNumCols()), 0.7) +
        normalMatrix(x.getNumRows(), 1, MatrixOrderType::columnMajor, seed).getAsDoubleVector();
    for (double& value : y) value = value > 0.0 ? 1.0 : 0.0;
    return y;
}

const Matrix kX = normalMatrix(30, 2, MatrixOrderType::columnMajor, 1);
const Vector kY = responses(kX, 2);

TEST(Logistic, SeparatedClassesEndWithAUsableModel) {
    // Separated by the first column but for the record at 0 (quasi-completely), or by all.
    Matrix x = normalMatrix(40, 4, MatrixOrderType::columnMajor, 3);
    Vector apart(40, 0.0);
    for (int i = 0; i < 40; ++i) {
        x(i, 0) = i - 20;
        apart[static_cast<std::uint64_t>(i)] = i >= 20 ? 1.0 : 0.0;
    }
    Matrix touching = x;
    for (const int i : {19, 20}) touching(i, Util::all) = Vector{0, 1, 1, 1};
    for (const Matrix* data : {&x, &touching}) {
        const Model model = Model().fit(*data, apart, 1000, true);
        EXPECT_LT(model.getNumIterations(), 100);
        const Matrix p = model.posteriorProbability(*data);
        int right = 0;
        for (int i = 0; i < 40; ++i) {
            EXPECT_GE(std::min(p(i, 0), p(i, 1)), 0.0);
            EXPECT_NEAR(p(i, 0) + p(i, 1), 1.0, 1e-15);
            right += (p(i, 0) > 0.5) == (i >= 20) ? 1 : 0;
        }
        EXPECT_GE(right, data == &x ? 40 : 39);
        EXPECT_TRUE(std::isfinite(model.computeCoefficientInfo(*data, 0.9).waldStatistics[1]));
    }
    const Model sure = Model().fit(x, Vector(40, 1.0), 1000, true);
    EXPECT_GT(sure.posteriorProbability(x)(0, 0), 0.999);
    EXPECT_TRUE(std::isnan(sure.computeFitEvaluation(Vector(40, 1.0)).nullDeviance));
}

// Dates far from 0, units far apart: what a cross-product cannot resolve.
TEST(Logistic, OriginsAndUnitsDoNotMatter) {
    const Model plain = Model().fit(kX, kY, 50, true);
    const auto expected = plain.computeCoefficientInfo(kX, 0.95);
    for (const double origin : {0.0, 1e4, 1e6}) {
        Matrix x = kX;
        x(Util::all, 0) += Vector(30, origin);
        x(Util::all, 1) *= 1e9;
        const Model model = Model().fit(x, kY, 50, true);
        ASSERT_EQ(model.getRank(), 3);
        EXPECT_EQ(model.getNumIterations(), plain.getNumIterations());
        const auto info = model.computeCoefficientInfo(x, 0.95);
        const Tolerance within{1e-8};
        EXPECT_TRUE(isNear(info.estimates[1], expected.estimates[1], within)) << origin;
        EXPECT_TRUE(isNear(info.estimates[2] * 1e9, expected.estimates[2], within)) << origin;
        EXPECT_TRUE(isNear(info.standardErrors[1], expected.standardErrors[1], within)) << origin;
    }
}

TEST(Logistic, WeightsCountRecords) {
    IntVector rows;
    Vector weights;
    for (int i = 0; i < 30; ++i) {
        weights.push_back(i % 3);
        for (int k = 0; k < i % 3; ++k) rows.push_back(i);
    }
    const Matrix repeated = kX(rows, Util::all);
    const Model expected = Model().fit(repeated, Util::select(kY, rows), 50, true);
    Model model = Model().fit(kX, kY, weights, 50, true);
    const Tolerance within{1e-12, 1e-13};
    EXPECT_TRUE(allNear(model.getCoefficients(), expected.getCoefficients(), within));
    EXPECT_TRUE(isNear(model.getResidualDeviance(), expected.getResidualDeviance(), within));
    EXPECT_TRUE(model.computeVarianceCovariance(kX).equalTo(
        expected.computeVarianceCovariance(repeated), 1e-12));
    EXPECT_EQ(model.computeFitEvaluation(kY).residualDf, 30.0 - 3.0);
    // A later fit without weights uses them again.
    const WString weighted = model.toJson();
    EXPECT_EQ(model.fit(kX, kY, 50, true).toJson(), weighted);
}

TEST(Logistic, AliasedColumns) {
    Matrix x(30, 5);
    x(Util::all, 0) = kX(Util::all, 0);
    x(Util::all, 1) = Vector(30, 4.0);
    x(Util::all, 2) = kX(Util::all, 1);
    for (int i = 0; i < 30; ++i) x(i, 3) = 2.0 * kX(i, 0) - kX(i, 1) + 1.0;
    const Model model = Model().fit(x, kY, 50, true);
    EXPECT_EQ(model.getEstimableColumns(), (IntVector{0, 1, 3}));
    EXPECT_TRUE(model.rankDeficient());
    const Model reduced = Model().fit(kX, kY, 50, true);
    EXPECT_TRUE(allNear(Util::select(model.getCoefficients(), {0, 1, 3}), reduced.getCoefficients(),
                        {1e-12}));
    const auto info = model.computeCoefficientInfo(x, 0.95);
    const auto expected = reduced.computeCoefficientInfo(kX, 0.95);
    EXPECT_TRUE(allNear(Util::select(info.pValues, {0, 1, 3}), expected.pValues, {1e-10}));
    for (const std::uint64_t j : {2u, 4u, 5u}) {
        EXPECT_EQ(info.estimates[j], 0.0);
        EXPECT_EQ(info.standardErrors[j], 0.0);
        EXPECT_TRUE(std::isnan(info.pValues[j]));
    }
    EXPECT_EQ(model.computeFittedMulticollinearity(x).eigenvalues.size(), 3u);
    EXPECT_EQ(model.computeMulticollinearity(x).eigenvalues.size(), 6u);
    // Nothing can be estimated at all.
    const Model none = Model().fit(Matrix(30, 2), kY, 50, false);
    EXPECT_EQ(none.getRank(), 0);
    EXPECT_EQ(none.posteriorProbability(kX)(7, 1), 0.5);
}

TEST(Logistic, BadInputIsRefusedAndLeavesTheModel) {
    const auto with = [](Vector values, std::uint64_t place, double value) {
        values[place] = value;
        return values;
    };
    const auto cells = [&](std::uint64_t place, double value) {
        return Matrix(30, 2, with(kX.getAsDoubleVector(), place, value));
    };
    expectRefused(
        Model().fit(kX, kY, 50, true),
        {{"0 records, at least 1 expected",
          [](Model&) { Model().fit(Matrix(0, 2), Vector(), 9, true); }},
         {"29 responses", [](Model& m) { m.fit(kX, Vector(29), 9, true); }},
         {"response of record 4 is 2, 0 or 1 expected",
          [&](Model& m) { m.fit(kX, with(kY, 4, 2.0), 9, true); }},
         {"response of record 0 is nan", [&](Model& m) { m.fit(kX, with(kY, 0, kNaN), 9, true); }},
         {"row 3, column 1 is NaN", [&](Model& m) { m.fit(cells(33, kNaN), kY, 9, true); }},
         {"row 2, column 0 is inf", [&](Model& m) { m.fit(cells(2, -kInfinity), kY, 9, true); }},
         {"record 1 is -2", [&](Model& m) { m.fit(kX, kY, with(kY, 1, -2), 9, true); }},
         {"all weights are 0", [](Model& m) { m.fit(kX, kY, Vector(30), 9, true); }},
         {"confidence level 1, between", [](Model& m) { m.computeCoefficientInfo(kX, 1.0); }},
         {"3 columns, 2 expected", [](Model& m) { m.posteriorProbability(Matrix(2, 3)); }},
         {"2 rows, 30 expected", [](Model& m) { m.computeVarianceCovariance(Matrix(2, 2)); }},
         {"1 columns, 2 expected as in training",
          [](Model& m) { m.computeFittedMulticollinearity(Matrix(30, 1)); }}});
}

}  // namespace
}  // namespace Veltrix::Testing
