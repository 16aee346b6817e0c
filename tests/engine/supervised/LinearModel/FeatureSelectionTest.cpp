// Subset searches against results computed elsewhere (origin and tolerances in
// tests/reference/learners/README.md), against plain enumeration, and their histories.
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/engine/Refusals.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using namespace Engine::LinearModel::FeatureSelection;
namespace LinearModel = Engine::LinearModel;
constexpr Algorithm kAll[] = {Algorithm::backwardElimination, Algorithm::forwardSelection,
                              Algorithm::bestSubsets, Algorithm::sequentialReplacement,
                              Algorithm::stepwiseRegression};

/// The bordered cross-product matrix.
Matrix crossProduct(const Matrix& x, const Vector& y, bool intercept) {
    Matrix whole = LinearModel::designMatrix(x, intercept);
    whole.insertColumn(whole.getNumCols(), y);
    return Util::transpose(whole) * whole;
}

/// The columns of a model as predictors.
IntVector predictorsOf(const History& history, int model) {
    const int first = history.hasIntercept() ? 1 : 0;
    IntVector result;
    for (const int j : history.getColumns(model)) {
        if (j >= first) result.push_back(j - first);
    }
    return result;
}

IntVector toIndexes(const std::vector<double>& values) {
    return IntVector(values.begin(), values.end());
}

class SelectionReference : public testing::TestWithParam<const char*> {
  protected:
    History search(Algorithm algorithm, double fIn, double fOut, int numSubsets,
                   int maxSize) const {
        const bool exhaustive = false;
        return LinearModel::OLS::Model::featureSelection(algorithm, x, y, {}, intercept, &fIn,
                                                         &fOut, &numSubsets, &exhaustive, maxSize);
    }
    double rss(const History& history, int model) const {
        return history.getModelStatistics().residualSumOfSquares[static_cast<std::uint64_t>(model)];
    }

    const ReferenceData reference{std::string("learners/") + GetParam() + ".selection"};
    const CsvData data{"learners/" + reference.text("data")};
    const Matrix x = columnsOf(data, reference.texts("predictors"));
    const Vector y = toVector(data.numbers(reference.text("response")));
    const bool intercept = reference.scalar("intercept") != 0.0;
    const int p = x.getNumCols();
    const Tolerance tolerance{1e-9};
};

TEST_P(SelectionReference, ForwardSelection) {
    for (const ReferenceData& item : reference.parts("forward", "f_in")) {
        const double fIn = item.scalar("f_in");
        const int maxSize = item.integer("max_size");
        const History history = search(Algorithm::forwardSelection, fIn, 0.0, 1, maxSize);
        Matrix s = crossProduct(x, y, intercept);
        const History swept = forwardSelection(s, x.getNumRows(), fIn, intercept, maxSize);
        const auto entered = item.vector("entered");
        const int first = intercept ? 1 : 0;
        ASSERT_EQ(history.getNumModels(), static_cast<int>(entered.size()) + first);
        ASSERT_TRUE(swept.getSubsets().equalTo(history.getSubsets(), 0.0));
        for (std::size_t i = 0; i < entered.size(); ++i) {
            const int model = static_cast<int>(i) + first;
            const auto column = static_cast<int>(entered[i]) + first;
            EXPECT_EQ(history.getSubsets()(model, column), 1.0);
            EXPECT_EQ(history.getSizes()[model], model + 1);
            const double f = item.vector("f")[i];
            EXPECT_TRUE(isNear(history.getStatistics()[model], f, tolerance));
            EXPECT_TRUE(isNear(swept.getStatistics()[model], f, tolerance));
            EXPECT_TRUE(isNear(rss(history, model), item.vector("rss")[i], tolerance));
        }
        EXPECT_TRUE(isNear(Util::residualSumOfSquares(s), rss(history, history.getNumModels() - 1),
                           tolerance));
    }
}

