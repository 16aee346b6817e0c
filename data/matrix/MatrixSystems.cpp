#include <string>

#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "data/matrix/Symmetric.h"
#include "support/LinearAlgebra.h"

namespace Veltrix {

void checkTriangle(const char* operation, TriangularityType triangle) {
    Checks::enumerator(operation, "triangle", triangle, 1, 2);
}

void checkSide(const char* operation, SideType side) {
    Checks::enumerator(operation, "side", side, 1, 2);
}

void mirror(Matrix& a, Support::Triangle source) {
    constexpr std::int64_t kTile = 32;
    const std::int64_t n = a.getNumRows();
    double* values = a.data();
    const bool upper = source == Support::Triangle::Upper;
    // Tiles (k, j) with k <= j cover the upper triangle of the memory.
    for (std::int64_t firstJ = 0; firstJ < n; firstJ += kTile) {
        for (std::int64_t firstI = 0; firstI <= firstJ; firstI += kTile) {
            for (std::int64_t j = firstJ; j < std::min(firstJ + kTile, n); ++j) {
                for (std::int64_t i = firstI; i < std::min(firstI + kTile, j); ++i) {
                    double& above = values[i + j * n];
                    double& below = values[j + i * n];
                    (upper ? below : above) = upper ? above : below;
                }
            }
        }
    }
}

Matrix triangleOf(const Matrix& a, TriangularityType triangle) {
    Matrix result(a);
    for (int i = 0; i < a.getNumRows(); ++i) {
        for (int j = 0; j < i; ++j) {
            (triangle == TriangularityType::upper ? result(i, j) : result(j, i)) = 0.0;
        }
    }
    return result;
}

Matrix symmetricFrom(const char* operation, const Matrix& a, TriangularityType triangle) {
    Checks::square(a);
    checkTriangle(operation, triangle);
    Matrix result(a);
    mirror(result, memoryTriangle(a, triangle));
    Checks::finite(operation, result);
    return result;
}

namespace {

/// A square factor whose triangle is finite, with a diagonal that can be divided by.
void checkFactor(const char* operation, const Matrix& factor, TriangularityType triangle) {
    Checks::square(factor);
    checkTriangle(operation, triangle);
    const std::int64_t n = factor.getNumRows();
    const bool before = memoryTriangle(factor, triangle) == Support::Triangle::Upper;
    for (std::int64_t k = 0; k < n; ++k) {
        const double* line = factor.data() + k * n;
        const std::int64_t first = before ? 0 : k;
        const std::int64_t end = before ? k + 1 : n;
        if (!Support::allFinite(line + first, end - first)) {
            Checks::finite(operation, triangleOf(factor, triangle));
        }
        if (line[k] == 0.0) {
            Checks::fail(ErrorCode::singular, operation,
                         "the matrix is singular, diagonal entry " + std::to_string(k) + " is 0");
        }
    }
}

constexpr const char* kRightSide = "right-hand side, entry ";

void checkRightSide(const char* operation, const Matrix& a, const Matrix& b) {
    Checks::counts(operation, a.getNumRows(), "rows in the matrix", b.getNumRows(),
                   "rows on the right-hand side");
    Checks::finite(operation, b, kRightSide);
}

Matrix columnOf(const char* operation, const Vector& b) {
    return Matrix(Checks::dimension(operation, "elements", b.size()), 1, b);
}

Vector named(const Matrix& column, const WString& name) {
    Vector result = column.getAsDoubleVector();
    result.setName(name);
    return result;
}

/// Cholesky factor of `a`'s upper triangle, in a copy with the order of `a`.
Matrix choleskyOf(const char* operation, const Matrix& a, Support::Triangle triangle) {
    Matrix factor = symmetricFrom(operation, a, TriangularityType::upper);
    Checks::routine(operation, [&] {
        Support::potrf(triangle, factor.getNumRows(), factor.data(), leadingDimension(factor));
    });
    return factor;
}

/// X of A X = B in the storage order of `b`, A given by its Cholesky factor.
Matrix solveFromFactor(const char* operation, const Matrix& factor, const Matrix& b,
                       Support::Triangle triangle) {
    Matrix x = inOrder(b, MatrixOrderType::columnMajor);
    Checks::routine(operation, [&] {
        Support::potrs(triangle, factor.getNumRows(), x.getNumCols(), factor.data(),
                       leadingDimension(factor), x.data(), leadingDimension(x));
    });
    return inOrder(x, b.getMatrixOrder());
}

void invertFromFactor(const char* operation, Matrix& factor, Support::Triangle triangle) {
    Checks::routine(operation, [&] {
        Support::potri(triangle, factor.getNumRows(), factor.data(), leadingDimension(factor));
    });
    mirror(factor, triangle);
}

}  // namespace

Matrix Matrix::inversePositiveDefinite(const Matrix& a) {
    const char* operation = "Inverse of a positive definite matrix";
    const Support::Triangle triangle = memoryTriangle(a, TriangularityType::upper);
    Matrix result = choleskyOf(operation, a, triangle);
    invertFromFactor(operation, result, triangle);
    return result;
}

Matrix Matrix::inversePositiveDefiniteFromCholesky(const Matrix& factor,
                                                   TriangularityType triangle) {
    const char* operation = "Inverse from a Cholesky factor";
    checkFactor(operation, factor, triangle);
    Matrix result(factor);
    invertFromFactor(operation, result, memoryTriangle(factor, triangle));
    return result;
}

Matrix Matrix::solvePositiveDefiniteSystem(const Matrix& a, const Matrix& b) {
    const char* operation = "Positive definite system";
    Checks::square(a);
    checkRightSide(operation, a, b);
    const Support::Triangle triangle = memoryTriangle(a, TriangularityType::upper);
    return solveFromFactor(operation, choleskyOf(operation, a, triangle), b, triangle);
}

Vector Matrix::solvePositiveDefiniteSystem(const Matrix& a, const Vector& b) {
    const Matrix column = columnOf("Positive definite system", b);
    return named(solvePositiveDefiniteSystem(a, column), b.getName());
}

Matrix Matrix::solvePositiveDefiniteSystemFromCholesky(const Matrix& factor, const Matrix& b,
                                                       TriangularityType triangle) {
    const char* operation = "System from a Cholesky factor";
    checkFactor(operation, factor, triangle);
    checkRightSide(operation, factor, b);
    return solveFromFactor(operation, factor, b, memoryTriangle(factor, triangle));
}

Vector Matrix::solvePositiveDefiniteSystemFromCholesky(const Matrix& factor, const Vector& b,
                                                       TriangularityType triangle) {
    const Matrix column = columnOf("System from a Cholesky factor", b);
    return named(solvePositiveDefiniteSystemFromCholesky(factor, column, triangle), b.getName());
}

Matrix Matrix::solveTriangularSystem(const Matrix& t, const Matrix& b, SideType side,
                                     TriangularityType triangle, bool transposeT, double alpha) {
    const char* operation = "Triangular system";
    checkSide(operation, side);
    checkFactor(operation, t, triangle);
    const bool left = side == SideType::left;
    if (left) {
        checkRightSide(operation, t, b);
    } else {
        Checks::counts(operation, t.getNumRows(), "rows in the matrix", b.getNumCols(),
                       "columns on the right-hand side");
        Checks::finite(operation, b, kRightSide);
    }
    // The memory of a row-major matrix is its transpose: transposing T turns the flag over,
    // transposing B and X turns both the side and the flag over.
    const bool flipT = t.getMatrixOrder() == MatrixOrderType::rowMajor;
    const bool flipB = b.getMatrixOrder() == MatrixOrderType::rowMajor;
    const auto memorySide = left != flipB ? Support::Side::Left : Support::Side::Right;
    const auto trans =
        (transposeT != flipT) != flipB ? Support::Transpose::Yes : Support::Transpose::No;
    Matrix x(b);
    const LineShape shape = lineShape(b);
    Checks::routine(operation, [&] {
        Support::trsm(memorySide, memoryTriangle(t, triangle), trans, shape.length, shape.count,
                      alpha, t.data(), leadingDimension(t), x.data(), leadingDimension(x));
    });
    return x;
}

Vector Matrix::solveTriangularSystem(const Matrix& t, const Vector& b, SideType side,
                                     TriangularityType triangle, bool transposeT, double alpha) {
    checkSide("Triangular system", side);
    // x T = αb is Tᵀ x = αb for a vector.
    const bool flip = side == SideType::right;
    const Matrix column = columnOf("Triangular system", b);
    return named(
        solveTriangularSystem(t, column, SideType::left, triangle, transposeT != flip, alpha),
        b.getName());
}

Matrix Matrix::standardizeEigenvalueProblem(const Matrix& a, const Matrix& b, int problemType,
                                            TriangularityType triangle) {
    const char* operation = "Standard eigenvalue problem";
    Checks::enumerator(operation, "problem type", problemType, 1, 3);
    if (a.rows_ != b.rows_) throw NumElementsMismatch();
    Matrix result = symmetricFrom(operation, a, triangle);
    checkFactor(operation, b, triangle);
    const Matrix factor = inOrder(b, a.order_);
    const Support::Triangle half = memoryTriangle(a, triangle);
    Checks::routine(operation, [&] {
        Support::sygst(problemType, half, a.rows_, result.data(), leadingDimension(result),
                       factor.data(), leadingDimension(factor));
    });
    mirror(result, half);
    return result;
}

}  // namespace Veltrix
