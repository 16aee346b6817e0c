#pragma once

#include <cstdint>

#include "Veltrix/Data/Enumerations.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

/// @file
/// Distances of all pairs of n rows, each pair once: the triangle above the diagonal row by row,
/// d(0,1), d(0,2), …, d(0,n−1), d(1,2), …, which is half of what a matrix takes.

namespace Veltrix {

/// Number of pairs, n(n − 1)/2.
constexpr std::uint64_t packedSize(std::int64_t n) {
    return static_cast<std::uint64_t>(n * (n - 1) / 2);
}

/// Where d(i, j), i < j, stands.
constexpr std::int64_t packedIndex(std::int64_t n, std::int64_t i, std::int64_t j) {
    return i * (2 * n - i - 1) / 2 + (j - i - 1);
}

/// Distances between the rows, equal to those of `Util::pairwiseDistance(a, false, type)` to the
/// last bit; what is said there of NaN, of rows without a direction and of accuracy holds here.
/// Memory beyond the result stays below 1 MiB or eight rows; the types 2, 3, 6 and 7 need a copy of
/// `a` in addition. Throws `Exception` for another type.
[[nodiscard]] VELTRIX_DATA_API Vector packedDistances(const Matrix& a, DissimilarityType type);

/// The entries above the diagonal of a square matrix; throws `NumElementsMismatch` for another.
[[nodiscard]] VELTRIX_DATA_API Vector packedUpperTriangle(const Matrix& symmetric);

}  // namespace Veltrix
