#include <algorithm>
#include <cmath>
#include <limits>

#include "Veltrix/Data/Decompositions.h"
#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "data/factorisations/BlockedQR.h"
#include "data/matrix/Symmetric.h"
#include "support/LinearAlgebra.h"

namespace Veltrix {
namespace {

/// The leading min(n, p) rows of a factorised matrix, zero below the diagonal.
Matrix upperPart(const Matrix& factorised) {
    const int rows = std::min(factorised.getNumRows(), factorised.getNumCols());
    Matrix r(rows, factorised.getNumCols());
    for (int j = 0; j < factorised.getNumCols(); ++j) {
        for (int i = 0; i < std::min(rows, j + 1); ++i) r(i, j) = factorised(i, j);
    }
    return r;
}

void checkBlock(int rows, int cols, int order) {
    const char* operation = "Block of Q";
    Checks::notNegative(operation, "rows", rows);
    Checks::notNegative(operation, "columns", cols);
    if (rows > order || cols > order) {
        Checks::fail(ErrorCode::sizeMismatch, operation,
                     std::to_string(rows) + " x " + std::to_string(cols) + " asked for, Q is " +
                         std::to_string(order) + " x " + std::to_string(order));
    }
}

}  // namespace

QR Matrix::qr() const {
    const char* operation = "QR";
    Checks::finite(operation, *this);
    QR result;
    result.rows_ = rows_;
    result.cols_ = cols_;
    result.permutation_.resize(static_cast<std::uint64_t>(cols_));
    Checks::routine(operation, [&] {
        if (BlockedQR::worthwhile(rows_, cols_)) {
            result.innerReflectors_ = BlockedQR::factorise(*this, result.blocks_);
        } else {
            result.innerReflectors_ = inOrder(*this, MatrixOrderType::columnMajor);
        }
        Matrix& inner = result.innerReflectors_;
        const int rank = std::min(inner.getNumRows(), cols_);
        result.innerScalars_.resize(static_cast<std::uint64_t>(rank));
        Support::geqp3(inner.getNumRows(), cols_, inner.data(), leadingDimension(inner),
                       result.permutation_.data(), result.innerScalars_.data());
    });
    result.r_ = upperPart(result.innerReflectors_);
    if (!empty()) {
        result.tolerance_ = std::max(rows_, cols_) * std::numeric_limits<double>::epsilon() *
                            std::fabs(result.r_(0, 0));
    }
    return result;
}

void QR::applyLeft(double* b, std::int64_t columns, bool transpose) const {
    const auto inner = [&] {
        const auto trans = transpose ? Support::Transpose::Yes : Support::Transpose::No;
        Support::ormqr(Support::Side::Left, trans, innerReflectors_.getNumRows(), columns,
                       static_cast<std::int64_t>(innerScalars_.size()), innerReflectors_.data(),
                       leadingDimension(innerReflectors_), innerScalars_.data(), b,
                       std::max(rows_, 1));
    };
    const auto outer = [&] {
        if (!blocked()) return;
        BlockedQR::apply(blocks_, rows_, cols_, transpose, b, columns);
    };
    // Q = Q(blocks) · diag(Q(pivoted), I).
    if (transpose) {
        outer();
        inner();
    } else {
        inner();
        outer();
    }
}

Matrix QR::q(int rows, int cols) const {
    checkBlock(rows, cols, rows_);
    Matrix result(rows_, cols);
    for (int j = 0; j < cols; ++j) result(j, j) = 1.0;
    Checks::routine("Block of Q", [&] { applyLeft(result.data(), cols, false); });
    result.resize(rows, cols);
    return result;
}

Matrix QR::qMultiply(const Matrix& b, SideType side, bool transpose) const {
    const char* operation = "Product with Q";
    checkSide(operation, side);
    const bool left = side == SideType::left;
    if (left) {
        Checks::counts(operation, rows_, "columns of Q", b.getNumRows(), "rows of the matrix");
    } else {
        Checks::counts(operation, b.getNumCols(), "columns of the matrix", rows_, "rows of Q");
    }
    Checks::finite(operation, b);
    // B Q is the transpose of Qᵀ Bᵀ, and the memory of a row-major B is Bᵀ by columns.
    Matrix work = inOrder(b, left ? MatrixOrderType::columnMajor : MatrixOrderType::rowMajor);
    const int vectors = left ? b.getNumCols() : b.getNumRows();
    Checks::routine(operation, [&] { applyLeft(work.data(), vectors, transpose == left); });
    return inOrder(work, b.getMatrixOrder());
}

Vector QR::qMultiply(const Vector& b, SideType side, bool transpose) const {
    const int size = Checks::dimension("Product with Q", "elements", b.size());
    checkSide("Product with Q", side);
    const bool left = side == SideType::left;
    Vector result =
        qMultiply(Matrix(left ? size : 1, left ? 1 : size, b), side, transpose).getAsDoubleVector();
    result.setName(b.getName());
    return result;
}

}  // namespace Veltrix
