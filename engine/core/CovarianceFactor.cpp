#include "engine/core/CovarianceFactor.h"

#include <limits>
#include <string>

#include "Veltrix/Data/Util.h"
#include "engine/core/Checks.h"

namespace Veltrix::Engine {

Matrix covarianceFactor(std::string_view operation, const Matrix& covariance, const Vector& means,
                        std::int64_t freedom) {
    constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
    const int cols = covariance.getNumCols();
    if (freedom < cols) {
        Checks::fail(ErrorCode::notPositiveDefinite, operation,
                     "the covariance matrix of " + std::to_string(cols) +
                         " columns is singular with " + std::to_string(freedom) +
                         " degrees of freedom, at least as many as columns expected");
    }
    Matrix factor = Veltrix::Util::cholesky(covariance, TriangularityType::upper);
    for (int k = 0; k < cols; ++k) {
        const double left = Veltrix::Util::sqr(factor(k, k));
        const double rounding =
            Veltrix::Util::sqr(4.0 * kEpsilon * means[static_cast<std::uint64_t>(k)]);
        if (left > 16.0 * cols * kEpsilon * covariance(k, k) + rounding) continue;
        Checks::fail(ErrorCode::notPositiveDefinite, operation,
                     "the covariance matrix is singular, column " + std::to_string(k) +
                         " depends linearly on those before it");
    }
    return factor;
}

}  // namespace Veltrix::Engine
