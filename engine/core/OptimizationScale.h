#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include "Veltrix/Data/Vector.h"

namespace Veltrix::Engine::Optimization {

/// A scaled step below this is lost in rounding.
constexpr double kStepTolerance = 4.0 * std::numeric_limits<double>::epsilon();

/// max |Δxᵢ| / max(|xᵢ|, 1)
inline double scaledStep(const Vector& step, const Vector& x) {
    double largest = 0.0;
    for (std::uint64_t i = 0; i < x.size(); ++i) {
        largest = std::max(largest, std::abs(step[i]) / std::max(std::abs(x[i]), 1.0));
    }
    return largest;
}

/// Euclidean length, formed so that squares of large entries do not overflow.
inline double length(const Vector& x) {
    double result = 0.0;
    for (const double value : x) result = std::hypot(result, value);
    return result;
}

}  // namespace Veltrix::Engine::Optimization
