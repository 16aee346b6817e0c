// Linear regression: properties, special shapes, bad input and storage.
#include <array>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/engine/Refusals.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::LinearModel::OLS::Model;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

Matrix normalMatrix(int rows, int cols, unsigned seed,
                    MatrixOrderType order = MatrixOrderType::columnMajor) {
    return Util::gaussianMatrix(rows, cols, order, 0.0, 1.0, seed);
}

Vector normalVector(int size, unsigned seed) {
    return normalMatrix(size, 1, seed).getAsDoubleVector();
}

const Matrix kX(5, 2, Vector{1, 2, 3, 4, 5, 2, 1, 4, 3, 7});
const Vector kY{1.5, 2.5, 2.0, 5.0, 4.0};

// Tall data pass through many row blocks; the normal equations are an independent way to the same
// numbers for a matrix as well conditioned as this one.
TEST(OLS, TallDataMatchNormalEquations) {
    const int n = 5000;
    for (const int p : {1, 3, 7, 60}) {
        const auto order = p == 7 ? MatrixOrderType::rowMajor : MatrixOrderType::columnMajor;
        const Matrix x = normalMatrix(n, p, 7, order);
        const Vector y = x * Vector(static_cast<std::uint64_t>(p), 0.5) + normalVector(n, 8);
        Vector weights = Util::sqr(normalVector(n, 9));
        weights[17] = 0.0;
        const Model model = Model().fit(x, y, weights, true);

        const Matrix design = Engine::LinearModel::sqrtWeightedDesignMatrix(x, weights, true);
        const Matrix gram = Util::transpose(design) * design;
        const Vector rhs = Util::transpose(design) * (y * Util::sqrt(weights));
        const Vector expected = Matrix::solvePositiveDefiniteSystem(gram, rhs);
        const Tolerance within{1e-9, 1e-12};
        EXPECT_TRUE(allNear(model.getCoefficients(), expected, within)) << p;
        const Matrix hat = (design * Matrix::inversePositiveDefinite(gram)) % design;
        for (const int i : {0, 17, n - 1}) {
            const double leverage = model.getLeverages()[static_cast<std::uint64_t>(i)];
            EXPECT_TRUE(isNear(leverage, Util::sum(hat(i, Util::all)), within)) << p << " " << i;
        }
        EXPECT_TRUE(isNear(Util::sum(model.getLeverages()), p + 1.0, within)) << p;
        const double longest = std::sqrt(Util::maxValue(Util::diag(gram)));
        EXPECT_TRUE(isNear(Util::maxValue(model.getColumnNorms()), longest, within));
        EXPECT_TRUE(isNear(model.getTolerance(), n * kEpsilon * longest, within));
    }
}

// Scaling columns by powers of two scales their coefficients and nothing else, even where squares
// would overflow or vanish.
TEST(OLS, UnitsScaleTheCoefficientsOnly) {
    const Matrix x = normalMatrix(200, 3, 1);
    const Vector y = normalVector(200, 2);
    const Model plain = Model().fit(x, y, true);
    const std::array<int, 3> units[] = {
        {600, 600, 600}, {-600, -600, -600}, {-300, 40, 300}, {-7, 500, -500}};
    for (const auto& powers : units) {
        Matrix scaled = x;
        for (int j = 0; j < 3; ++j) {
            scaled(Util::all, j) *= std::ldexp(1.0, powers[static_cast<std::size_t>(j)]);
        }
        const Model model = Model().fit(scaled, y, true);
        EXPECT_EQ(model.getRank(), 4);
        for (std::size_t j = 0; j < 3; ++j) {
            EXPECT_TRUE(isNear(std::ldexp(model.getCoefficients()[j + 1], powers[j]),
                               plain.getCoefficients()[j + 1], {1e-12}));
        }
        EXPECT_TRUE(allNear(model.getLeverages(), plain.getLeverages(), {1e-12}));
    }
}

