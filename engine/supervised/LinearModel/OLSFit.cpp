#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Distributions.h"
#include "Veltrix/Engine/LinearModel/OLS.h"
#include "engine/core/Checks.h"
#include "engine/supervised/LinearModel/LeastSquares.h"

namespace Veltrix::Engine::LinearModel::OLS {
namespace {

constexpr const char* kOperation = "Linear regression";

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

Model::Model(Model&& other) noexcept
    : LinearModel::Model(std::move(other)),
      FrameForms(std::move(other)),
      statistics_(std::exchange(other.statistics_, {})) {}

Model& Model::operator=(Model&& other) noexcept {
    Statistics statistics = std::exchange(other.statistics_, {});
    FrameColumns columns = std::exchange(other.columns_, {});
    LinearModel::Model::operator=(std::move(other));
    statistics_ = std::move(statistics);
    columns_ = std::move(columns);
    return *this;
}

Model& Model::fit(const Matrix& x, const Vector& y, bool intercept) {
    if (!getWeights().empty()) return fit(x, y, getWeights(), intercept);
    Model fitted;
    fitted.fitHelper({x, intercept}, y);
    fitted.Weightable::fit(y);
    fitted.computeANOVA(y);
    return *this = std::move(fitted);
}

Model& Model::fit(const Matrix& x, const Vector& y, const Vector& weights, bool intercept) {
    Checks::weights(kOperation, weights, x.getNumRows(), true);
    Model fitted;
    const Vector roots = Veltrix::Util::sqrt(weights);
    fitted.fitHelper({x, intercept, &roots}, y);
    fitted.setWeights(weights);
    fitted.computeANOVA(y);
    return *this = std::move(fitted);
}

void Model::fitHelper(const DesignRows& design, const Vector& y) {
    LeastSquares found = solveLeastSquares(design, y);
    solution_.intercept = design.intercept;
    solution_.numRows = design.getNumRows();
    solution_.numCols = design.getNumCols();
    solution_.rank = found.rank;
    solution_.tolerance = found.tolerance;
    solution_.coefficients = std::move(found.coefficients);
    solution_.columnNorms = std::move(found.diagonal);
    solution_.estimable = std::move(found.estimable);
    const double residualDf = solution_.numRows - solution_.rank;
    const double mse = residualDf > 0.0 ? found.residualSumOfSquares / residualDf : 0.0;
    statistics_.anova.residualDf = residualDf;
    statistics_.anova.MSE = mse;
    statistics_.leverages = std::move(found.leverages);
    statistics_.covariance = std::move(found.unscaledCovariance);
    statistics_.covariance *= mse;
    solution_.fitted = true;
}

const ANOVA& Model::computeANOVA(const Vector& y) {
    ANOVA& anova = statistics_.anova;
    if (!solution_.fitted) return anova;
    anova.totalDf = solution_.intercept ? solution_.numRows - 1 : solution_.numRows;
    anova.regressionDf = anova.totalDf - anova.residualDf;
    anova.SSE = anova.residualDf * anova.MSE;
    anova.SST = computeSST(y, getWeights(), solution_.intercept);
    // Rounding may leave SSE a little above SST.
    anova.SSR = std::max(anova.SST - anova.SSE, 0.0);
    anova.MST = anova.SST / anova.totalDf;
    // Without regression degrees of freedom what is left of SSR is rounding, not a mean square.
    anova.MSR = anova.regressionDf > 0.0 ? anova.SSR / anova.regressionDf
                                         : std::numeric_limits<double>::quiet_NaN();
    anova.standardErrorOfEstimate = std::sqrt(anova.MSE);
    anova.F = anova.MSR / anova.MSE;
    anova.pValue = Distributions::fUpperTail(anova.F, anova.regressionDf, anova.residualDf);
    return anova;
}

double Model::computeSST(const Vector& y, const Vector& weights, bool intercept) {
    Vector centred = y;
    if (intercept) centred -= Vector(y.size(), Veltrix::Util::weightedMean(y, weights));
    return Veltrix::Util::sum(centred * centred * weights);
}

Vector Model::predict(const Matrix& x) const {
    if (!solution_.fitted) {
        return Vector(static_cast<std::uint64_t>(x.getNumRows()),
                      std::numeric_limits<double>::quiet_NaN());
    }
    Checks::columns(kOperation, x.getNumCols(), numPredictors());
    const auto first = static_cast<std::ptrdiff_t>(solution_.intercept ? 1 : 0);
    const Vector& coefficients = solution_.coefficients;
    Vector predictions = x * Vector(coefficients.begin() + first, coefficients.end());
    if (solution_.intercept) predictions += coefficients[0];
    return predictions;
}

static_assert(std::is_nothrow_move_constructible_v<Model>);
static_assert(std::is_nothrow_move_assignable_v<Model>);

}  // namespace Veltrix::Engine::LinearModel::OLS
