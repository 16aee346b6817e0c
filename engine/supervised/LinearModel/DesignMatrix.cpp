#include "Veltrix/Engine/LinearModel/DesignMatrix.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/Util.h"

namespace Veltrix::Engine::LinearModel {
namespace {

/// Length of column j of a from row `first` on.
double tailLength(const Matrix& a, int first, int j) {
    double length = 0.0;
    for (int i = first; i < a.getNumRows(); ++i) length = std::hypot(length, a(i, j));
    return length;
}

/// Householder reflection that maps column j from row `first` on to a multiple of the first unit
/// vector, applied to the columns from j on. `length` is the length of that part, not 0.
void reflect(Matrix& a, int first, int j, double length) {
    const int n = a.getNumRows();
    Vector direction;
    for (int i = first; i < n; ++i) direction.push_back(a(i, j) / length);
    direction[0] += std::copysign(1.0, direction[0]);
    const double scale = 1.0 / std::abs(direction[0]);
    for (int k = j; k < a.getNumCols(); ++k) {
        double projection = 0.0;
        for (int i = first; i < n; ++i) {
            projection += direction[static_cast<std::uint64_t>(i - first)] * a(i, k);
        }
        projection *= scale;
        for (int i = first; i < n; ++i) {
            a(i, k) -= projection * direction[static_cast<std::uint64_t>(i - first)];
        }
    }
}

}  // namespace

Matrix designMatrix(const Matrix& x, bool intercept) {
    Matrix design = x;
    if (intercept) {
        design.insertColumn(0, Vector(static_cast<std::uint64_t>(x.getNumRows()), 1.0));
    }
    return design;
}

Matrix weightedDesignMatrix(const Matrix& x, const Vector& weights, bool intercept) {
    Matrix design = designMatrix(x, intercept);
    for (int j = 0; j < design.getNumCols(); ++j) design(Veltrix::Util::all, j) *= weights;
    return design;
}

Matrix sqrtWeightedDesignMatrix(const Matrix& x, const Vector& weights, bool intercept) {
    return weightedDesignMatrix(x, Veltrix::Util::sqrt(weights), intercept);
}

PredictorScreeningInfo screenPredictors(const Matrix& x) {
    const int n = x.getNumRows();
    const int p = x.getNumCols();
    // The triangle of X has the same columns up to a rotation, at a size that n does not touch.
    Matrix triangle = triangularise({x});
    const double relative = std::max(n, p) * std::numeric_limits<double>::epsilon();

    PredictorScreeningInfo info;
    for (int j = 0; j < p; ++j) info.tolerance.push_back(relative * tailLength(triangle, 0, j));
    for (int j = 0; j < p; ++j) {
        const double length = tailLength(triangle, info.rank, j);
        info.diagonal.push_back(length);
        if (length <= info.tolerance[static_cast<std::uint64_t>(j)]) continue;
        reflect(triangle, info.rank, j, length);
        info.columns.push_back(j);
        ++info.rank;
    }
    return info;
}

}  // namespace Veltrix::Engine::LinearModel
