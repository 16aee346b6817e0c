#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

#include <gtest/gtest.h>

namespace Veltrix::Testing {

enum class NaNRule { Fails, EqualsNaN };

/// How far a number may be from the expected one: max(absolute, relative * |expected|).
struct Tolerance {
    double relative = 0.0;
    double absolute = 0.0;
    NaNRule nan = NaNRule::Fails;
};

/// True when the numbers agree. Infinities agree with themselves only; a NaN agrees with nothing,
/// or with another NaN when the tolerance says so.
inline bool agrees(double actual, double expected, const Tolerance& tolerance) {
    if (std::isnan(actual) && std::isnan(expected)) return tolerance.nan == NaNRule::EqualsNaN;
    if (std::isinf(actual) || std::isinf(expected)) return actual == expected;
    const double allowed = std::max(tolerance.absolute, tolerance.relative * std::fabs(expected));
    return std::fabs(actual - expected) <= allowed;
}

/// For EXPECT_TRUE: says both numbers and their distance.
inline testing::AssertionResult isNear(double actual, double expected, const Tolerance& tolerance) {
    if (agrees(actual, expected, tolerance)) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << testing::PrintToString(actual) << " instead of " << testing::PrintToString(expected)
           << ", relative error " << std::fabs(actual - expected) / std::fabs(expected)
           << ", absolute " << std::fabs(actual - expected);
}

/// `isNear` for every element of two sequences with size() and operator[], and equal lengths.
template <class Actual, class Expected>
testing::AssertionResult allNear(const Actual& actual, const Expected& expected,
                                 const Tolerance& tolerance) {
    const auto size = static_cast<std::size_t>(expected.size());
    if (static_cast<std::size_t>(actual.size()) != size) {
        return testing::AssertionFailure()
               << "length " << actual.size() << " instead of " << expected.size();
    }
    for (std::size_t i = 0; i < size; ++i) {
        const testing::AssertionResult result = isNear(actual[i], expected[i], tolerance);
        if (!result) return testing::AssertionFailure() << "[" << i << "]: " << result.message();
    }
    return testing::AssertionSuccess();
}

/// Number of correct digits against a certified value, -log10 of the relative error (of the
/// absolute one when the certified value is 0), within 0 and 15; 0 for a NaN or an infinity.
inline double logRelativeError(double actual, double certified) {
    constexpr double kAllDigits = 15.0;
    if (!std::isfinite(actual)) return 0.0;
    const double scale = certified == 0.0 ? 1.0 : std::fabs(certified);
    const double error = std::fabs(actual - certified) / scale;
    if (error == 0.0) return kAllDigits;
    return std::clamp(-std::log10(error), 0.0, kAllDigits);
}

}  // namespace Veltrix::Testing