TEST(OLS, AliasedColumns) {
    const int n = 40;
    Matrix x = normalMatrix(n, 4, 3);
    for (int i = 0; i < n; ++i) x(i, 0) = 1e-3 * x(i, 3) + 1e-8 * x(i, 0);
    x(Util::all, 2) = x(Util::all, 0);
    const Vector y = normalVector(n, 4);
    // Without the twin everything that can be estimated is the same.
    const Model reduced = Model().fit(x(Util::all, Util::except(2)), y, true);
    IntVector rows = Util::range(0, n);
    for (unsigned seed = 1; seed <= 20; ++seed) {
        rows.shuffle(seed);
        const Matrix shuffled = x(rows, Util::all);
        const Model model = Model().fit(shuffled, Util::select(y, rows), true);
        // Of twins the later one is left out, whatever the order of the records.
        ASSERT_EQ(model.getEstimableColumns(), (IntVector{0, 1, 2, 4}));
        EXPECT_TRUE(allNear(model.getLeverages(), Util::select(reduced.getLeverages(), rows),
                            {1e-6, 1e-9}));
        EXPECT_TRUE(isNear(model.getANOVA().SSE, reduced.getANOVA().SSE, {1e-10}));
        EXPECT_EQ(model.computeFittedMulticollinearity(shuffled).eigenvalues.size(), 4u);
        EXPECT_EQ(model.computeMulticollinearity(shuffled).eigenvalues.size(), 5u);
    }
}

/// Columns of all magnitudes, with predictors of 0.01 and 1e12 (kind 0), with seconds since 1970
/// (1) or with a total of amounts in cents (2), and their rank with the constant.
std::pair<Matrix, int> designOf(int kind, int n, int p, unsigned seed) {
    Matrix x = normalMatrix(n, p, seed);
    if (kind == 2) {
        for (int i = 0; i < n; ++i) {
            double cents = 0.0;
            for (int j = 1; j < p; ++j) {
                const double amount =
                    std::round(std::pow(10.0, 10.0 * std::abs(std::sin(x(i, j)))));
                cents += amount;
                x(i, j) = amount / 100.0;
            }
            x(i, 0) = cents / 100.0;
        }
        return {x, p};
    }
    const Vector sizes{0.01, 1e12, 1e3, 1e-1, 1e6};
    for (int j = 0; j < p; ++j) x(Util::all, j) *= sizes[static_cast<std::uint64_t>(j) % 5];
    if (kind == 1) {
        for (int i = 0; i < n; ++i) x(i, 1) = 1.7e9 + std::pow(10.0, seed % 6) * i;
    }
    return {x, p + 1};
}

TEST(OLS, NeitherUnitsNorRoundedTotalsDecideTheRank) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        const int n = 12 + static_cast<int>(seed * seed % 400);
        const auto [x, rank] =
            designOf(static_cast<int>(seed % 3), n, 3 + static_cast<int>(seed % 4), seed);
        const Model model = Model().fit(x, normalVector(n, seed), true);
        EXPECT_EQ(model.getRank(), rank) << seed;
        const Matrix design = Engine::LinearModel::designMatrix(x, true);
        EXPECT_EQ(Engine::LinearModel::screenPredictors(design).rank, rank) << seed;
    }
}

// A record with a column of its own has leverage 1: its fit says nothing about it.
TEST(OLS, NothingIsSaidOfARecordWithLeverageOne) {
    for (unsigned seed = 1; seed <= 40; ++seed) {
        const int n = 60;
        Matrix x = normalMatrix(n, 5, seed) * 1e3;
        for (int i = 0; i < n; ++i) x(i, 1) += 4e4;
        x(Util::all, 2) *= 0.0;
        x(7, 2) = 1.0;
        const Vector y = normalVector(n, seed + 1);
        const Model model = Model().fit(x, y, true);
        ASSERT_EQ(model.getLeverages()[7], 1.0);
        const auto residuals = model.computeResiduals(y, model.predict(x));
        const auto influence = model.computeDiagnostics(residuals.raw);
        for (const Vector& values :
             {residuals.studentized, residuals.deleted, influence.deleteOneVariances,
              influence.dffits, influence.cooksDistances, influence.covarianceRatios}) {
            EXPECT_TRUE(std::isnan(values[7]));
            EXPECT_EQ(Util::countNaNInfinity(values), 1);
        }
    }
}

