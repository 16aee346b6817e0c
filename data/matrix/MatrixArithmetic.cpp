#include <cmath>
#include <functional>
#include <utility>

#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "support/LinearAlgebra.h"

namespace Veltrix {
namespace {

template <class Operation>
Matrix& combine(const char* name, Matrix& target, const Matrix& other, Operation operation) {
    Checks::sameShape(name, target, other);
    double* a = target.data();
    const double* b = other.data();
    if (target.getMatrixOrder() == other.getMatrixOrder()) {
        const std::int64_t size = sizeOf(target);
        for (std::int64_t i = 0; i < size; ++i) a[i] = operation(a[i], b[i]);
    } else {
        const LineShape shape = lineShape(target);
        combineTransposed(shape, a, shape.length, b, shape.count,
                          [operation](double& x, double y) { x = operation(x, y); });
    }
    return target;
}

template <class Operation>
Matrix& transform(Matrix& target, Operation operation) {
    double* a = target.data();
    const std::int64_t size = sizeOf(target);
    for (std::int64_t i = 0; i < size; ++i) a[i] = operation(a[i]);
    return target;
}

/// An operand of a product: how its memory, read as column-major, stands to the factor wanted.
struct Factor {
    /// `transposed`: the factor is the transpose of the matrix.
    Factor(const Matrix& a, bool transposed)
        : trans((a.getMatrixOrder() == MatrixOrderType::rowMajor) != transposed
                    ? Support::Transpose::Yes
                    : Support::Transpose::No),
          data(a.data()),
          step(leadingDimension(a)) {}

    Support::Transpose trans;
    const double* data;
    std::int64_t step;
};

void multiply(const Factor& a, const Factor& b, std::int64_t rows, std::int64_t cols,
              std::int64_t inner, Matrix& result) {
    Support::gemm(a.trans, b.trans, rows, cols, inner, 1.0, a.data, a.step, b.data, b.step, 0.0,
                  result.data(), leadingDimension(result));
}

}  // namespace

Matrix& Matrix::operator+=(const Matrix& other) {
    return combine("Matrix sum", *this, other, std::plus<>());
}

Matrix& Matrix::operator-=(const Matrix& other) {
    return combine("Matrix difference", *this, other, std::minus<>());
}

Matrix& Matrix::operator*=(double factor) {
    return transform(*this, [factor](double a) { return a * factor; });
}

Matrix& Matrix::operator/=(double divisor) {
    return transform(*this, [divisor](double a) { return a / divisor; });
}

Matrix Matrix::operator-() const {
    Matrix result(*this);
    transform(result, std::negate<>());
    return result;
}

bool Matrix::equalTo(const Matrix& other, double tolerance) const {
    if (rows_ != other.rows_ || cols_ != other.cols_) return false;
    const auto close = [tolerance](double a, double b) {
        return a == b || std::fabs(a - b) <= tolerance;
    };
    for (int i = 0; i < rows_; ++i) {
        for (int j = 0; j < cols_; ++j) {
            if (!close((*this)(i, j), other(i, j))) return false;
        }
    }
    return true;
}

// Moved, as returning the reference that a compound assignment gives would copy.
Matrix operator+(Matrix a, const Matrix& b) { return std::move(a += b); }
Matrix operator-(Matrix a, const Matrix& b) { return std::move(a -= b); }

Matrix operator%(Matrix a, const Matrix& b) {
    return std::move(combine("Element-wise product", a, b, std::multiplies<>()));
}

Matrix operator/(Matrix a, const Matrix& b) {
    return std::move(combine("Element-wise quotient", a, b, std::divides<>()));
}

Matrix operator/(Matrix a, double divisor) { return std::move(a /= divisor); }
Matrix operator*(Matrix a, double factor) { return std::move(a *= factor); }
Matrix operator*(double factor, Matrix a) { return std::move(a *= factor); }

Matrix operator-(double value, Matrix a) {
    return std::move(transform(a, [value](double element) { return value - element; }));
}

Matrix operator*(const Matrix& a, const Matrix& b) {
    const char* operation = "Matrix product";
    Checks::counts(operation, a.getNumCols(), "columns on the left", b.getNumRows(),
                   "rows on the right");
    const int rows = a.getNumRows();
    const int cols = b.getNumCols();
    const int inner = a.getNumCols();
    Matrix result(rows, cols, a.getMatrixOrder(), Storage::kUnfilled);
    Checks::routine(operation, [&] {
        if (a.getMatrixOrder() == MatrixOrderType::columnMajor) {
            multiply(Factor(a, false), Factor(b, false), rows, cols, inner, result);
        } else {
            // The memory of a row-major AB is its transpose BᵀAᵀ by columns.
            multiply(Factor(b, true), Factor(a, true), cols, rows, inner, result);
        }
    });
    result.setName(a.getName());
    return result;
}

Vector operator*(const Matrix& a, const Vector& x) {
    const char* operation = "Matrix-vector product";
    Checks::counts(operation, a.getNumCols(), "columns on the left", x.size(),
                   "elements on the right");
    Vector result(static_cast<std::uint64_t>(a.getNumRows()), Storage::kUnfilled);
    const Factor factor(a, false);
    const LineShape shape = lineShape(a);
    Checks::routine(operation, [&] {
        Support::gemv(factor.trans, shape.length, shape.count, 1.0, factor.data, factor.step,
                      x.data(), 1, 0.0, result.data(), 1);
    });
    result.setName(a.getName());
    return result;
}

}  // namespace Veltrix
