#pragma once

/// @file
/// Unpivoted QR of a tall matrix, one row block after the other: the leading rows are factorised,
/// every further block is folded into their triangle (a flat tree). A block fits the second-level
/// cache, so each element comes from memory once, where a factorisation column by column would
/// fetch the matrix once per panel.

#include <cstdint>

#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/Matrix.h"

namespace Veltrix::BlockedQR {

/// True when blocks beat a single factorisation: many more rows than columns, and more than the
/// cache holds.
bool worthwhile(std::int64_t rows, std::int64_t columns);

/// Factorises a finite matrix for which blocks are worthwhile; returns R, columns × columns.
Matrix factorise(const Matrix& a, Storage::BlockedFactors& factors);

/// b := Q b or Qᵀ b; b is column-major with as many rows as the matrix.
void apply(const Storage::BlockedFactors& factors, std::int64_t rows, std::int64_t columns,
           bool transpose, double* b, std::int64_t count);

}  // namespace Veltrix::BlockedQR
