#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

/// @file
/// Sums over the records of a design matrix whose weights follow from a linear predictor, as the
/// Newton steps of generalised linear models need them.

namespace Veltrix {

/// A system for the columns of a design matrix D.
struct NormalEquations {
    Matrix crossProduct;  ///< Dᵀ diag(v) D, symmetric, column-major
    Vector rightSide;     ///< Dᵀ r
};

/// Called with the products η of consecutive records, the first of them record `first`.
using ProductReader = std::function<void(std::uint64_t first, std::span<const double> products)>;

/// Called with the products η of consecutive records, the first of them record `first`; sets the
/// weight vᵢ and the residual rᵢ of each.
using RecordWeigher = std::function<void(std::uint64_t first, std::span<const double> products,
                                         std::span<double> weights, std::span<double> residuals)>;

/// Reads the products η = D(:, columns)·β from the first record to the last, some at a time. The
/// scale of the design is not applied, here and below. Memory beyond the operands does not grow
/// with n. Throws `Exception` when there are not as many coefficients as columns, or a column does
/// not exist, and what `reader` throws.
VELTRIX_DATA_API void readProducts(const DesignRows& design, const IntVector& columns,
                                   const Vector& coefficients, const ProductReader& reader);

/// Forms the normal equations of the columns with the weights and residuals that `weigher` makes of
/// the products η = D(:, columns)·β, in one pass over the records: they are weighted in blocks of
/// rows that stay in the cache, and D is never copied as a whole. Without coefficients η is 0.
/// NaN and infinite entries lead to sums that are not finite. About n k² flops for k columns;
/// throws as `readProducts`, reports progress. `blockRows` is the size of the blocks, 0 for the
/// usual one; it changes nothing but rounding.
[[nodiscard]] VELTRIX_DATA_API NormalEquations normalEquations(const DesignRows& design,
                                                               const IntVector& columns,
                                                               const Vector& coefficients,
                                                               const RecordWeigher& weigher,
                                                               int blockRows = 0);

}  // namespace Veltrix
