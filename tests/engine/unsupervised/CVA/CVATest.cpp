// Canonical variates: reference results (see tests/reference/learners/README.md), what defines
// them, bad input.
#include <cmath>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/CVA.h"
#include "tests/engine/Refusals.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::CVA::Model;

/// Columns with each's sign that of the expected one.
Matrix turned(Matrix a, const Matrix& expected) {
    for (int j = 0; j < a.getNumCols(); ++j) {
        double product = 0.0;
        for (int i = 0; i < a.getNumRows(); ++i) product += a(i, j) * expected(i, j);
        if (product < 0.0) a(Util::all, j) *= -1.0;
    }
    return a;
}

TEST(CVA, ReferenceResults) {
    const ReferenceData reference("learners/crabs_groups.cva");
    const CsvData csv("learners/" + reference.text("data"));
    const auto codes = csv.numbers(reference.text("class"));
    const IntVector classes(codes.begin(), codes.end());
    const Matrix expected = toMatrix(reference.matrix("coefficients"));
    for (const auto order : {MatrixOrderType::columnMajor, MatrixOrderType::rowMajor}) {
        const Matrix x = columnsOf(csv, reference.texts("columns"), order);
        const Model model = Model().fit(x, classes);
        EXPECT_TRUE(allNear(model.getEigenvalues(), reference.vector("eigenvalues"), {1e-8, 0.0}));
        const Matrix found = turned(model.getCoefficients(), expected);
        EXPECT_TRUE(found.equalTo(expected, 1e-9));
        const Matrix scores = toMatrix(reference.matrix("scores"), order);
        EXPECT_TRUE(turned(model.transform(x), scores).equalTo(scores, 1e-8));
    }
}

// Scores have scatter 1 within the classes and λ between them, and none across variates, whatever
// the units and however far from 0 the data lie; classes of one record count between only.
TEST(CVA, ScoresAreUncorrelatedWithinAndBetweenClasses) {
    const int n = 400;
    Matrix x = Util::gaussianMatrix(n, 4, MatrixOrderType::columnMajor, 0.0, 1.0, 8);
    IntVector classes;
    for (int i = 0; i < n; ++i) {
        classes.push_back(i == 0 ? 77 : i % 3 - 5);
        x(i, 1) += 2.0 * (i % 3);
        x(i, 3) += i % 3 == 1 ? 1.0 : 0.0;
    }
    x(Util::all, 0) *= 1e9;
    x(Util::all, 2) *= 1e-9;
    for (int i = 0; i < n; ++i) x(i, 1) += std::ldexp(1.0, 20);
    const Model model = Model().fit(x, classes);
    ASSERT_EQ(model.getCoefficients().getNumCols(), 3);
    const GroupStatistic of = Util::groupStatistic(model.transform(x), classes, false, true);
    EXPECT_TRUE((of.getPooledCovariance() * (n - 4.0)).equalTo(Util::eye(3, 3), 1e-8));
    Matrix means = of.getGroupMean();
    for (int c = 0; c < 4; ++c) {
        means(Util::all, c) += -of.getPooledMean();
        means(Util::all, c) *= std::sqrt(of.getGroupSizes()[static_cast<std::uint64_t>(c)]);
    }
    const Matrix between = means * Util::transpose(means);
    EXPECT_TRUE(allNear(Util::diag(between), model.getEigenvalues(), {1e-7, 0.0}));
    EXPECT_NEAR(between(0, 2), 0.0, 1e-7 * between(2, 2));
}

TEST(CVA, ASingleClassLeavesTheCoefficientsAsTheyWere) {
    const Matrix x = Util::gaussianMatrix(20, 3, MatrixOrderType::rowMajor, 5.0, 1.0, 8);
    IntVector classes(20, 1);
    Model model = Model().fit(x, classes);
    EXPECT_TRUE(model.getCoefficients().empty());
    EXPECT_EQ(model.transform(x).getNumCols(), 0);
    classes[3] = classes[7] = 4;
    const Matrix coefficients = model.fit(x, classes).getCoefficients();
    EXPECT_EQ(coefficients.getNumCols(), 1);
    EXPECT_TRUE(model.fit(x, IntVector(20, 2)).getCoefficients().equalTo(coefficients, 0.0));
}

TEST(CVA, FramesAreMatchedByName) {
    const CsvData csv("learners/iris.csv");
    const std::vector<std::string> names{"Petal.Width", "Sepal.Length", "Petal.Length"};
    DataFrame response;
    response.append(toStrings(csv.texts("Species")));
    const Matrix x = columnsOf(csv, names);
    const DataFrame frame = Convert::toDataFrame(x, {L"w", L"s", L"p"});
    const Model model = Model().fit(frame, response(Util::all, 0));
    const DataFrame scores = model.transform(frame(Util::all, IntVector{1, 2, 0}));
    EXPECT_EQ(scores.getColName(1), L"Variate 2");
    EXPECT_TRUE(Convert::toMatrix(scores).equalTo(model.transform(x), 0.0));
}

TEST(CVA, RefusesWhatHasNoAnswerAndKeepsTheModel) {
    const Matrix x = Util::gaussianMatrix(12, 3, MatrixOrderType::columnMajor, 0.0, 1.0, 5);
    const IntVector classes{4, 9, 2, 4, 9, 2, 4, 9, 2, 4, 9, 2};
    const Model fitted = Model().fit(x, classes);
    Matrix hole = x;
    hole(4, 2) = std::numeric_limits<double>::quiet_NaN();
    Matrix flat = x;  // constant within the classes
    for (int i = 0; i < 12; ++i) flat(i, 1) = i % 3;
    Matrix twice = x;
    twice(Util::all, 2) = Convert::toDoubleVector(x(Util::all, 0));
    expectRefused(
        fitted,
        {{"(4, 2) is NaN", [&](Model& m) { m.fit(hole, classes); }},
         {"column 1 (counted from 0) does not vary", [&](Model& m) { m.fit(flat, classes); }},
         {"column 2 (counted from 0) depends", [&](Model& m) { m.fit(twice, classes); }},
         {"0 degrees of freedom", [&](Model& m) { m.fit(x, Util::range(0, 12)); }},
         {"11 classes, 12 expected", [&](Model& m) { m.fit(x, IntVector(11, 0)); }},
         {"0 records", [](Model& m) { m.fit(Matrix(0, 3), IntVector()); }},
         {"2 columns, 3 expected", [](Model& m) { m.transform(Matrix(3, 2)); }},
         {"not fitted", [&](Model&) { Model().transform(x); }}});
}

}  // namespace
}  // namespace Veltrix::Testing
