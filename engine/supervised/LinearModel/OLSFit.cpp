#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Distributions.h"
#include "Veltrix/Engine/LinearModel/OLS.h"
#include "engine/supervised/LinearModel/LeastSquares.h"

namespace Veltrix::Engine::LinearModel::OLS {
namespace {

void checkWeights(const Matrix& x, const Vector& weights) {
    const auto n = static_cast<std::uint64_t>(x.getNumRows());
    if (weights.size() != n) {
        throw Exception("Linear regression: " + std::to_string(n) + " records, " +
                        std::to_string(weights.size()) + " weights");
    }
    bool anyPositive = false;
    for (std::uint64_t i = 0; i < n; ++i) {
        if (!(weights[i] >= 0.0) || std::isinf(weights[i])) {
            throw Exception("Linear regression: weight of record " + std::to_string(i) + " is " +
                            Convert::toString(weights[i]).toUtf8() +
                            ", expected a finite number of at least 0");
        }
        anyPositive = anyPositive || weights[i] > 0.0;
    }
    if (n > 0 && !anyPositive) throw Exception("Linear regression: all weights are 0");
}

}  // namespace

Model::~Model() = default;

Model& Model::setWeights(const Vector& weights) {
    LinearModel::Model::setWeights(weights);
    return *this;
}

Model& Model::normalizeWeights() {
    LinearModel::Model::normalizeWeights();
    return *this;
}

Model& Model::fit(const Matrix& x, const Vector& y, bool intercept) {
    if (!getWeights().empty()) return fit(x, y, Vector(getWeights()), intercept);
    fitHelper({x, intercept}, y);
    Weightable::fit(y);
    computeANOVA(y);
    return *this;
}

Model& Model::fit(const Matrix& x, const Vector& y, const Vector& weights, bool intercept) {
    checkWeights(x, weights);
    const Vector roots = Veltrix::Util::sqrt(weights);
    fitHelper({x, intercept, &roots}, y);
    setWeights(weights);
    computeANOVA(y);
    return *this;
}

Model& Model::fit(const DataFrame& x, const ConstDataFrameColumn& y, bool intercept) {
    return fit(Convert::toMatrix(x), Convert::toDoubleVector(y), intercept);
}

Model& Model::fit(const DataFrame& x, const ConstDataFrameColumn& y,
                  const ConstDataFrameColumn& weights, bool intercept) {
    return fit(Convert::toMatrix(x), Convert::toDoubleVector(y), Convert::toDoubleVector(weights),
               intercept);
}

void Model::fitHelper(const DesignRows& design, const Vector& y) {
    LeastSquares solution = solveLeastSquares(design, y);
    intercept_ = design.intercept;
    numRows_ = design.getNumRows();
    numCols_ = design.getNumCols();
    rank_ = solution.rank;
    tolerance_ = solution.tolerance;
    coefficients_ = std::move(solution.coefficients);
    columnNorms_ = std::move(solution.diagonal);
    estimable_ = std::move(solution.estimable);
    leverages_ = std::move(solution.leverages);
    anova_.residualDf = numRows_ - rank_;
    anova_.MSE = anova_.residualDf > 0.0 ? solution.residualSumOfSquares / anova_.residualDf : 0.0;
    covariance_ = std::move(solution.unscaledCovariance);
    covariance_ *= anova_.MSE;
    fitted_ = true;
}

const ANOVA& Model::computeANOVA(const Vector& y) {
    if (!fitted_) return anova_;
    anova_.totalDf = intercept_ ? numRows_ - 1 : numRows_;
    anova_.regressionDf = anova_.totalDf - anova_.residualDf;
    anova_.SSE = anova_.residualDf * anova_.MSE;
    anova_.SST = computeSST(y, getWeights(), intercept_);
    // Rounding may leave SSE a little above SST.
    anova_.SSR = std::max(anova_.SST - anova_.SSE, 0.0);
    anova_.MST = anova_.SST / anova_.totalDf;
    // Without regression degrees of freedom what is left of SSR is rounding, not a mean square.
    anova_.MSR = anova_.regressionDf > 0.0 ? anova_.SSR / anova_.regressionDf
                                           : std::numeric_limits<double>::quiet_NaN();
    anova_.standardErrorOfEstimate = std::sqrt(anova_.MSE);
    anova_.F = anova_.MSR / anova_.MSE;
    anova_.pValue = Distributions::fUpperTail(anova_.F, anova_.regressionDf, anova_.residualDf);
    return anova_;
}

double Model::computeSST(const Vector& y, const Vector& weights, bool intercept) {
    Vector centred = y;
    if (intercept) centred -= Vector(y.size(), Veltrix::Util::weightedMean(y, weights));
    return Veltrix::Util::sum(centred * centred * weights);
}

Vector Model::predict(const Matrix& x) const {
    if (!fitted_) {
        return Vector(static_cast<std::uint64_t>(x.getNumRows()),
                      std::numeric_limits<double>::quiet_NaN());
    }
    const int predictors = numCols_ - (intercept_ ? 1 : 0);
    if (x.getNumCols() != predictors) {
        throw Exception("Linear regression: " + std::to_string(x.getNumCols()) +
                        " columns to predict from, the model has " + std::to_string(predictors));
    }
    const auto first = static_cast<std::ptrdiff_t>(intercept_ ? 1 : 0);
    Vector predictions = x * Vector(coefficients_.begin() + first, coefficients_.end());
    if (intercept_) predictions += coefficients_[0];
    return predictions;
}

Vector Model::predict(const DataFrame& x) const { return predict(Convert::toMatrix(x)); }

static_assert(std::is_nothrow_move_constructible_v<Model>);
static_assert(std::is_nothrow_move_assignable_v<Model>);

}  // namespace Veltrix::Engine::LinearModel::OLS
