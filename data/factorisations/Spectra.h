#pragma once

#include "Veltrix/Data/Decompositions.h"

namespace Veltrix {

/// Eigen-decomposition of a symmetric matrix given by its upper triangle, ascending. Throws
/// `NumElementsMismatch` when `a` is not square, `Exception` when it is not finite.
Spectral symmetricDecomposition(const Matrix& a);

}  // namespace Veltrix
