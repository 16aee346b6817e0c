#pragma once

#include <cstdint>
#include <span>
#include <utility>

#include "Veltrix/Data/Vector.h"
#include "engine/timeseries/Smoothing/Passes.h"
#include "engine/timeseries/Smoothing/Trials.h"

/// @file
/// What the sources of the smoothers share.

namespace Veltrix::Engine::TS::Smoothing {

inline std::span<const double> spanOf(const Vector& values) {
    return {values.data(), values.size()};
}

/// Smoothed values and seasonal indexes in the making, to be moved in when they are whole.
template <class Step>
struct Smoothed {
    const Vector& series;
    Vector seasonal;
    Vector values;

    Smoothed(const Vector& ofSeries, Vector startingFrom)
        : series(ofSeries), seasonal(std::move(startingFrom)), values(ofSeries.size()) {
        if (seasonal.empty()) seasonal.resize(1);
    }

    /// The step after the last value; the values before `first` stay 0.
    Step run(std::uint64_t first, const Step& step) {
        double* const target = values.data();
        return smooth(spanOf(series), first, step, std::span(seasonal.data(), seasonal.size()),
                      [target](std::uint64_t t, double expected) { target[t] = expected; });
    }
};

}  // namespace Veltrix::Engine::TS::Smoothing