TEST_P(SelectionReference, RemovalAndExchange) {
    const ReferenceData removal = reference.part("customary_backward");
    const double fOut = removal.scalar("f_out");
    const History backward = search(Algorithm::backwardElimination, 0.0, fOut, 1, p);
    const auto f = removal.has("f") ? removal.vector("f") : std::vector<double>();
    const int steps = static_cast<int>(f.size());
    ASSERT_EQ(backward.getNumModels(), steps + 1);
    EXPECT_EQ(predictorsOf(backward, steps), toIndexes(removal.vector("final")));
    EXPECT_TRUE(isNear(rss(backward, 0), reference.scalar("full_rss"), tolerance));
    for (int i = 1; i <= steps; ++i) {
        const auto place = static_cast<std::size_t>(i) - 1;
        EXPECT_TRUE(isNear(backward.getStatistics()[i], f[place], tolerance));
        EXPECT_TRUE(isNear(rss(backward, i), removal.vector("rss")[place], tolerance));
    }
    const ReferenceData exchange = reference.part("customary_stepwise");
    const History stepwise = search(Algorithm::stepwiseRegression, exchange.scalar("f_in"),
                                    exchange.scalar("f_out"), 1, p);
    const Table path = exchange.matrix("path");
    const int first = intercept ? 1 : 0;
    ASSERT_EQ(stepwise.getNumModels(), static_cast<int>(path.rows) + first);
    for (std::size_t i = 0; i < path.rows; ++i) {
        const int model = static_cast<int>(i) + first;
        const int column = static_cast<int>(path(i, 1)) + first;
        EXPECT_EQ(stepwise.getSubsets()(model, column), path(i, 0) > 0.0 ? 1.0 : 0.0);
        EXPECT_TRUE(isNear(stepwise.getStatistics()[model], path(i, 2), tolerance));
    }
}

TEST_P(SelectionReference, BestSubsets) {
    const History best = search(Algorithm::bestSubsets, 0.0, 0.0, 3, p);
    int model = 0;
    for (const ReferenceData& item : reference.parts("best_subsets", "size")) {
        const auto expected = item.vector("rss");
        const Table subsets = item.matrix("subsets");
        for (std::size_t i = 0; i < expected.size(); ++i, ++model) {
            ASSERT_LT(model, best.getNumModels());
            EXPECT_TRUE(isNear(rss(best, model), expected[i], tolerance));
            IntVector columns;
            for (std::size_t j = 0; j < subsets.columns; ++j) {
                columns.push_back(static_cast<int>(subsets(i, j)));
            }
            EXPECT_EQ(predictorsOf(best, model), columns);
        }
    }
    EXPECT_EQ(best.getNumModels(), model);
}

INSTANTIATE_TEST_SUITE_P(Data, SelectionReference,
                         testing::Values("cement", "hills_nointercept_sel", "mtcars_all"));

using Line = std::vector<double>;