// Where the predictors explain nothing, rounding must not take R² out of its range.
TEST(OLS, DeterminationStaysInItsRange) {
    for (unsigned seed = 1; seed <= 50; ++seed) {
        Matrix x(40, 1);
        Vector y = normalVector(40, seed);
        for (int i = 0; i < 40; ++i) {
            x(i, 0) = i % 2 == 0 ? 1.0 : -1.0;
            y[static_cast<std::uint64_t>(i)] = y[static_cast<std::uint64_t>(i - i % 2)];
        }
        Model model;
        const auto evaluation = model.fit(x, y, true).computeFitEvaluation(y);
        EXPECT_GE(evaluation.R2, 0.0);
        EXPECT_LE(evaluation.adjustedR2, 0.0);
    }
}

TEST(OLS, SpecialShapes) {
    // As many coefficients as records.
    const Model saturated = Model().fit(kX(Util::range(0, 3), Util::all), Vector{1, 2, 4}, true);
    EXPECT_EQ(saturated.getANOVA().residualDf, 0.0);
    EXPECT_EQ(saturated.getANOVA().MSE, 0.0);
    EXPECT_TRUE(allNear(saturated.predict(kX(Util::range(0, 3), Util::all)), Vector{1, 2, 4},
                        {1e-12, 1e-12}));
    // More columns than records.
    EXPECT_EQ(Model().fit(normalMatrix(3, 6, 5), Vector{1, 2, 3}, false).getRank(), 3);
    // A constant response, whatever its value and weights.
    for (const double value : {3.0, 0.1, -1e10 / 3.0}) {
        const Vector same(5, value);
        const Model constant = Model().fit(kX, same, Vector{1, 0.1, 3, 0.7, 2}, true);
        EXPECT_EQ(constant.getANOVA().SST, 0.0);
        EXPECT_EQ(constant.computeFitEvaluation(same).R2, 1.0);
        EXPECT_EQ(constant.computeFitEvaluation(same).adjustedR2, 1.0);
    }
    // The intercept alone: the mean, its variance, and no regression to test.
    const Model mean = Model().fit(Matrix(5, 0), kY, true);
    EXPECT_TRUE(isNear(mean.getCoefficients()[0], 3.0, {1e-14, 0.0}));
    EXPECT_TRUE(std::isnan(mean.getANOVA().F));
    // Nothing but zeros without an intercept.
    const Model nothing = Model().fit(Matrix(5, 1), kY, false);
    EXPECT_EQ(nothing.getRank(), 0);
    EXPECT_TRUE(isNear(nothing.getANOVA().SSE, Util::innerProduct(kY), {1e-14, 0.0}));
}

// A record far out must not turn the intercept-only log-likelihood into minus infinity.
TEST(OLS, InterceptOnlyLikelihoodOfAnOutlier) {
    const int n = 4000;
    Vector y(static_cast<std::uint64_t>(n), 0.0);
    y[5] = 1e6;
    const Matrix x = normalMatrix(n, 1, 6);
    const Model model = Model().fit(x, y, true);
    const double variance = (1e12 - 1e12 / n) / (n - 1.0);
    const double expected =
        -0.5 * n * std::log(2.0 * 3.14159265358979323846 * variance) - 0.5 * (n - 1.0);
    EXPECT_TRUE(
        isNear(model.computeFitEvaluation(y).interceptOnlyLogLikelihood, expected, {1e-12, 0.0}));
}

TEST(OLS, WeightsAreKept) {
    const Vector weights{1, 2, 1, 0, 3};
    Model model = Model().fit(kX, kY, weights, true);
    const Vector weighted = model.getCoefficients();
    EXPECT_EQ(model.fit(kX, kY, true).getCoefficients(), weighted);
    // A whole-number weight counts a record that often, as far as the estimates go.
    const IntVector rows{0, 1, 1, 2, 4, 4, 4};
    model.setWeights({}).fit(kX(rows, Util::all), Util::select(kY, rows), true);
    EXPECT_TRUE(allNear(model.getCoefficients(), weighted, {1e-12, 1e-13}));
}

TEST(OLS, SandwichCovariance) {
    const Vector weights{1, 2, 1, 0.5, 3};
    // With variances that are the reciprocals of the weights the sandwich collapses to its bread.
    EXPECT_TRUE(Model::weightedCovarianceMatrix(kX, weights, Util::inverse(weights), true)
                    .equalTo(Model::covarianceMatrix(kX, weights, true), 1e-12));
}

