#include "Veltrix/Data/Decompositions.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "data/factorisations/Spectra.h"
#include "data/matrix/Symmetric.h"
#include "support/LinearAlgebra.h"

namespace Veltrix {
namespace {

/// Turns every column of `vectors` so that its entry of largest absolute value (the first on ties)
/// is positive, and with it the row of the same number of `partners`, if there are any.
void fixSigns(Matrix& vectors, Matrix* partners) {
    for (int j = 0; j < vectors.getNumCols(); ++j) {
        double largest = 0.0;
        for (const double value : vectors(Selection::all, j).elements()) {
            if (std::fabs(value) > std::fabs(largest)) largest = value;
        }
        if (largest >= 0.0) continue;
        vectors(Selection::all, j) *= -1.0;
        if (partners != nullptr) (*partners)(j, Selection::all) *= -1.0;
    }
}

}  // namespace

SVD Matrix::svd() const {
    const char* operation = "SVD";
    Checks::finite(operation, *this);
    // For a row-major A the memory is Aᵀ by columns, whose left vectors are the right ones of A.
    const LineShape shape = lineShape(*this);
    const auto rank = static_cast<int>(std::min(shape.count, shape.length));
    Matrix work(*this);
    Vector singularValues(static_cast<std::uint64_t>(rank));
    Matrix left(static_cast<int>(shape.length), rank);
    Matrix right(rank, static_cast<int>(shape.count));
    Checks::routine(operation, [&] {
        Support::gesddThin(shape.length, shape.count, work.data(), leadingDimension(work),
                           singularValues.data(), left.data(), leadingDimension(left), right.data(),
                           leadingDimension(right));
    });
    if (order_ == MatrixOrderType::rowMajor) {
        left.transpose();
        right.transpose();
        std::swap(left, right);
    }
    fixSigns(left, &right);
    return {std::move(singularValues), std::move(left), std::move(right)};
}

SVD::SVD(Vector singularValues, Matrix left, Matrix right)
    : singularValues_(std::move(singularValues)),
      left_(std::move(left)),
      right_(std::move(right)) {}

Spectral symmetricDecomposition(const Matrix& a) {
    const char* operation = "Eigenvalue decomposition";
    Matrix vectors = inOrder(symmetricFrom(operation, a, TriangularityType::upper),
                             MatrixOrderType::columnMajor);
    Vector values(static_cast<std::uint64_t>(a.getNumRows()));
    Checks::routine(operation, [&] {
        Support::syevd(Support::Triangle::Upper, a.getNumRows(), vectors.data(),
                       leadingDimension(vectors), values.data());
    });
    fixSigns(vectors, nullptr);
    return {std::move(values), std::move(vectors)};
}

Spectral::Spectral(Vector eigenvalues, Matrix eigenvectors)
    : eigenvalues_(std::move(eigenvalues)), eigenvectors_(std::move(eigenvectors)) {}

void Spectral::switchOrder() {
    std::reverse(eigenvalues_.begin(), eigenvalues_.end());
    for (int j = 0, k = eigenvectors_.getNumCols() - 1; j < k; ++j, --k) {
        for (int i = 0; i < eigenvectors_.getNumRows(); ++i) {
            std::swap(eigenvectors_(i, j), eigenvectors_(i, k));
        }
    }
    order_ = order_ == Ordering::smallestFirst ? Ordering::largestFirst : Ordering::smallestFirst;
}

const Matrix& GroupStatistic::getGroupCovariance(int group) const {
    Checks::index("Group covariance", "group", group, groupCovariance_.size());
    return groupCovariance_[static_cast<std::size_t>(group)];
}

}  // namespace Veltrix
