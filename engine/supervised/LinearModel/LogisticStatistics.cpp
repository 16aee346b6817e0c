#include <cmath>
#include <limits>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Distributions.h"
#include "Veltrix/Engine/LinearModel/Logistic.h"
#include "engine/core/Checks.h"
#include "engine/supervised/LinearModel/Collinearity.h"
#include "engine/supervised/LinearModel/LogisticLikelihood.h"
#include "engine/supervised/LinearModel/Newton.h"

namespace Veltrix::Engine::LinearModel::Logistic {
namespace {

constexpr const char* kOperation = "Logistic regression";
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

}  // namespace

void Model::checkTrainingShape(const Matrix& x) const {
    Checks::onePerRecord(kOperation, "rows", static_cast<std::uint64_t>(x.getNumRows()),
                         solution_.numRows);
    Checks::columns(kOperation, x.getNumCols(), numPredictors());
}

Matrix Model::computeVarianceCovariance(const Matrix& x) const {
    const int p = numColumnsFor(x);
    if (!solution_.fitted) return Matrix(p, p, kNaN);
    checkTrainingShape(x);
    const Vector& w = getWeights();
    const IntVector& columns = solution_.estimable;
    // The information does not depend on the response.
    const Vector none(w.size(), 0.0);
    const Information found = information({{x, solution_.intercept}, none, w}, columns,
                                          Veltrix::Util::select(solution_.coefficients, columns));
    const int rank = found.r.getNumCols();
    const Matrix inverse =
        Matrix::solveTriangularSystem(found.r, Veltrix::Util::eye(rank, rank), SideType::left,
                                      TriangularityType::upper, false, 1.0);
    const int k = static_cast<int>(columns.size());
    Matrix estimable(k, k, kNaN);
    estimable.set(found.places, found.places, inverse * Veltrix::Util::transpose(inverse));
    Matrix result(p, p);
    result.set(columns, columns, estimable);
    return result;
}

Matrix Model::computeVarianceCovariance(const DataFrame& x) const {
    return computeVarianceCovariance(columns_.toMatrix(x));
}

CoefficientInfo Model::computeCoefficientInfo(const Matrix& x, double confidence) const {
    const auto p = static_cast<std::uint64_t>(numColumnsFor(x));
    const Vector unknown(p, kNaN);
    if (!solution_.fitted) return {unknown, unknown, unknown, unknown, unknown, unknown, unknown};
    Checks::inside(kOperation, "confidence level", confidence, 0.0, 1.0);
    CoefficientInfo info;
    info.estimates = solution_.coefficients;
    info.standardErrors = Veltrix::Util::sqrt(Veltrix::Util::diag(computeVarianceCovariance(x)));
    const Vector ratios = info.estimates / info.standardErrors;
    info.waldStatistics = ratios * ratios;
    info.pValues = unknown;
    for (std::uint64_t j = 0; j < p; ++j) {
        info.pValues[j] = Distributions::chiSquareUpperTail(info.waldStatistics[j], 1.0);
    }
    const double z = Distributions::normalQuantile(0.5 + 0.5 * confidence);
    info.lowerConfidenceLimits = info.estimates - z * info.standardErrors;
    info.upperConfidenceLimits = info.estimates + z * info.standardErrors;
    info.odds = Veltrix::Util::exp(info.estimates);
    return info;
}

CoefficientInfo Model::computeCoefficientInfo(const DataFrame& x, double confidence) const {
    return computeCoefficientInfo(columns_.toMatrix(x), confidence);
}

FitEvaluation Model::computeFitEvaluation(const Vector& y) const {
    FitEvaluation result;
    if (!solution_.fitted) return result;
    Checks::onePerRecord(kOperation, "responses", y.size(), solution_.numRows);
    const Vector& w = getWeights();
    const double totalWeight = Veltrix::Util::sum(w);
    const double share = solution_.intercept ? Veltrix::Util::weightedMean(y, w) : 0.5;
    result.numIterations = found_.numIterations;
    result.residualDeviance = found_.residualDeviance;
    result.nullDeviance =
        -2.0 * totalWeight * (share * std::log(share) + (1.0 - share) * std::log(1.0 - share));
    result.pseudoR2 = 1.0 - result.residualDeviance / result.nullDeviance;
    result.residualDf = totalWeight - solution_.numCols;
    return result;
}

FitEvaluation Model::computeFitEvaluation(const ConstDataFrameColumn& y) const {
    return computeFitEvaluation(Convert::toDoubleVector(y));
}

Multicollinearity Model::computeMulticollinearity(const Matrix& x) const {
    if (!solution_.fitted) return unknownCollinearity(numColumnsFor(x));
    Checks::onePerRecord(kOperation, "rows", static_cast<std::uint64_t>(x.getNumRows()),
                         solution_.numRows);
    return collinearityDiagnostics(rootWeightedTriangle(x, solution_.intercept, getWeights()));
}

Multicollinearity Model::computeFittedMulticollinearity(const Matrix& x) const {
    if (!solution_.fitted) return unknownCollinearity(numColumnsFor(x));
    checkTrainingShape(x);
    return collinearityDiagnostics(rootWeightedTriangle(x, solution_.intercept, getWeights())(
        Veltrix::Util::all, solution_.estimable));
}

Matrix Model::informationMatrix(const Matrix& design, const Vector& weights,
                                const Vector& probabilities, int blockRows) {
    for (const Vector* values : {&weights, &probabilities}) {
        Checks::onePerRecord(kOperation, values == &weights ? "weights" : "probabilities",
                             values->size(), design.getNumRows());
    }
    return normalEquations(
               {design}, Veltrix::Util::range(0, design.getNumCols()), {},
               [&](std::uint64_t first, std::span<const double> /*products*/, std::span<double> v,
                   std::span<double> r) {
                   for (std::size_t i = 0; i < v.size(); ++i) {
                       const double probability = probabilities[first + i];
                       v[i] = weights[first + i] * probability * (1.0 - probability);
                       r[i] = 0.0;
                   }
               },
               blockRows)
        .crossProduct;
}

}  // namespace Veltrix::Engine::LinearModel::Logistic
