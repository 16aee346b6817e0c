#pragma once

#include <cstdint>
#include <string_view>

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"

namespace Veltrix::Engine {

/// Upper Cholesky factor U, UᵀU = covariance (p × p, of columns with the given means). Throws
/// `Exception` (notPositiveDefinite) when `freedom`, the divisor of the covariance, is below p, and
/// naming the first column of which the columns before it leave a variance of at most 16pε of its
/// own, or one within the rounding of values about its mean.
Matrix covarianceFactor(std::string_view operation, const Matrix& covariance, const Vector& means,
                        std::int64_t freedom);

}  // namespace Veltrix::Engine
