#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Distributions.h"
#include "Veltrix/Engine/LinearModel/OLS.h"
#include "engine/core/Checks.h"
#include "engine/supervised/LinearModel/Collinearity.h"
#include "engine/supervised/LinearModel/LeastSquares.h"

namespace Veltrix::Engine::LinearModel::OLS {
namespace {

constexpr const char* kOperation = "Linear regression";
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Vector unknown(std::uint64_t length) { return Vector(length, kNaN); }

/// Student-t quantile at (1 + confidence)/2.
double criticalValue(double confidence, double residualDf) {
    Checks::inside(kOperation, "confidence level", confidence, 0.0, 1.0);
    return Distributions::studentTQuantile(0.5 + 0.5 * confidence, residualDf);
}

/// Limits around predictions: half widths q·s·√h and q·s·√(1 + h).
PredictionIntervals intervalsAround(const Vector& predictions, const Vector& leverages,
                                    double halfWidth) {
    PredictionIntervals result;
    const Vector confidence = Veltrix::Util::sqrt(leverages) * halfWidth;
    const Vector prediction = Veltrix::Util::sqrt(leverages + 1.0) * halfWidth;
    result.confidenceLower = predictions - confidence;
    result.confidenceUpper = predictions + confidence;
    result.predictionLower = predictions - prediction;
    result.predictionUpper = predictions + prediction;
    return result;
}

/// dᵀ Cov d for every row d of the design matrix of X, in row blocks to bound the memory.
Vector newLeverages(const Matrix& x, bool intercept, const Matrix& covariance) {
    constexpr int kBlockRows = 4096;
    Vector result;
    result.reserve(static_cast<std::uint64_t>(x.getNumRows()));
    ProgressPhase phase("Computing leverages", static_cast<std::uint64_t>(x.getNumRows()));
    for (int first = 0; first < x.getNumRows(); first += kBlockRows) {
        const IntVector rows =
            Veltrix::Util::range(first, std::min(first + kBlockRows, x.getNumRows()));
        const Matrix design = designMatrix(x(rows, Veltrix::Util::all), intercept);
        const Matrix products = (design * covariance) % design;
        for (const double value :
             products* Vector(static_cast<std::uint64_t>(products.getNumCols()), 1.0)) {
            result.push_back(value);
        }
        phase.advance(rows.size());
    }
    return result;
}

/// 1 − h; NaN at leverage 1, where the record alone decides its fit and nothing is left to judge
/// it by.
Vector restsOf(const Vector& leverages) {
    Vector rests = 1.0 - leverages;
    for (double& rest : rests) {
        if (rest == 0.0) rest = kNaN;
    }
    return rests;
}

/// Power by repeated squaring: as exact as the product and far cheaper than the general power.
double wholePower(double base, int exponent) {
    double result = 1.0;
    for (; exponent > 0; exponent /= 2) {
        if (exponent % 2 == 1) result *= base;
        base *= base;
    }
    return result;
}

PredictionIntervals unknownIntervals(std::uint64_t records) {
    return {unknown(records), unknown(records), unknown(records), unknown(records)};
}

}  // namespace

CoefficientInfo Model::computeCoefficientInfo(double confidence) const {
    const std::uint64_t p = solution_.coefficients.size();
    if (!solution_.fitted) return {};
    const double q = criticalValue(confidence, statistics_.anova.residualDf);
    CoefficientInfo info;
    info.estimates = solution_.coefficients;
    info.standardErrors = Veltrix::Util::sqrt(Veltrix::Util::diag(statistics_.covariance));
    info.tStatistics = info.estimates / info.standardErrors;
    info.pValues = unknown(p);
    for (std::uint64_t j = 0; j < p; ++j) {
        info.pValues[j] = 2.0 * Distributions::studentTUpperTail(std::abs(info.tStatistics[j]),
                                                                 statistics_.anova.residualDf);
    }
    info.lowerConfidenceLimits = info.estimates - q * info.standardErrors;
    info.upperConfidenceLimits = info.estimates + q * info.standardErrors;
    return info;
}

FitEvaluation Model::computeFitEvaluation(const Vector& y) const {
    FitEvaluation result;
    if (!solution_.fitted) return result;
    const ANOVA& anova = statistics_.anova;
    const Vector& w = getWeights();
    Checks::onePerRecord(kOperation, "responses", y.size(), solution_.numRows);
    const double n = solution_.numRows;
    const bool constant = anova.SST == 0.0;
    // Rounding may leave SSE a little above SST.
    const double unexplained = constant ? 0.0 : std::clamp(anova.SSE / anova.SST, 0.0, 1.0);
    result.R2 = 1.0 - unexplained;
    result.adjustedR2 = constant ? 1.0 : 1.0 - unexplained * (anova.totalDf / anova.residualDf);
    result.logLikelihood =
        -0.5 * n * (std::log(2.0 * std::numbers::pi) + std::log(anova.SSE / n) + 1.0);

    const double totalWeight = Veltrix::Util::sum(w);
    const auto m = static_cast<double>(
        std::count_if(w.begin(), w.end(), [](double weight) { return weight != 0.0; }));
    const double sigma = std::sqrt(anova.SST / (totalWeight * (m - 1.0) / m));
    const double mean = Veltrix::Util::weightedMean(y, w);
    // The logarithm of the density is formed directly: the density itself would underflow for a
    // record some 38 standard deviations out.
    const Vector z = (y - mean) / sigma;
    const double constantPart = -std::log(sigma) - 0.5 * std::log(2.0 * std::numbers::pi);
    result.interceptOnlyLogLikelihood =
        totalWeight * constantPart - 0.5 * Veltrix::Util::sum(w * z * z);
    return result;
}

FitEvaluation Model::computeFitEvaluation(const ConstDataFrameColumn& y) const {
    return computeFitEvaluation(Convert::toDoubleVector(y));
}

Vector Model::computeDelete1Variance(const Vector& residuals) const {
    const ANOVA& anova = statistics_.anova;
    const Vector rests = restsOf(statistics_.leverages);
    Vector variances(residuals.size());
    for (std::uint64_t i = 0; i < residuals.size(); ++i) {
        const double e = residuals[i];
        const double left = anova.SSE - e * e / rests[i];
        // In this order a NaN (at leverage 1) stays a NaN.
        variances[i] = (left < 0.0 ? 0.0 : left) / (anova.residualDf - 1.0);
    }
    return variances;
}

Residuals Model::computeResiduals(const Vector& y, const Vector& fitted) const {
    const std::uint64_t n = y.size();
    if (!solution_.fitted) return {unknown(n), unknown(n), unknown(n), unknown(n)};
    Checks::onePerRecord(kOperation, "responses", n, solution_.numRows);
    Residuals result;
    result.raw = y - fitted;
    const Vector spread = Veltrix::Util::sqrt(restsOf(statistics_.leverages));
    result.standardized = result.raw / statistics_.anova.standardErrorOfEstimate;
    result.studentized = result.standardized / spread;
    result.deleted =
        result.raw / (Veltrix::Util::sqrt(computeDelete1Variance(result.raw)) * spread);
    return result;
}

Diagnostics Model::computeDiagnostics(const Vector& residuals) const {
    const std::uint64_t n = residuals.size();
    if (!solution_.fitted) return {unknown(n), unknown(n), unknown(n), unknown(n), unknown(n)};
    Checks::onePerRecord(kOperation, "residuals", n, solution_.numRows);
    Diagnostics result;
    result.leverages = statistics_.leverages;
    result.deleteOneVariances = computeDelete1Variance(residuals);
    for (Vector* field : {&result.dffits, &result.cooksDistances, &result.covarianceRatios}) {
        field->resize(n);
    }
    const double mse = statistics_.anova.MSE;
    const Vector rests = restsOf(result.leverages);
    for (std::uint64_t i = 0; i < n; ++i) {
        const double e = residuals[i];
        const double h = result.leverages[i];
        const double variance = result.deleteOneVariances[i];
        const double rest = rests[i];
        result.dffits[i] = std::sqrt(h) * e / (std::sqrt(variance) * rest);
        result.cooksDistances[i] = e * e * h / (solution_.rank * mse * rest * rest);
        result.covarianceRatios[i] = wholePower(variance / mse, solution_.rank) / rest;
    }
    return result;
}

PredictionIntervals Model::computeFittedPredictionIntervals(const Vector& fitted,
                                                            double confidence) const {
    if (!solution_.fitted) return unknownIntervals(fitted.size());
    Checks::onePerRecord(kOperation, "fitted values", fitted.size(), solution_.numRows);
    const double q = criticalValue(confidence, statistics_.anova.residualDf);
    return intervalsAround(fitted, statistics_.leverages,
                           q * statistics_.anova.standardErrorOfEstimate);
}

PredictionIntervals Model::computeNewPredictionIntervals(const Matrix& x, const Vector& predicted,
                                                         double confidence) const {
    if (!solution_.fitted) return unknownIntervals(predicted.size());
    const double q = criticalValue(confidence, statistics_.anova.residualDf);
    Checks::onePerRecord(kOperation, "predictions", predicted.size(), x.getNumRows());
    return intervalsAround(
        predicted,
        newLeverages(x, solution_.intercept, statistics_.covariance) / statistics_.anova.MSE,
        q * statistics_.anova.standardErrorOfEstimate);
}

/// Triangle of the root-weighted design matrix of X, which has to have the training records.
Matrix Model::weightedTriangle(const Matrix& x) const {
    Checks::onePerRecord(kOperation, "rows", static_cast<std::uint64_t>(x.getNumRows()),
                         solution_.numRows);
    return rootWeightedTriangle(x, solution_.intercept, getWeights());
}

Multicollinearity Model::computeMulticollinearity(const Matrix& x) const {
    const int p = x.getNumCols() + (solution_.intercept ? 1 : 0);
    if (!solution_.fitted) return unknownCollinearity(p);
    return collinearityDiagnostics(weightedTriangle(x));
}

Multicollinearity Model::computeFittedMulticollinearity(const Matrix& x) const {
    const int p = x.getNumCols() + (solution_.intercept ? 1 : 0);
    if (!solution_.fitted) return unknownCollinearity(p);
    Checks::columns(kOperation, x.getNumCols(), numPredictors());
    return collinearityDiagnostics(weightedTriangle(x)(Veltrix::Util::all, solution_.estimable));
}

Matrix Model::covarianceMatrix(const Matrix& x, const Vector& weights, bool intercept) {
    const Vector roots = Veltrix::Util::sqrt(weights);
    const Vector none(static_cast<std::uint64_t>(x.getNumRows()));
    return solveLeastSquares({x, intercept, &roots}, none).unscaledCovariance;
}

Matrix Model::weightedCovarianceMatrix(const Matrix& x, const Vector& weights,
                                       const Vector& variances, bool intercept) {
    const Matrix bread = covarianceMatrix(x, weights, intercept);
    const Vector scale = weights * Veltrix::Util::sqrt(variances);
    const Matrix meat = weightedDesignMatrix(x, scale, intercept) * bread;
    return Veltrix::Util::transpose(meat) * meat;
}

}  // namespace Veltrix::Engine::LinearModel::OLS
