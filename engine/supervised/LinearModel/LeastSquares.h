#pragma once

#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"

namespace Veltrix::Engine::LinearModel {

/// Least-squares solution of D β ≈ b with what its statistics need.
struct LeastSquares {
    Vector coefficients;   // p, 0 for columns that are not estimable
    Vector diagonal;       // p, |diagonal of R| that belongs to each column
    IntVector estimable;   // kept columns, ascending
    double tolerance = 0;  // max(n, p) ε times the length of the longest column
    int rank = 0;
    double residualSumOfSquares = 0;
    Matrix unscaledCovariance;  // p × p, (DᵀD)⁻¹ over the kept columns, zero elsewhere
    Vector leverages;           // n
};

/// Solves by QR with the column order and rank of `factoriseColumns`. Throws `Exception` when D has
/// no rows or no columns, lengths disagree, or a value is NaN or infinite.
LeastSquares solveLeastSquares(const DesignRows& design, const Vector& b);

}  // namespace Veltrix::Engine::LinearModel
