#include "Veltrix/Data/Decompositions.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "data/factorisations/LeadingTriplets.h"
#include "data/factorisations/Spectra.h"
#include "data/matrix/Symmetric.h"
#include "support/LinearAlgebra.h"

namespace Veltrix {
namespace {

/// Turns every column of `vectors` so that its entry of largest absolute value (the first on ties)
/// is positive, and with it the row of the same number of `partners`, if there are any.
void turn(Matrix& vectors, Matrix* partners) {
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

void fixSigns(Matrix& left, Matrix& right) { turn(left, &right); }

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
    fixSigns(left, right);
    return {std::move(singularValues), std::move(left), std::move(right)};
}

SVD Util::svd(const Matrix& a) { return a.svd(); }

SVD Util::svd(const Matrix& a, int count) {
    const char* operation = "SVD";
    const int rank = std::min(a.getNumRows(), a.getNumCols());
    Checks::notNegative(operation, "singular values", count);
    if (count > rank) {
        Checks::fail(ErrorCode::invalidArgument, operation,
                     std::to_string(count) + " singular values, at most " + std::to_string(rank) +
                         " expected");
    }
    Checks::finite(operation, a);
    if (std::optional<SVD> leading = leadingTriplets(a, count)) return *std::move(leading);
    SVD whole = a.svd();
    if (count == rank) return whole;
    const IntVector first = Util::range(0, count);
    return {Util::select(whole.getSingularValues(), first),
            whole.getLeftSingular()(Selection::all, first),
            whole.getRightSingular()(first, Selection::all)};
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
    turn(vectors, nullptr);
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