double product(const Line& a, const Line& b) {
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

/// Takes the part along the direction out of a line.
void project(Line& line, const Line& direction) {
    const double factor = product(line, direction) / product(direction, direction);
    for (std::size_t i = 0; i < line.size(); ++i) line[i] -= factor * direction[i];
}

/// RSS of every subset, ascending for every size: each set of columns is extended by every later
/// one, made orthogonal to the set.
class Enumeration {
  public:
    Enumeration(const Matrix& x, Vector y, const Vector& w, bool intercept)
        : rss_(static_cast<std::size_t>(x.getNumCols()) + 1) {
        const Vector roots = Util::sqrt(w);
        Line response = weighted(y, roots);
        for (int j = 0; j < x.getNumCols(); ++j) {
            columns_.push_back(weighted(Convert::toDoubleVector(x(Util::all, j)), roots));
        }
        if (intercept) {
            basis_.emplace_back(roots.begin(), roots.end());
            project(response, basis_[0]);
        }
        extend(0, 0, response);
        for (auto& list : rss_) std::ranges::sort(list);
    }
    const std::vector<Line>& rss() const { return rss_; }

  private:
    static Line weighted(Vector values, const Vector& roots) {
        for (std::uint64_t i = 0; i < values.size(); ++i) values[i] *= roots[i];
        return {values.begin(), values.end()};
    }
    void extend(std::size_t first, std::size_t size, const Line& residual) {
        for (std::size_t j = first; j < columns_.size(); ++j) {
            Line direction = columns_[j];
            for (int pass = 0; pass < 2;
                 ++pass) {  // the second one mends the rounding of the first
                for (const Line& known : basis_) project(direction, known);
            }
            Line rest = residual;
            project(rest, direction);
            rss_[size + 1].push_back(product(rest, rest));
            basis_.push_back(std::move(direction));
            extend(j + 1, size + 1, rest);
            basis_.pop_back();
        }
    }

    std::vector<Line> columns_;
    std::vector<Line> basis_;
    std::vector<Line> rss_;
};

/// Problems of all kinds: ties among whole numbers, columns far from 0, an aliased one, weights
/// with zeros.
struct RandomProblem {
    Matrix x;
    Vector y, w;
    bool intercept;
    int independent;

    RandomProblem(unsigned seed, int p)
        : x(Util::gaussianMatrix(24, p, MatrixOrderType::columnMajor, 0.0, 1.0, seed)),
          w(24, 1.0),
          intercept(seed % 2 == 0),
          independent(seed % 4 == 3 ? p - 1 : p) {
        for (int j = 0; j < p; ++j) {
            for (int i = 0; i < 24; ++i) {
                if (seed % 3 == 1) x(i, j) = std::round(x(i, j));
                if (seed % 10 == 2) x(i, j) += 1e4;
            }
        }
        if (independent < p) (x(Util::all, p - 1) = x(Util::all, 2)) *= -2.0;
        const Vector noise =
            Util::gaussianMatrix(24, 1, MatrixOrderType::columnMajor, 0.0, 1.0, seed + 100)
                .getAsDoubleVector();
        Vector slopes{0.5, 0, -0.5, 0, 1, 0, 0};
        slopes.resize(static_cast<std::uint64_t>(p));
        y = x * slopes + noise;
        if (seed % 3 == 2) {
            for (int i = 0; i < 24; ++i) w[i] = i % 4;
        }
    }
};

TEST(BestSubsets, AreThoseOfPlainEnumeration) {
    for (unsigned seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        const RandomProblem problem(seed, 12);
        const Enumeration plain(problem.x(Util::all, Util::range(0, problem.independent)),
                                problem.y, problem.w, problem.intercept);
        const int numSubsets = static_cast<int>(seed) % 4 + 1;
        for (const bool exhaustive : {false, true}) {
            const History best = LinearModel::OLS::Model::featureSelection(
                Algorithm::bestSubsets, problem.x, problem.y, problem.w, problem.intercept, nullptr,
                nullptr, &numSubsets, &exhaustive, 100);
            int model = 0;
            for (const auto& list : plain.rss()) {
                const auto count = std::min(list.size(), static_cast<std::size_t>(numSubsets));
                for (std::size_t i = 0; i < count; ++i, ++model) {
                    ASSERT_LT(model, best.getNumModels());
                    EXPECT_TRUE(isNear(best.getStatistics()[model], list[i], {1e-9}));
                }
            }
            EXPECT_EQ(best.getNumModels(), model);
            EXPECT_EQ(best.getSubsets().getNumCols(), 12 + (problem.intercept ? 1 : 0));
        }
    }
}

// The statistics of every recorded model are those of a fit of its own.
TEST(FeatureSelection, StatisticsAreThoseOfFits) {
    const RandomProblem problem(2, 7);
    const auto& [x, y, w, intercept, independent] = problem;
    const double n = x.getNumRows();
    const double mean = Util::mean(y);
    Vector classes = y;
    for (double& value : classes) value = value > mean ? 1.0 : 0.0;
    const auto full = LinearModel::OLS::Model().fit(x, y, w, true);
    const Tolerance within{1e-8, 1e-8};
    for (const Algorithm algorithm : kAll) {
        const History linear = LinearModel::OLS::Model::featureSelection(
            algorithm, x, y, w, true, nullptr, nullptr, nullptr, nullptr, 5);
        const ModelStatistics& found = linear.getModelStatistics();
        ASSERT_GT(linear.getNumModels(), 1);
        for (int m = 1; m < linear.getNumModels(); ++m) {
            const Matrix chosen = x(Util::all, predictorsOf(linear, m));
            const auto model = LinearModel::OLS::Model().fit(chosen, y, w, true);
            const auto fit = model.computeFitEvaluation(y);
            const double k = model.getRank();
            const double cp = model.getANOVA().SSE / full.getANOVA().MSE - n + 2.0 * k;
            EXPECT_TRUE(isNear(found.cp[m], cp, within));
            EXPECT_TRUE(isNear(found.adjustedR2[m], fit.adjustedR2, within));
            EXPECT_TRUE(isNear(found.aic[m], -2 * fit.logLikelihood + 2 * (k + 1), within));
        }
        const History logistic = LinearModel::Logistic::Model::featureSelection(
            algorithm, x, classes, w, 50, true, nullptr, nullptr, nullptr, nullptr, 4);
        for (int m = 1; m < logistic.getNumModels(); ++m) {
            const Matrix chosen = x(Util::all, predictorsOf(logistic, m));
            const auto fit = LinearModel::Logistic::Model()
                                 .fit(chosen, classes, w, 50, true)
                                 .computeFitEvaluation(classes);
            EXPECT_EQ(logistic.getModelStatistics().pseudoR2[m], fit.pseudoR2);
        }
    }
}

TEST(FeatureSelection, LimitsOfSize) {
    const RandomProblem problem(4, 7);
    Matrix s = crossProduct(problem.x, problem.y, true);
    Matrix other = s;
    EXPECT_EQ(forwardSelection(s, 24, 0.0, true, 0).getSizes(), (IntVector{1}));
    EXPECT_EQ(backwardElimination(other, 24, 0.0, true, 6).getSizes(), (IntVector{8, 7}));
}

TEST(FeatureSelection, HistoryRecordsAndFilters) {
    History history(false, 9, 3);
    history.addVariable(1, 5.0);
    history.addVariable(2, 4.0);
    history.removeVariable(1, 3.0);
    history.recordFullModel(1.0);
    history.recordSubset({0}, 2.0);
    history.recordSubset({1}, 3.0);
    EXPECT_EQ(history.getSizes(), (IntVector{1, 2, 1, 3, 1, 1}));
    EXPECT_EQ(history.getColumns(2), (IntVector{2}));
    EXPECT_TRUE(refuses([&] { history.addVariable(3, 0.0); }, "column 3"));
    EXPECT_EQ(history.getNumModels(), 6);
    history.filterSubsets(2);
    EXPECT_EQ(history.getSizes(), (IntVector{1, 1, 2, 3}));
    EXPECT_EQ(history.getStatistics(), (Vector{2, 3, 4, 1}));
    EXPECT_EQ(history.getColumns(0), (IntVector{0}));
    EXPECT_EQ(history.getColumns(1), (IntVector{2}));  // of equal ones the first
}

TEST(FeatureSelection, BadInputIsRefused) {
    const RandomProblem problem(2, 7);
    const auto select = [&](Algorithm algorithm, double fOut, int numSubsets, int maxSize) {
        const double fIn = 1.0;
        (void)LinearModel::OLS::Model::featureSelection(algorithm, problem.x, problem.y, {}, true,
                                                        &fIn, &fOut, &numSubsets, nullptr, maxSize);
    };
    EXPECT_TRUE(refuses([&] { select(Algorithm::stepwiseRegression, 2.0, 1, 3); }, "F-out"));
    EXPECT_TRUE(refuses([&] { select(Algorithm::bestSubsets, 1.0, 0, 3); }, "0 subsets"));
    EXPECT_TRUE(refuses([&] { select(Algorithm(6), 1.0, 1, 3); }, "algorithm"));
    Matrix flat(3, 4);
    EXPECT_THROW(forwardSelection(flat, 24, 1.0, true, 3), NumElementsMismatch);
    Matrix aliased = crossProduct(RandomProblem(3, 7).x, problem.y, false);
    const Matrix before = aliased;
    EXPECT_TRUE(refuses([&] { backwardElimination(aliased, 24, 3.0, false, 7); }, "column 6"));
    EXPECT_TRUE(aliased.equalTo(before, 0.0));
}

}  // namespace
}  // namespace Veltrix::Testing
