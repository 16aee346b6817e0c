#include "engine/supervised/LinearModel/LeastSquares.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "engine/core/Checks.h"
#include "engine/supervised/LinearModel/ColumnRank.h"

namespace Veltrix::Engine::LinearModel {
namespace {

/// Upper bound of the condition number of R with columns scaled to unit length (which scaling the
/// predictors does not change), in the Frobenius norm.
double scaledCondition(const Matrix& r, const Matrix& inverse) {
    double lengths = 0.0;
    for (int j = 0; j < r.getNumCols(); ++j) {
        const double column =
            Veltrix::Util::norm(r(Veltrix::Util::all, j), NormType::euclidean, false);
        const double row =
            Veltrix::Util::norm(inverse(j, Veltrix::Util::all), NormType::euclidean, false);
        lengths = std::hypot(lengths, column * row);
    }
    return std::sqrt(static_cast<double>(r.getNumCols())) * lengths;
}

/// Relative error to expect of the solution (Wedin 1973): ε κ(1 + κ tan θ), θ the angle between b
/// and the columns.
double expectedError(double condition, double fittedLength, double residualLength) {
    const double tangent = fittedLength > 0.0 ? residualLength / fittedLength : 0.0;
    return std::numeric_limits<double>::epsilon() * condition * (1.0 + condition * tangent);
}

/// Small problems are refined always; of large ones, whose passes cost time, those that are not
/// right to eleven digits already.
bool worthRefining(const DesignRows& design, const Matrix& r, const Matrix& inverse,
                   const Vector& fitted, double residualSumOfSquares) {
    constexpr double kSmallSize = 131072.0;
    constexpr double kSufficient = 1e-11;
    const double size = static_cast<double>(design.getNumRows()) * design.getNumCols();
    if (size <= kSmallSize) return true;
    return expectedError(scaledCondition(r, inverse),
                         std::sqrt(Veltrix::Util::innerProduct(fitted)),
                         std::sqrt(residualSumOfSquares)) > kSufficient;
}

/// Improves the solution by steps (RᵀR)⁻¹Dᵀ(b − Dβ) with exactly formed right-hand sides, as long
/// as they shrink (Björck 1987, corrected seminormal equations).
void refine(const DesignRows& design, const Vector& b, const IntVector& columns,
            const Matrix& inverse, double squaredLength, Vector& coefficients) {
    constexpr int kMostSteps = 5;
    double previous = squaredLength;
    ProgressPhase phase("Refining the coefficients", kMostSteps);
    for (int step = 0; step < kMostSteps; ++step) {
        const Vector residual =
            Veltrix::Util::select(normalResidual(design, b, coefficients), columns);
        const Vector scaled = Veltrix::Util::transpose(inverse) * residual;
        const double length = Veltrix::Util::innerProduct(scaled);
        // Squared lengths: a step has to be a tenth of the one before, or it is rounding.
        if (!(length < 0.01 * previous)) return;
        previous = length;
        const Vector change = inverse * scaled;
        for (std::uint64_t k = 0; k < columns.size(); ++k) {
            coefficients[static_cast<std::uint64_t>(columns[k])] += change[k];
        }
        phase.advance();
    }
}

/// A leverage is at most 1, and one that misses it by rounding only is 1: what divides by 1 − h
/// would be noise.
double roundedLeverage(double leverage) {
    constexpr double kRounding = 64.0 * std::numeric_limits<double>::epsilon();
    return leverage >= 1.0 - kRounding ? 1.0 : leverage;
}

}  // namespace

LeastSquares solveLeastSquares(const DesignRows& design, const Vector& b) {
    Checks::atLeast("Least squares", "records", design.getNumRows(), 1);
    Checks::atLeast("Least squares", "columns", design.getNumCols(), 1);
    const int n = design.getNumRows();
    const int p = design.getNumCols();
    ProgressPhase phase("Fitting the regression", 3);
    ColumnRank f = factoriseColumns(triangularise(design, b), p, n, ColumnOrder::longestFirst);
    const IntVector& columns = f.columns;
    phase.advance();

    LeastSquares result;
    result.rank = static_cast<int>(columns.size());
    result.diagonal = std::move(f.diagonal);
    result.tolerance = rankTolerance(result.diagonal, n);
    result.estimable = columns;
    std::sort(result.estimable.begin(), result.estimable.end());
    const auto split = f.rotated.begin() + result.rank;
    const Vector fitted(f.rotated.begin(), split);
    result.residualSumOfSquares = Veltrix::Util::innerProduct(Vector(split, f.rotated.end()));

    const Matrix inverse =
        Matrix::solveTriangularSystem(f.r, Veltrix::Util::eye(result.rank, result.rank),
                                      SideType::left, TriangularityType::upper, false, 1.0);
    const Vector solution = Matrix::solveTriangularSystem(f.r, fitted, SideType::left,
                                                          TriangularityType::upper, false, 1.0);
    result.coefficients.assign(static_cast<std::uint64_t>(p), 0.0);
    for (std::uint64_t k = 0; k < columns.size(); ++k) {
        result.coefficients[static_cast<std::uint64_t>(columns[k])] = solution[k];
    }
    if (worthRefining(design, f.r, inverse, fitted, result.residualSumOfSquares)) {
        refine(design, b, columns, inverse, Veltrix::Util::innerProduct(fitted),
               result.coefficients);
    }
    phase.advance();
    result.unscaledCovariance = Matrix(p, p);
    result.unscaledCovariance.set(columns, columns, inverse * Veltrix::Util::transpose(inverse));
    result.leverages = rowSquaredNorms(design, columns, inverse);
    for (double& leverage : result.leverages) leverage = roundedLeverage(leverage);
    return result;
}

}  // namespace Veltrix::Engine::LinearModel
