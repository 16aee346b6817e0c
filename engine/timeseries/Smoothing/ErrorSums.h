#pragma once

#include <cstdint>
#include <limits>
#include <span>

#include "Veltrix/Engine/TS/Smoothing/Smoother.h"
#include "engine/timeseries/Smoothing/Lanes.h"

/// @file
/// The error measures from sums over the errors, one after the other in the order of time.

namespace Veltrix::Engine::TS::Smoothing {

inline constexpr double kUnusable = std::numeric_limits<double>::max();

/// What is summed.
enum class Terms { Squares, Percentages, Magnitudes, Signed };

constexpr Terms termsOf(ErrorMeasure measure) {
    switch (measure) {
        case ErrorMeasure::meanSquaredError:
            return Terms::Squares;
        case ErrorMeasure::meanAbsolutePercentageError:
            return Terms::Percentages;
        case ErrorMeasure::meanAbsoluteError:
            return Terms::Magnitudes;
        default:
            return Terms::Signed;
    }
}

/// Whether a value can be divided by in a percentage error.
inline bool isUsable(double x) {
    return (x < 0.0 ? -x : x) > std::numeric_limits<double>::epsilon();
}

template <Terms Which, class V>
struct ErrorSums {
    V sum = 0.0;
    V magnitudes = 0.0;  ///< of the signed errors only

    /// The value x, of which `smoothed` was expected.
    [[gnu::always_inline]] void add(double x, const V& smoothed) {
        const V error = x - smoothed;
        if constexpr (Which == Terms::Squares) sum = sum + error * error;
        if constexpr (Which == Terms::Percentages) {
            if (isUsable(x)) sum = sum + magnitude(error / x);
        }
        if constexpr (Which == Terms::Magnitudes) sum = sum + magnitude(error);
        if constexpr (Which == Terms::Signed) {
            sum = sum + error;
            magnitudes = magnitudes + magnitude(error);
        }
    }
};

/// The measure from the sums over `count` values, `usable` of which can be divided by.
double errorOf(ErrorMeasure measure, double sum, double magnitudes, std::uint64_t count,
               std::uint64_t usable);

std::uint64_t countUsable(std::span<const double> series);

/// Calls work with the terms of the measure as a constant.
template <class Work>
void withTerms(ErrorMeasure measure, Work work) {
    switch (termsOf(measure)) {
        case Terms::Squares:
            work.template operator()<Terms::Squares>();
            break;
        case Terms::Percentages:
            work.template operator()<Terms::Percentages>();
            break;
        case Terms::Magnitudes:
            work.template operator()<Terms::Magnitudes>();
            break;
        case Terms::Signed:
            work.template operator()<Terms::Signed>();
            break;
    }
}

}  // namespace Veltrix::Engine::TS::Smoothing