TEST(OLS, UnfittedModelsAnswerNaN) {
    Model source;
    const Model taken = std::move(source.fit(kX, kY, true));
    const Model& model = source;  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(model.toJson(), Model().toJson());
    EXPECT_FALSE(model.rankDeficient());
    const auto residuals = model.computeResiduals(kY, kY);
    const auto diagnostics = model.computeDiagnostics(kY);
    const auto limits = model.computeFittedPredictionIntervals(kY, 0.95);
    const auto news = model.computeNewPredictionIntervals(kX, kY, 0.95);
    for (const Vector& values :
         {model.predict(kX), residuals.raw, residuals.deleted, diagnostics.dffits,
          diagnostics.leverages, limits.predictionUpper, news.confidenceLower}) {
        ASSERT_EQ(values.size(), 5u);
        EXPECT_EQ(Util::countNaNInfinity(values), 5);
    }
    EXPECT_EQ(Util::countNaNInfinity(model.computeMulticollinearity(kX).eigenvalues), 3);
    EXPECT_TRUE(std::isnan(model.computeFitEvaluation(kY).R2 + model.getANOVA().F));
}

TEST(OLS, BadInputIsRefusedAndLeavesTheModel) {
    const auto with = [](Vector values, std::uint64_t place, double value) {
        values[place] = value;
        return values;
    };
    const auto cells = [&](std::uint64_t place, double value) {
        return Matrix(5, 2, with(kX.getAsDoubleVector(), place, value));
    };
    expectRefused(
        Model().fit(kX, kY, true),
        {{"0 records, at least 1", [](Model&) { Model().fit(Matrix(0, 2), Vector(), true); }},
         {"0 columns, at least 1 expected", [](Model& m) { m.fit(Matrix(5, 0), kY, false); }},
         {"4 responses", [](Model& m) { m.fit(kX, Vector(4), true); }},
         {"row 3, column 1 is NaN", [&](Model& m) { m.fit(cells(8, kNaN), kY, true); }},
         {"row 0, column 0 is inf", [&](Model& m) { m.fit(cells(0, -kInfinity), kY, true); }},
         {"response, row 2 is NaN", [&](Model& m) { m.fit(kX, with(kY, 2, kNaN), true); }},
         {"4 weights, 5 expected", [](Model& m) { m.fit(kX, kY, Vector(4, 1.0), true); }},
         {"record 1 is -2", [&](Model& m) { m.fit(kX, kY, with(kY, 1, -2), true); }},
         {"record 4 is nan", [&](Model& m) { m.fit(kX, kY, with(kY, 4, kNaN), true); }},
         {"all weights are 0", [](Model& m) { m.fit(kX, kY, Vector(5), true); }},
         {"level 1, between 0 and 1 expected", [](Model& m) { m.computeCoefficientInfo(1.0); }},
         {"confidence level nan", [](Model& m) { m.computeFittedPredictionIntervals(kY, kNaN); }},
         {"3 columns, 2 expected", [](Model& m) { m.predict(Matrix(2, 3)); }},
         {"4 residuals, 5 expected", [](Model& m) { m.computeDiagnostics(Vector(4)); }},
         {"1 columns, 2", [](Model& m) { m.computeFittedMulticollinearity(Matrix(5, 1)); }},
         {"4 rows, 5 expected", [](Model& m) { m.computeMulticollinearity(Matrix(4, 2)); }}});
}

TEST(OLS, ACancelledFitLeavesTheModel) {
    const Matrix x = normalMatrix(20000, 5, 3);
    const Vector y = normalVector(20000, 4);
    expectCancelled(Model().fit(kX, kY, true), "Fitting the regression",
                    [&](Model& m) { m.fit(x, y, Vector(20000, 1.0), true); });
}

