#include "engine/core/CovarianceFactor.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "Veltrix/Data/Util.h"
#include "engine/core/Checks.h"
#include "support/LinearAlgebra.h"

namespace Veltrix::Engine {
namespace {

[[noreturn]] void failColumn(std::string_view operation, std::int64_t column) {
    Checks::fail(ErrorCode::notPositiveDefinite, operation,
                 "the covariance matrix is singular, column " + std::to_string(column) +
                     " (counted from 0) depends linearly on those before it");
}

/// U column by column, zeros below.
Vector factorOf(std::string_view operation, const Matrix& covariance) {
    const std::int64_t cols = covariance.getNumCols();
    Vector values = covariance.getAsDoubleVector();
    try {
        Support::potrf(Support::Triangle::Upper, cols, values.data(), cols);
    } catch (const Support::LinearAlgebraError& error) {
        if (error.kind != Support::LinearAlgebraFailure::NotPositiveDefinite) {
            Veltrix::Checks::failRoutine(operation, error);
        }
        failColumn(operation, error.info - 1);
    }
    for (std::int64_t j = 0; j < cols; ++j) {
        std::fill_n(values.data() + j * cols + j + 1, cols - j - 1, 0.0);
    }
    return values;
}

}  // namespace

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
    for (int k = 0; k < cols; ++k) {
        if (covariance(k, k) != 0.0) continue;
        Checks::fail(ErrorCode::notPositiveDefinite, operation,
                     "the covariance matrix is singular, column " + std::to_string(k) +
                         " (counted from 0) does not vary");
    }
    Matrix factor(cols, cols, factorOf(operation, covariance), MatrixOrderType::columnMajor);
    for (int k = 0; k < cols; ++k) {
        const double left = Veltrix::Util::sqr(factor(k, k));
        const double rounding =
            Veltrix::Util::sqr(4.0 * kEpsilon * means[static_cast<std::uint64_t>(k)]);
        if (left <= 16.0 * cols * kEpsilon * covariance(k, k) + rounding) failColumn(operation, k);
    }
    return factor;
}

}  // namespace Veltrix::Engine
