// Principal components: reference results (see tests/reference/learners/README.md), units, bad
// input.
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/PCA.h"
#include "tests/engine/Refusals.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::PCA::Model;

/// 1e-9, or 1e-10 of the largest entry.
template <class Actual>
testing::AssertionResult matches(const Actual& actual, const std::vector<double>& expected) {
    double largest = 0.0;
    for (const double value : expected) largest = std::max(largest, std::fabs(value));
    return allNear(actual, expected, {1e-9, 1e-10 * largest});
}

TEST(PCA, ReferenceResults) {
    for (const std::string name : {"attitude_cov", "usarrests_corr", "mtcars_corr_raw"}) {
        const ReferenceData reference("learners/" + name + ".pca");
        const CsvData csv("learners/" + reference.text("data"));
        const int method = reference.text("matrix") == "covariance" ? 1 : 2;
        for (const auto order : {MatrixOrderType::columnMajor, MatrixOrderType::rowMajor}) {
            SCOPED_TRACE(name);
            const Matrix x = columnsOf(csv, reference.texts("columns"), order);
            const Model model = Model({method}).fit(x);
            EXPECT_TRUE(matches(model.getEigenvalues(), reference.vector("eigenvalues")));
            EXPECT_TRUE(
                matches(rowsOf(model.getEigenvectors()), reference.flattened("eigenvectors")));
            const Vector explained = model.explainedVariance();
            EXPECT_TRUE(matches(explained, reference.vector("explained_percent")));
            EXPECT_TRUE(matches(Model::explainedCumulativeVariance(explained),
                                reference.vector("cumulative_percent")));
            for (const ReferenceData& item : reference.parts("projections", "components")) {
                const Matrix scores = model.transform(x, item.integer("components"));
                EXPECT_TRUE(matches(rowsOf(scores), item.flattened("scores")));
                // Differences of squares as large as those of the record itself.
                const double rounding =
                    1e-14 * Util::maxValue(Model::qStat(x, Matrix(x.getNumRows(), 0)));
                EXPECT_TRUE(allNear(Model::qStat(x, scores), item.vector("q"), {1e-9, rounding}));
                EXPECT_TRUE(matches(model.tStat(scores), item.vector("t2")));
            }
        }
    }
}

// A rotation of independent columns is found again, many blocks of records long and of columns that
// depend on others; what has no variance is passed over in T².
TEST(PCA, FindsARotationAgain) {
    const int n = 20000;
    Matrix x = Util::gaussianMatrix(n, 3, MatrixOrderType::columnMajor, 0.0, 1.0, 5);
    x(Util::all, 0) *= 8.0;
    x(Util::all, 1) *= 4.0;
    x(Util::all, 2) *= 0.0;
    const double c = 0.6;
    const double s = 0.8;
    const Matrix turn(3, 3, Vector{c, s, 0.0, -s, c, 0.0, 0.0, 0.0, 1.0});
    const Matrix turned = x * Util::transpose(turn);
    const Model model = Model().fit(turned);
    EXPECT_NEAR(model.getEigenvalues()[0] / 64.0, 1.0, 0.05);
    EXPECT_EQ(model.getEigenvalues()[2], 0.0);
    EXPECT_NEAR(model.getEigenvectors()(1, 0), s, 0.02);
    const Matrix scores = model.transform(turned, 3);
    EXPECT_LT(Util::maxValue(Util::absolute(Model::qStat(turned, scores))), 1e-10);
    const Vector t = model.tStat(scores);
    EXPECT_NEAR(Util::mean(t), 2.0, 0.05);
    const Matrix last = turned(IntVector{n - 1}, Util::all);
    EXPECT_NEAR(model.transform(last, 1)(0, 0), scores(n - 1, 0), 1e-12);
}

TEST(PCA, FramesAreMatchedByName) {
    const CsvData csv("learners/mtcars_raw.csv");
    const std::vector<std::string> names{"wt", "mpg", "hp"};
    const Matrix x = columnsOf(csv, names);
    const DataFrame frame = Convert::toDataFrame(x, {L"wt", L"mpg", L"hp"});
    const Model model = Model({0}).fit(frame);
    DataFrame other = frame(Util::all, IntVector{2, 0, 1});
    other.setName(L"cars");
    const DataFrame scores = model.transform(other, 2);
    EXPECT_EQ(scores.getName(), L"Scores: cars");
    EXPECT_EQ(scores.getColName(1), L"Component 2");
    EXPECT_TRUE(Convert::toMatrix(scores).equalTo(model.transform(x, 2), 0.0));
}

TEST(PCA, RefusesWhatHasNoAnswerAndKeepsTheModel) {
    const Matrix x = Util::gaussianMatrix(9, 3, MatrixOrderType::rowMajor, 0.0, 1.0, 5);
    Matrix constant = x;
    constant(Util::all, 1) = Vector(9, 0.1);
    Matrix hole = x;
    hole(4, 2) = std::numeric_limits<double>::quiet_NaN();
    const Model fitted = Model({2}).fit(x);
    const DataFrame named = Convert::toDataFrame(constant, {L"a", L"b", L"c"});
    expectRefused(fitted,
                  {{"column 1 is constant", [&](Model& m) { m.fit(constant); }},
                   {"column 1 (\"b\") is constant", [&](Model& m) { m.fit(named); }},
                   {"column 0 is constant", [](Model& m) { m.fit(Matrix(3, 1, 7.0)); }},
                   {"(4, 2) is NaN", [&](Model& m) { m.fit(hole); }},
                   {"(4, 2) is NaN", [&](Model&) { Model({1}).fit(hole); }},
                   {"0 columns", [](Model& m) { m.fit(Matrix(3, 0)); }},
                   {"number of components 4", [&](Model& m) { m.transform(x, 4); }},
                   {"-1 components", [&](Model& m) { m.transform(x, -1); }},
                   {"2 columns, 3 expected", [](Model& m) { m.transform(Matrix(3, 2), 1); }},
                   {"8 rows of scores, 9", [&](Model&) { (void)Model::qStat(x, Matrix(8, 2)); }},
                   {"number of components 4", [](Model& m) { (void)m.tStat(Matrix(3, 4)); }}});
    EXPECT_THROW(Model(fitted).fit(x(IntVector{0}, Util::all)), TooFewNumRows);
    EXPECT_NO_THROW(Model().fit(constant));
    EXPECT_TRUE(std::isnan(Model().transform(x, 2)(8, 1)));
}

}  // namespace
}  // namespace Veltrix::Testing
