#pragma once

#include <optional>

#include "Veltrix/Data/Decompositions.h"

namespace Veltrix {

/// In every column of `left` the entry of largest absolute value (the first on ties) becomes
/// positive; the row of the same number of `right` turns with it.
void fixSigns(Matrix& left, Matrix& right);

/// The leading `count` singular triplets of a finite matrix, by block Lanczos steps; nothing when
/// `count` is not small beside the dimensions, or when what was found could not be proven to be
/// them to within 1e-9.
std::optional<SVD> leadingTriplets(const Matrix& a, int count);

}  // namespace Veltrix
