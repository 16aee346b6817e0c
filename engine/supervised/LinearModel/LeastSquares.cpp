#include "engine/supervised/LinearModel/LeastSquares.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Util.h"

namespace Veltrix::Engine::LinearModel {
namespace {

/// The pivoted factorisation of the triangle of D, with Qᵀb and the positions that count.
struct PivotedTriangle {
    QR qr;
    Vector rotated;      // Qᵀb, p entries
    double outside = 0;  // squared length of b outside the column space of D
    double tolerance = 0;
    IntVector positions;  // kept positions k, |R(k, k)| > tolerance
    IntVector columns;    // design column of each kept position
};

PivotedTriangle factorise(const DesignRows& design, const Vector& b) {
    const int n = design.getNumRows();
    const int p = design.getNumCols();
    const Matrix triangle = triangularise(design, b);
    const IntVector leading = Veltrix::Util::range(0, p);

    PivotedTriangle result;
    result.qr = triangle(leading, leading).qr();
    result.rotated = result.qr.qMultiply(triangle.getSubColumn(leading, p), SideType::left, true);
    result.outside = triangle(p, p) * triangle(p, p);
    // The triangle has p rows; rank is judged by the size of D.
    const Matrix& r = result.qr.r();
    result.tolerance = std::max(n, p) * std::numeric_limits<double>::epsilon() * std::abs(r(0, 0));
    for (int k = 0; k < p; ++k) {
        if (std::abs(r(k, k)) > result.tolerance) {
            result.positions.push_back(k);
            result.columns.push_back(result.qr.p()[static_cast<std::uint64_t>(k)]);
        }
    }
    return result;
}

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
bool worthRefining(const DesignRows& design, const PivotedTriangle& f, const Matrix& r,
                   const Matrix& inverse, double residualSumOfSquares) {
    constexpr double kSmallSize = 131072.0;
    constexpr double kSufficient = 1e-11;
    const double size = static_cast<double>(design.getNumRows()) * design.getNumCols();
    if (size <= kSmallSize) return true;
    return expectedError(scaledCondition(r, inverse),
                         std::sqrt(Veltrix::Util::innerProduct(f.rotated)),
                         std::sqrt(residualSumOfSquares)) > kSufficient;
}

/// Improves the solution by steps (RᵀR)⁻¹Dᵀ(b − Dβ) with exactly formed right-hand sides, as long
/// as they shrink (Björck 1987, corrected seminormal equations).
void refine(const DesignRows& design, const Vector& b, const PivotedTriangle& f,
            const Matrix& inverse, Vector& coefficients) {
    constexpr int kMostSteps = 5;
    double previous = Veltrix::Util::innerProduct(f.rotated);
    for (int step = 0; step < kMostSteps; ++step) {
        const Vector residual =
            Veltrix::Util::select(normalResidual(design, b, coefficients), f.columns);
        const Vector scaled = Veltrix::Util::transpose(inverse) * residual;
        const double length = Veltrix::Util::innerProduct(scaled);
        // Squared lengths: a step has to be a tenth of the one before, or it is rounding.
        if (!(length < 0.01 * previous)) return;
        previous = length;
        const Vector change = inverse * scaled;
        for (std::uint64_t k = 0; k < f.columns.size(); ++k) {
            coefficients[static_cast<std::uint64_t>(f.columns[k])] += change[k];
        }
    }
}

}  // namespace

LeastSquares solveLeastSquares(const DesignRows& design, const Vector& b) {
    if (design.getNumRows() == 0) throw Exception("Least squares: no records");
    if (design.getNumCols() == 0) throw Exception("Least squares: no columns");
    const auto p = static_cast<std::uint64_t>(design.getNumCols());
    const PivotedTriangle f = factorise(design, b);
    const Matrix& r = f.qr.r();

    LeastSquares result;
    result.tolerance = f.tolerance;
    result.rank = static_cast<int>(f.positions.size());
    result.estimable = f.columns;
    std::sort(result.estimable.begin(), result.estimable.end());
    result.diagonal.assign(p, 0.0);
    result.residualSumOfSquares = f.outside;
    for (std::uint64_t k = 0; k < p; ++k) {
        const int position = static_cast<int>(k);
        result.diagonal[static_cast<std::uint64_t>(f.qr.p()[k])] = std::abs(r(position, position));
        if (!f.positions.exists(position)) {
            result.residualSumOfSquares += f.rotated[k] * f.rotated[k];
        }
    }

    const Matrix kept = r(f.positions, f.positions);
    const Matrix inverse =
        Matrix::solveTriangularSystem(kept, Veltrix::Util::eye(result.rank, result.rank),
                                      SideType::left, TriangularityType::upper, false, 1.0);
    const Vector solution =
        Matrix::solveTriangularSystem(kept, Veltrix::Util::select(f.rotated, f.positions),
                                      SideType::left, TriangularityType::upper, false, 1.0);
    result.coefficients.assign(p, 0.0);
    for (std::uint64_t k = 0; k < f.columns.size(); ++k) {
        result.coefficients[static_cast<std::uint64_t>(f.columns[k])] = solution[k];
    }
    if (worthRefining(design, f, kept, inverse, result.residualSumOfSquares)) {
        refine(design, b, f, inverse, result.coefficients);
    }
    result.unscaledCovariance = Matrix(design.getNumCols(), design.getNumCols());
    result.unscaledCovariance.set(f.columns, f.columns,
                                  inverse * Veltrix::Util::transpose(inverse));
    result.leverages = rowSquaredNorms(design, f.columns, inverse);
    // A leverage is at most 1; rounding must not turn √(1 − h) into NaN.
    for (double& leverage : result.leverages) leverage = std::min(leverage, 1.0);
    return result;
}

}  // namespace Veltrix::Engine::LinearModel
