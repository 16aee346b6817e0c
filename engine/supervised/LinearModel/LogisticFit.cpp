#include <limits>
#include <span>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/LinearModel/Logistic.h"
#include "engine/core/Checks.h"
#include "engine/supervised/LinearModel/ColumnRank.h"
#include "engine/supervised/LinearModel/LogisticLikelihood.h"
#include "engine/supervised/LinearModel/Newton.h"

namespace Veltrix::Engine::LinearModel::Logistic {
namespace {

constexpr const char* kOperation = "Logistic regression";

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
      found_(std::exchange(other.found_, {})) {}

Model& Model::operator=(Model&& other) noexcept {
    const Found found = std::exchange(other.found_, {});
    FrameColumns columns = std::exchange(other.columns_, {});
    LinearModel::Model::operator=(std::move(other));
    found_ = found;
    columns_ = std::move(columns);
    return *this;
}

Model& Model::fit(const Matrix& x, const Vector& y, int maxIterations, bool intercept) {
    if (!getWeights().empty()) return fit(x, y, getWeights(), maxIterations, intercept);
    Model fitted;
    fitted.Weightable::fit(y);
    fitted.fitHelper({x, intercept}, y, fitted.getWeights(), maxIterations);
    return *this = std::move(fitted);
}

Model& Model::fit(const Matrix& x, const Vector& y, const Vector& weights, int maxIterations,
                  bool intercept) {
    Checks::weights(kOperation, weights, x.getNumRows(), true);
    Model fitted;
    fitted.fitHelper({x, intercept}, y, weights, maxIterations);
    fitted.setWeights(weights);
    return *this = std::move(fitted);
}

void Model::fitHelper(const DesignRows& design, const Vector& y, const Vector& weights,
                      int maxIterations) {
    Checks::atLeast(kOperation, "records", design.getNumRows(), 1);
    Checks::atLeast(kOperation, "columns", design.getNumCols(), 1);
    checkResponses(y, design.getNumRows());
    LogisticEstimates estimates = maximiseLikelihood({design, y, weights}, maxIterations);
    solution_.intercept = design.intercept;
    solution_.numRows = design.getNumRows();
    solution_.numCols = design.getNumCols();
    solution_.rank = static_cast<int>(estimates.columns.size());
    solution_.tolerance = rankTolerance(estimates.diagonal, solution_.numRows);
    solution_.coefficients.assign(static_cast<std::uint64_t>(solution_.numCols), 0.0);
    for (std::uint64_t k = 0; k < estimates.columns.size(); ++k) {
        solution_.coefficients[static_cast<std::uint64_t>(estimates.columns[k])] =
            estimates.coefficients[k];
    }
    solution_.columnNorms = std::move(estimates.diagonal);
    solution_.estimable = std::move(estimates.columns);
    found_.numIterations = estimates.numIterations;
    found_.residualDeviance = estimates.deviance;
    solution_.fitted = true;
}

Matrix Model::posteriorProbability(const Matrix& x) const {
    Matrix result(x.getNumRows(), 2, std::numeric_limits<double>::quiet_NaN());
    if (!solution_.fitted) return result;
    Checks::columns(kOperation, x.getNumCols(), numPredictors());
    double* const success = result.data();
    double* const failure = success + x.getNumRows();
    readProducts({x, solution_.intercept}, Veltrix::Util::range(0, solution_.numCols),
                 solution_.coefficients,
                 [=](std::uint64_t first, std::span<const double> products) {
                     successProbabilities(products, success + first, failure + first);
                 });
    return result;
}

Matrix Model::posteriorProbability(const DataFrame& x) const {
    return posteriorProbability(columns_.toMatrix(x));
}

static_assert(std::is_nothrow_move_constructible_v<Model>);
static_assert(std::is_nothrow_move_assignable_v<Model>);

}  // namespace Veltrix::Engine::LinearModel::Logistic