// What a fit cannot have given is refused, and an older file, without column names, is read.
TEST(OLS, StoredNumbersMustFitTogether) {
    const Model model = Model().fit(kX, kY, true);
    EXPECT_EQ(model.toJson().toUtf8().find("columns"), std::string::npos);
    expectDamageRefused(model, {{"\"rank\":3", "\"rank\":2", "estimable"},
                                {"\"rank\":3", "\"rank\":4", "rank"},
                                {"\"numRows\":5", "\"numRows\":-5", "numRows"},
                                {"\"numRows\":5", "\"numRows\":4", "anova"},
                                {"\"numCols\":3", "\"numCols\":0", "numCols"},
                                {"\"estimable\":[0,1,2]", "\"estimable\":[0,1,3]", "estimable"},
                                {"\"estimable\":[0,1,2]", "\"estimable\":[0,2,1]", "estimable"},
                                {"\"residualDf\":2", "\"residualDf\":3", "anova"},
                                {"\"regressionDf\":2", "\"regressionDf\":1", "anova"},
                                {"\"totalDf\":4", "\"totalDf\":5", "anova"},
                                {"\"leverages\":[0", "\"leverages\":[-0", "leverages"},
                                {"\"leverages\":[0", "\"leverages\":[1", "leverages"},
                                {"\"weights\":[1,1", "\"weights\":[1,-1", "weight of record 1"},
                                {"\"weights\":[1,1", "\"weights\":[1", "weights"},
                                {"\"weights\":[1,1,1,1,1]", "\"weights\":[0,0,0,0,0]", "weights"}});
}

TEST(DesignMatrix, Forms) {
    using namespace Engine::LinearModel;
    EXPECT_EQ(weightedDesignMatrix(kX, Vector{4, 9, 1, 0, 16}, false)(4, 0), 80.0);
    EXPECT_THROW(weightedDesignMatrix(kX, Vector(4), true), Exception);
    EXPECT_EQ(designMatrix(Matrix(3, 0), true).getNumCols(), 1);
}

TEST(Collinearity, ColumnsThatAddNothing) {
    Matrix x = kX;
    x.insertColumn(1, Vector(5));
    const auto result = Engine::LinearModel::Model::multicollinearity(x);
    EXPECT_EQ(result.eigenvalues[0], 0.0);
    EXPECT_EQ(result.conditionIndices[0], kInfinity);
    EXPECT_EQ(result.varianceProportions(1, 0), 1.0);
    EXPECT_EQ(result.varianceProportions(0, 0), 0.0);
    // A repeated column: a component of length 0 that carries the whole variance of both.
    x.insertColumn(1, x.getSubColumn(Util::range(0, 5), 0));
    const auto repeated =
        Engine::LinearModel::Model::multicollinearity(x(Util::all, Util::except(2)));
    EXPECT_LT(repeated.eigenvalues[0], 1e-30);
    EXPECT_GT(repeated.conditionIndices[0], 1e14);
    EXPECT_NEAR(repeated.varianceProportions(1, 0), 1.0, 1e-12);
    EXPECT_NEAR(Util::sum(repeated.varianceProportions(2, Util::all)), 1.0, 1e-12);
}

// Dependent columns are set aside wherever they stand, and do not disturb what comes after them.
TEST(DesignMatrix, ScreeningKeepsIndependentColumnsInOrder) {
    const int n = 300;
    Matrix x = normalMatrix(n, 7, 21);
    x(Util::all, 1) *= 1e-9;  // small, but independent
    const IntVector rows = Util::range(0, n);
    x(Util::all, 3) = x.getSubColumn(rows, 0);                                        // a copy
    x(Util::all, 4) *= 0.0;                                                           // zeros
    x(Util::all, 5) = x.getSubColumn(rows, 0) * 2.0 + x.getSubColumn(rows, 1) * 1e9;  // a sum
    const auto info = Engine::LinearModel::screenPredictors(x);
    EXPECT_EQ(info.columns, (IntVector{0, 1, 2, 6}));
    EXPECT_EQ(info.rank, 4);
    // What is left of the last column is what a regression on the kept ones before it leaves.
    const Model model =
        Model().fit(x(Util::all, IntVector{0, 1, 2}), x.getSubColumn(Util::range(0, n), 6), false);
    EXPECT_TRUE(isNear(info.diagonal[6], std::sqrt(model.getANOVA().SSE), {1e-10, 0.0}));
}

}  // namespace
}  // namespace Veltrix::Testing
