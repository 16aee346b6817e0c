#include "engine/supervised/LinearModel/Collinearity.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/Util.h"

namespace Veltrix::Engine::LinearModel {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Each column divided by its length; a column of zeros stays as it is.
Matrix unitColumns(Matrix a) {
    for (int j = 0; j < a.getNumCols(); ++j) {
        const double length =
            Veltrix::Util::norm(a(Veltrix::Util::all, j), NormType::euclidean, false);
        if (length > 0.0) a(Veltrix::Util::all, j) /= length;
    }
    return a;
}

}  // namespace

Multicollinearity unknownCollinearity(int p) {
    const auto length = static_cast<std::uint64_t>(p);
    return {Vector(length, kNaN), Vector(length, kNaN), Matrix(p, p, kNaN)};
}

Matrix rootWeightedTriangle(const Matrix& x, bool intercept, const Vector& weights) {
    const Vector roots = Veltrix::Util::sqrt(weights);
    return triangularise({x, intercept, &roots});
}

Multicollinearity collinearityDiagnostics(const Matrix& columns) {
    const int p = columns.getNumCols();
    const SVD svd = unitColumns(columns).svd();
    const Vector& s = svd.getSingularValues();
    const Matrix& v = svd.getRightSingular();

    Multicollinearity result = unknownCollinearity(p);
    for (int k = 0; k < p; ++k) {
        // Component k of the result counts from the smallest singular value.
        const int component = p - 1 - k;
        const double value = s[static_cast<std::uint64_t>(component)];
        result.eigenvalues[static_cast<std::uint64_t>(k)] = value * value;
        result.conditionIndices[static_cast<std::uint64_t>(k)] = s[0] / value;
        // A component of length 0 takes the whole variance of the predictors in it.
        const double divisor = std::max(value * value, std::numeric_limits<double>::min());
        for (int j = 0; j < p; ++j) {
            result.varianceProportions(j, k) = v(component, j) * v(component, j) / divisor;
        }
    }
    for (int j = 0; j < p; ++j) {
        const auto row = result.varianceProportions(j, Veltrix::Util::all);
        result.varianceProportions(j, Veltrix::Util::all) /= Veltrix::Util::sum(row);
    }
    return result;
}

}  // namespace Veltrix::Engine::LinearModel
