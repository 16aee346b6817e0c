#pragma once

/// @file
/// Symmetric and triangular operands in either storage order.

#include "Veltrix/Data/Enumerations.h"
#include "Veltrix/Data/Matrix.h"
#include "support/LinearAlgebra.h"

namespace Veltrix {

/// The triangle of the memory, read by columns, that holds the given triangle of the matrix. The
/// memory of a row-major matrix is its transpose; as the transpose of the upper factor U of
/// A = UᵀU is the lower factor of A = LLᵀ, routines on symmetric problems need no more than this.
inline Support::Triangle memoryTriangle(const Matrix& a, TriangularityType triangle) {
    const bool upper = triangle == TriangularityType::upper;
    const bool byColumns = a.getMatrixOrder() == MatrixOrderType::columnMajor;
    return upper == byColumns ? Support::Triangle::Upper : Support::Triangle::Lower;
}

/// Throw `Exception` for a value outside the list.
void checkTriangle(const char* operation, TriangularityType triangle);
void checkSide(const char* operation, SideType side);

/// Copies the given triangle of the memory (read by columns) onto the other one.
void mirror(Matrix& a, Support::Triangle source);

/// A copy of the named triangle, zeros in the other one.
Matrix triangleOf(const Matrix& a, TriangularityType triangle);

/// The symmetric matrix that one triangle of `a` stands for; only that triangle is read. Throws
/// `NumElementsMismatch` when `a` is not square, `Exception` when the triangle is not finite.
Matrix symmetricFrom(const char* operation, const Matrix& a, TriangularityType triangle);

}  // namespace Veltrix
