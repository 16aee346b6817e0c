#pragma once

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine::LinearModel {

/// A copy of X, with `intercept` behind a column of ones (column 0).
VELTRIX_ENGINE_API Matrix designMatrix(const Matrix& x, bool intercept);

/// The design matrix with every column multiplied element-wise by `weights` (length n). Throws
/// `Exception` when the length differs.
VELTRIX_ENGINE_API Matrix weightedDesignMatrix(const Matrix& x, const Vector& weights,
                                               bool intercept);

/// The design matrix with every column multiplied by the square roots of `weights`.
VELTRIX_ENGINE_API Matrix sqrtWeightedDesignMatrix(const Matrix& x, const Vector& weights,
                                                   bool intercept);

/// Which columns of a predictor matrix are linearly independent.
struct PredictorScreeningInfo {
    /// Columns that do not depend linearly on earlier ones, ascending.
    IntVector columns;
    /// For every column the length of its part outside the span of the kept columns before it:
    /// |diagonal of R| of a QR factorisation that sets dependent columns aside.
    Vector diagonal;
    /// For every column the length at or below which it counts as dependent.
    Vector tolerance;
    /// Number of columns kept.
    int rank = 0;
};

/// Screens the columns of X (n × p) in their order: a column is kept when the length of its part
/// outside the span of the columns kept before it exceeds max(n, p)·ε·(‖xₖ‖ + Σ |γᵢ| ‖xᵢ‖), where
/// γᵢ are its coefficients on the columns xᵢ kept before, so when no relative changes of that size
/// in the columns would make it dependent. Throws `Exception`, naming row and column, on NaN or
/// infinite entries.
VELTRIX_ENGINE_API PredictorScreeningInfo screenPredictors(const Matrix& x);

}  // namespace Veltrix::Engine::LinearModel
