#pragma once

/// @file
/// Where quick searches in single precision look at rows from, so that it resolves them best.

#include <cmath>
#include <limits>

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"

namespace Veltrix {

/// Unit roundoff of single precision.
inline constexpr double kSingleRoundoff = 0x1p-24;

/// Single precision; infinite when the value is NaN or too large for it.
inline float toSingle(double value) {
    const bool fits = std::fabs(value) <= std::numeric_limits<float>::max();
    return fits ? static_cast<float>(value) : std::numeric_limits<float>::infinity();
}

/// A shift and a power of two: distances in the frame are those of the rows times `scale`, with one
/// rounding a coordinate.
struct SingleFrame {
    /// Brings most rows near the origin, whatever a few are: medians, and the greatest distance
    /// from them, of some of the rows. Passes over values that are not finite.
    static SingleFrame aroundMedians(const Matrix& rows);
    /// Brings all coordinates within 1 of the origin: means, and twice the largest absolute value,
    /// which must be finite.
    static SingleFrame aroundMeans(const Matrix& rows, double largest);

    double coordinate(double value, std::int64_t column) const {
        return (value - centre.data()[column]) * scale;
    }

    Vector centre;
    double scale = 1.0;
};

}  // namespace Veltrix
