#include <algorithm>
#include <numeric>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/TS/Smoothing.h"
#include "engine/core/Checks.h"

namespace Veltrix::Engine::TS::Smoothing {

static_assert(std::is_nothrow_move_constructible_v<MovingAverage> &&
                  std::is_nothrow_move_assignable_v<MovingAverage>,
              "a smoother is moved, not copied");

MovingAverage::MovingAverage(Vector series, std::uint64_t window)
    : Smoother(window, 1), window_(window) {
    start(std::move(series), {});
}

MovingAverage::~MovingAverage() = default;

const char* MovingAverage::name() const noexcept { return "MovingAverage"; }

void MovingAverage::checkLength(std::uint64_t numRecords) const {
    if (window_ >= 1 && window_ <= numRecords) return;
    Checks::fail(ErrorCode::invalidArgument, name(),
                 "window " + std::to_string(window_) + ", 1 to " + std::to_string(numRecords) +
                     " expected, the number of values");
}

std::array<bool, 3> MovingAverage::ownParams() const noexcept { return {}; }

void MovingAverage::initParams() {}

void MovingAverage::resetParams() {}

void MovingAverage::computeSmoothedValues() {
    checkSeries();
    const Vector& x = series();
    Vector smoothed(x.size(), kNaN);
    const auto width = static_cast<double>(window_);
    double sum = std::accumulate(x.begin(), x.begin() + static_cast<std::ptrdiff_t>(window_), 0.0);
    for (std::uint64_t t = window_; t < x.size(); ++t) {
        smoothed[t] = sum / width;
        sum += x[t] - x[t - window_];
    }
    state_.smoothed = std::move(smoothed);
}

void MovingAverage::computeForecastedValues(std::int64_t h) {
    checkForecast(h);
    // The last values, then the forecasts.
    Vector values(series().end() - static_cast<std::ptrdiff_t>(window_), series().end());
    values.reserve(window_ + static_cast<std::uint64_t>(h));
    const auto width = static_cast<double>(window_);
    double sum = std::accumulate(values.begin(), values.end(), 0.0);
    for (std::uint64_t k = 0; k < static_cast<std::uint64_t>(h); ++k) {
        if (k > 0) sum += values.back() - values[k - 1];
        values.push_back(sum / width);
    }
    state_.forecasts = Vector(values.begin() + static_cast<std::ptrdiff_t>(window_), values.end());
}

double MovingAverage::computeCParam(std::uint64_t /*j*/) const {
    return 1.0 / static_cast<double>(window_);
}

void MovingAverage::listParameters(StringVector& names, Vector& values) const {
    names.push_back(L"Window");
    values.push_back(static_cast<double>(window_));
}

std::unique_ptr<Smoother> MovingAverage::clone() const {
    return std::make_unique<MovingAverage>(*this);
}

}  // namespace Veltrix::Engine::TS::Smoothing
