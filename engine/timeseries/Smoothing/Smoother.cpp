#include "Veltrix/Engine/TS/Smoothing/Smoother.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "engine/core/Checks.h"
#include "engine/timeseries/Smoothing/Forms.h"
#include "engine/timeseries/Smoothing/Rollback.h"
#include "support/MersenneNormal.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::TS::Smoothing {

double errorOf(ErrorMeasure measure, double sum, double magnitudes, std::uint64_t count,
               std::uint64_t usable) {
    const auto n = static_cast<double>(count);
    if (count == 0) return kUnusable;
    switch (measure) {
        case ErrorMeasure::meanSquaredError:
        case ErrorMeasure::meanAbsoluteError:
        case ErrorMeasure::meanError:
            return sum / n;
        case ErrorMeasure::meanAbsolutePercentageError:
            return usable == 0 ? kUnusable : 100.0 / static_cast<double>(usable) * sum;
        case ErrorMeasure::sumOfErrors:
            return sum;
        case ErrorMeasure::trackingSignal:
            return magnitudes < std::numeric_limits<double>::epsilon() ? 0.0
                                                                       : sum / (magnitudes / n);
    }
    return kUnusable;
}

std::uint64_t countUsable(std::span<const double> series) {
    return static_cast<std::uint64_t>(std::ranges::count_if(series, isUsable));
}

Smoother::~Smoother() = default;

void Smoother::checkSeries() const {
    Checks::atLeast(name(), "values in the series", static_cast<std::int64_t>(numRecords()), 1);
}

void Smoother::start(Vector series, const Params& params) {
    for (std::size_t k = 0; k < params.size(); ++k) {
        if (params[k] >= 0.0 && params[k] <= 1.0) continue;
        static constexpr std::array kNames{"alpha ", "beta ", "gamma "};
        Checks::fail(ErrorCode::invalidArgument, name(),
                     kNames[k] + Support::numberText(params[k]) + ", 0 to 1 expected");
    }
    setSeries(std::move(series));
    state_.params = params;
}

Smoother& Smoother::setSeries(Vector series) {
    Checks::atLeast(name(), "values in the series", static_cast<std::int64_t>(series.size()), 1);
    Checks::finite(name(), "value", spanOf(series));
    checkLength(series.size());
    State next;
    next.params = state_.params;
    next.smoothed = Vector(series.size(), kNaN);
    next.seasonal = Vector(numSeasonal(), kNaN);
    next.initialSeasonal = Vector(numSeasonal(), kNaN);
    state_ = std::move(next);
    series_ = std::move(series);
    return *this;
}

Smoother& Smoother::setSeed(std::int32_t seed) noexcept {
    seed_ = seed;
    return *this;
}

Smoother& Smoother::setErrorMeasure(ErrorMeasure measure) noexcept {
    errorMeasure_ = measure;
    return *this;
}

Smoother& Smoother::setNumTrials(std::uint64_t count) noexcept {
    numTrials_ = count;
    return *this;
}

Smoother& Smoother::run() {
    checkSeries();
    Rollback rollback(*this);
    initParams();
    computeSmoothedValues();
    state_.error = computeForecastError(errorMeasure_);
    rollback.keepChanges();
    return *this;
}

const Vector& Smoother::forecast(std::int64_t h, bool addNoise, std::uint32_t noiseSeed) {
    Rollback rollback(*this);
    computeForecastedValues(h);
    computeForecastsStdDev(h);
    if (addNoise) {
        Support::MersenneNormal normal(noiseSeed);
        for (std::uint64_t i = 0; i < state_.forecasts.size(); ++i) {
            state_.forecasts[i] += state_.forecastsStdDev[i] * normal.next();
        }
    }
    rollback.keepChanges();
    return state_.forecasts;
}

void Smoother::checkForecast(std::int64_t h) const {
    checkSeries();
    Checks::atLeast(name(), "steps to forecast", h, 0);
}

void Smoother::computeForecastsStdDev(std::int64_t h) {
    checkForecast(h);
    const auto steps = static_cast<std::uint64_t>(h);
    const double variance = computeForecastErrorVariance();
    Vector result(steps, Storage::Unfilled());
    double weights = 0.0;
    for (std::uint64_t i = 0; i < steps; ++i) {
        if (i > 0) {
            const double weight = computeCParam(i);
            weights += weight * weight;
        }
        result[i] = std::sqrt(variance * (1.0 + weights));
    }
    state_.forecastsStdDev = std::move(result);
}

double Smoother::computeForecastErrorVariance() const {
    double sum = 0.0;
    std::uint64_t count = 0;
    for (std::uint64_t t = 0; t < numRecords(); ++t) {
        const double error = series_[t] - state_.smoothed[t];
        if (std::isnan(error)) continue;
        sum += error * error;
        ++count;
    }
    return sum / static_cast<double>(count);
}

double Smoother::computeForecastError(ErrorMeasure measure) const {
    if (numRecords() <= numSkipped_) return kUnusable;
    const auto counted = spanOf(series_).subspan(numSkipped_);
    double result = kUnusable;
    withTerms(measure, [&]<Terms Which>() {
        ErrorSums<Which, double> sums;
        for (std::uint64_t t = numSkipped_; t < numRecords(); ++t) {
            sums.add(series_[t], state_.smoothed[t]);
        }
        result = errorOf(measure, sums.sum, sums.magnitudes, counted.size(), countUsable(counted));
    });
    return result;
}

Vector Smoother::params() const { return {state_.params.begin(), state_.params.end()}; }

void Smoother::linearRegression(const Vector& y, double& intercept, double& slope) {
    const Line line = lineThrough(spanOf(y));
    intercept = line.intercept;
    slope = line.slope;
}

Smoother::Line Smoother::lineThrough(std::span<const double> y) {
    const auto n = static_cast<double>(y.size());
    if (y.empty()) return {kNaN, kNaN};
    // From the first value on, so that a constant series has exactly its value as mean.
    double above = 0.0;
    for (const double value : y) above += value - y[0];
    const double mean = y[0] + above / n;
    const double middle = (n + 1.0) / 2.0;
    double covariance = 0.0;
    for (std::size_t t = 0; t < y.size(); ++t) {
        covariance += (static_cast<double>(t + 1) - middle) * (y[t] - mean);
    }
    // Σ(t − middle)²; 0 for a single value.
    const double variance = n * (n * n - 1.0) / 12.0;
    const double slope =
        variance < std::numeric_limits<double>::epsilon() ? 0.0 : covariance / variance;
    return {mean - slope * middle, slope};
}

}  // namespace Veltrix::Engine::TS::Smoothing
