#include <type_traits>
#include <utility>

#include "Veltrix/Engine/TS/Smoothing.h"
#include "engine/timeseries/Smoothing/Forms.h"

namespace Veltrix::Engine::TS::Smoothing {

static_assert(std::is_nothrow_move_constructible_v<Exponential> &&
                  std::is_nothrow_move_assignable_v<Exponential> &&
                  std::is_nothrow_move_constructible_v<DoubleExponential> &&
                  std::is_nothrow_move_assignable_v<DoubleExponential>,
              "a smoother is moved, not copied");

Exponential::Exponential(Vector series, double alpha, std::uint64_t numTrials)
    : Smoother(1, numTrials) {
    start(std::move(series), {alpha, 0.0, 0.0});
}

Exponential::~Exponential() = default;

const char* Exponential::name() const noexcept { return "Exponential"; }

void Exponential::checkLength(std::uint64_t /*numRecords*/) const {}

std::array<bool, 3> Exponential::ownParams() const noexcept { return {true, false, false}; }

void Exponential::initParams() {
    checkSeries();
    state_.initialLevel = series()[0];
    resetParams();
}

void Exponential::resetParams() { state_.level = state_.initialLevel; }

void Exponential::computeSmoothedValues() {
    checkSeries();
    Smoothed<LevelStep<double>> made(series(), {});
    const auto last = made.run(numSkipped(), {.alpha = alpha(), .level = state_.level});
    made.values[0] = kNaN;
    state_.level = last.level;
    state_.smoothed = std::move(made.values);
}

void Exponential::computeTrialErrors(std::span<const Params> trials, std::span<double> errors) {
    tryAll({spanOf(series()), numSkipped(), {}, errorMeasure()}, trials, errors,
           [&](const Lanes& a, const Lanes&, const Lanes&) {
               return LevelStep<Lanes>{.alpha = a, .level = state_.initialLevel};
           });
}

void Exponential::computeForecastedValues(std::int64_t h) {
    checkForecast(h);
    state_.forecasts = Vector(static_cast<std::uint64_t>(h), state_.level);
}

double Exponential::computeCParam(std::uint64_t /*j*/) const { return alpha(); }

void Exponential::listParameters(StringVector& names, Vector& values) const {
    Smoother::listParameters(names, values);
    names.push_back(L"Level");
    values.push_back(state_.level);
}

std::unique_ptr<Smoother> Exponential::clone() const {
    return std::make_unique<Exponential>(*this);
}

DoubleExponential::DoubleExponential(Vector series, double alpha, double beta,
                                     std::uint64_t numTrials)
    : Exponential(0, numTrials) {
    start(std::move(series), {alpha, beta, 0.0});
}

DoubleExponential::~DoubleExponential() = default;

const char* DoubleExponential::name() const noexcept { return "DoubleExponential"; }

std::array<bool, 3> DoubleExponential::ownParams() const noexcept { return {true, true, false}; }

void DoubleExponential::initParams() {
    checkSeries();
    const Line line = lineThrough(spanOf(series()));
    state_.initialLevel = line.intercept;
    state_.initialTrend = line.slope;
    DoubleExponential::resetParams();
}

void DoubleExponential::resetParams() {
    Exponential::resetParams();
    state_.trend = state_.initialTrend;
}

void DoubleExponential::computeSmoothedValues() {
    checkSeries();
    Smoothed<TrendStep<double>> made(series(), {});
    const auto last =
        made.run(numSkipped(),
                 {.alpha = alpha(), .beta = beta(), .level = state_.level, .trend = state_.trend});
    state_.level = last.level;
    state_.trend = last.trend;
    state_.smoothed = std::move(made.values);
}

void DoubleExponential::computeTrialErrors(std::span<const Params> trials,
                                           std::span<double> errors) {
    tryAll(
        {spanOf(series()), numSkipped(), {}, errorMeasure()}, trials, errors,
        [&](const Lanes& a, const Lanes& b, const Lanes&) {
            return TrendStep<Lanes>{
                .alpha = a, .beta = b, .level = state_.initialLevel, .trend = state_.initialTrend};
        });
}

Vector DoubleExponential::lineAhead(std::int64_t h) const {
    checkForecast(h);
    Vector result(static_cast<std::uint64_t>(h));
    for (std::uint64_t i = 0; i < result.size(); ++i) {
        result[i] = state_.level + static_cast<double>(i + 1) * state_.trend;
    }
    return result;
}

void DoubleExponential::computeForecastedValues(std::int64_t h) { state_.forecasts = lineAhead(h); }

double DoubleExponential::computeCParam(std::uint64_t j) const {
    return alpha() * (1.0 + static_cast<double>(j) * beta());
}

void DoubleExponential::listParameters(StringVector& names, Vector& values) const {
    Exponential::listParameters(names, values);
    if (!ownParams()[1]) return;
    names.push_back(L"Trend");
    values.push_back(state_.trend);
}

std::unique_ptr<Smoother> DoubleExponential::clone() const {
    return std::make_unique<DoubleExponential>(*this);
}

}  // namespace Veltrix::Engine::TS::Smoothing
