#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/TS/Smoothing.h"
#include "engine/core/Checks.h"
#include "engine/timeseries/Smoothing/Forms.h"

namespace Veltrix::Engine::TS::Smoothing {

namespace {

template <class... Smoothers>
constexpr bool kMovable = ((std::is_nothrow_move_constructible_v<Smoothers> &&
                            std::is_nothrow_move_assignable_v<Smoothers>)&&...);
static_assert(kMovable<MulHoltWinters, AddHoltWinters, NoTrendHoltWinters>,
              "a smoother is moved, not copied");

/// Below it the multiplicative form takes a value for 0.
constexpr double kNearlyZero = std::numeric_limits<float>::epsilon();

bool isNearlyZero(double value) { return std::fabs(value) < kNearlyZero; }

/// Stands in for the multiplicative form where it cannot divide.
template <class V>
struct NoStep {
    static constexpr bool kLearnsFromFirst = false;

    V expected(const V& /*season*/) const { return 0.0; }
    void learn(double /*x*/, V& /*season*/) {}
};

/// The step of a form with level, trend and seasons.
template <template <class> class Form, class V>
Form<V> lineStep(const V& alpha, const V& beta, const V& gamma, const V& level, const V& trend) {
    return {.line = {.alpha = alpha, .beta = beta, .level = level, .trend = trend}, .gamma = gamma};
}

/// Smooths from `start` on; the state becomes that after the last value when all is done.
template <class Step, class State>
void smoothLine(const Vector& series, std::uint64_t first, const Step& start, State& state) {
    Smoothed<Step> made(series, state.seasonal);
    const Step last = made.run(first, start);
    state.level = last.line.level;
    state.trend = last.line.trend;
    state.seasonal = std::move(made.seasonal);
    state.smoothed = std::move(made.values);
}

}  // namespace

HoltWinters::~HoltWinters() = default;

void HoltWinters::checkLength(std::uint64_t numRecords) const {
    if (period_ >= 1 && period_ <= numRecords) return;
    Checks::fail(ErrorCode::invalidArgument, name(),
                 "period " + std::to_string(period_) + ", 1 to " + std::to_string(numRecords) +
                     " expected, the number of values");
}

std::uint64_t HoltWinters::numSeasonal() const noexcept { return period_; }

std::array<bool, 3> HoltWinters::ownParams() const noexcept { return {true, true, true}; }

std::uint64_t HoltWinters::numSeasons() const noexcept {
    return std::min<std::uint64_t>(4, numRecords() / period_);
}

std::uint64_t HoltWinters::seasonAhead(std::uint64_t k) const noexcept {
    return (numRecords() + k - 1) % period_;
}

void HoltWinters::initParams() {
    checkSeries();
    const Line line = lineThrough(spanOf(series()).first(numSeasons() * period_));
    state_.initialLevel = line.intercept;
    state_.initialTrend = line.slope;
    initSeasonality(numSeasons());
    resetParams();
}

void HoltWinters::resetParams() {
    DoubleExponential::resetParams();
    std::ranges::copy(state_.initialSeasonal, state_.seasonal.begin());
}

void HoltWinters::accumulateSeasons(std::uint64_t numSeasons, double (*left)(double, double)) {
    Vector& indexes = state_.initialSeasonal;
    std::ranges::fill(indexes, 0.0);
    for (std::uint64_t t = 0; t < numSeasons * period_; ++t) {
        const double line = state_.initialLevel + static_cast<double>(t + 1) * state_.initialTrend;
        indexes[t % period_] += left(series()[t], line);
    }
    indexes /= static_cast<double>(numSeasons);
}

void HoltWinters::listParameters(StringVector& names, Vector& values) const {
    DoubleExponential::listParameters(names, values);
    for (std::uint64_t k = 0; k < period_; ++k) {
        names.push_back(L"Season " + Convert::toString(static_cast<double>(k + 1)));
        values.push_back(state_.seasonal[k]);
    }
}

MulHoltWinters::MulHoltWinters(Vector series, double alpha, double beta, double gamma,
                               std::uint64_t period, std::uint64_t /*unused*/)
    : HoltWinters(period) {
    start(std::move(series), {alpha, beta, gamma});
}

MulHoltWinters::~MulHoltWinters() = default;

const char* MulHoltWinters::name() const noexcept { return "MulHoltWinters"; }

void MulHoltWinters::initSeasonality(std::uint64_t numSeasons) {
    Vector& indexes = state_.initialSeasonal;
    accumulateSeasons(numSeasons, [](double x, double line) { return x / line; });
    const double mean =
        std::accumulate(indexes.begin(), indexes.end(), 0.0) / static_cast<double>(indexes.size());
    if (!isNearlyZero(mean)) indexes /= mean;
}

bool MulHoltWinters::isFlat() const noexcept {
    return isNearlyZero(state_.level) && isNearlyZero(state_.trend);
}

void MulHoltWinters::computeSmoothedValues() {
    checkSeries();
    if (isFlat() || std::ranges::any_of(state_.seasonal, isNearlyZero)) {
        state_.smoothed = Vector(numRecords());
        return;
    }
    smoothLine(series(), numSkipped(),
               lineStep<MultiplicativeStep>(alpha(), beta(), gamma(), state_.level, state_.trend),
               state_);
}

void MulHoltWinters::computeTrialErrors(std::span<const Params> trials, std::span<double> errors) {
    resetParams();
    const TrialTask task{spanOf(series()), numSkipped(), spanOf(state_.initialSeasonal),
                         errorMeasure()};
    if (isFlat() || std::ranges::any_of(state_.initialSeasonal, isNearlyZero)) {
        tryAll(task, trials, errors,
               [](const Lanes&, const Lanes&, const Lanes&) { return NoStep<Lanes>(); });
        return;
    }
    tryAll(task, trials, errors, [&](const Lanes& a, const Lanes& b, const Lanes& c) {
        return lineStep<MultiplicativeStep, Lanes>(a, b, c, state_.initialLevel,
                                                   state_.initialTrend);
    });
}

void MulHoltWinters::computeForecastedValues(std::int64_t h) {
    Vector result = lineAhead(h);
    for (std::uint64_t i = 0; i < result.size(); ++i)
        result[i] *= state_.seasonal[seasonAhead(i + 1)];
    state_.forecasts = std::move(result);
}

double MulHoltWinters::computeForecastErrorVariance() const {
    if (isFlat()) return 0.0;
    double sum = 0.0;
    std::uint64_t count = 0;
    for (std::uint64_t t = 0; t < numRecords(); ++t) {
        const double smoothed = state_.smoothed[t];
        if (!isUsable(smoothed)) continue;
        const double relative = (series()[t] - smoothed) / smoothed;
        sum += relative * relative;
        ++count;
    }
    return count == 0 ? 0.0 : sum / static_cast<double>(count);
}

void MulHoltWinters::computeForecastsStdDev(std::int64_t h) {
    checkForecast(h);
    const auto steps = static_cast<std::uint64_t>(h);
    Vector result(steps);
    if (isFlat()) {
        state_.forecastsStdDev = std::move(result);
        return;
    }
    const double variance = computeForecastErrorVariance();
    const double seasonFactor = gamma() * gamma() * variance + 1.0;
    ProgressPhase phase("Computing standard deviations", steps);
    for (std::uint64_t i = 0; i < steps; ++i) {
        double sum = 0.0;
        for (std::uint64_t j = 1; j <= i; ++j) {
            const double weight = computeCParam(j);
            sum += weight * weight * result[i - j];
        }
        const double ahead = state_.level + static_cast<double>(i + 1) * state_.trend;
        const double squared = sum * variance + ahead * ahead;
        const std::uint64_t wholeSeasons = i / period();
        const double power = std::pow(seasonFactor, static_cast<double>(wholeSeasons));
        const double spread = (1.0 + variance) * power * squared - ahead * ahead;
        result[i] = std::fabs(state_.seasonal[i % period()]) * std::sqrt(spread);
        phase.advance();
    }
    state_.forecastsStdDev = std::move(result);
}

std::unique_ptr<Smoother> MulHoltWinters::clone() const {
    return std::make_unique<MulHoltWinters>(*this);
}

AddHoltWinters::AddHoltWinters(Vector series, double alpha, double beta, double gamma,
                               std::uint64_t period, std::uint64_t /*unused*/)
    : HoltWinters(period) {
    start(std::move(series), {alpha, beta, gamma});
}

AddHoltWinters::~AddHoltWinters() = default;

const char* AddHoltWinters::name() const noexcept { return "AddHoltWinters"; }

void AddHoltWinters::initSeasonality(std::uint64_t numSeasons) {
    accumulateSeasons(numSeasons, [](double x, double line) { return x - line; });
}

void AddHoltWinters::computeSmoothedValues() {
    checkSeries();
    smoothLine(series(), numSkipped(),
               lineStep<AdditiveStep>(alpha(), beta(), gamma(), state_.level, state_.trend),
               state_);
}

void AddHoltWinters::computeTrialErrors(std::span<const Params> trials, std::span<double> errors) {
    tryAll({spanOf(series()), numSkipped(), spanOf(state_.initialSeasonal), errorMeasure()}, trials,
           errors, [&](const Lanes& a, const Lanes& b, const Lanes& c) {
               return lineStep<AdditiveStep, Lanes>(a, b, c, state_.initialLevel,
                                                    state_.initialTrend);
           });
}

void AddHoltWinters::computeForecastedValues(std::int64_t h) {
    Vector result = lineAhead(h);
    for (std::uint64_t i = 0; i < result.size(); ++i)
        result[i] += state_.seasonal[seasonAhead(i + 1)];
    state_.forecasts = std::move(result);
}

double AddHoltWinters::computeCParam(std::uint64_t j) const {
    return DoubleExponential::computeCParam(j) + (j == period() ? gamma() : 0.0);
}

std::unique_ptr<Smoother> AddHoltWinters::clone() const {
    return std::make_unique<AddHoltWinters>(*this);
}

NoTrendHoltWinters::NoTrendHoltWinters(Vector series, double alpha, double gamma,
                                       std::uint64_t period, std::uint64_t /*unused*/)
    : AddHoltWinters(period) {
    start(std::move(series), {alpha, 0.0, gamma});
}

NoTrendHoltWinters::~NoTrendHoltWinters() = default;

const char* NoTrendHoltWinters::name() const noexcept { return "NoTrendHoltWinters"; }

std::array<bool, 3> NoTrendHoltWinters::ownParams() const noexcept { return {true, false, true}; }

void NoTrendHoltWinters::initParams() {
    checkSeries();
    state_.initialLevel = series()[0];
    state_.initialTrend = 0.0;
    initSeasonality(numSeasons());
    resetParams();
}

void NoTrendHoltWinters::computeSmoothedValues() {
    checkSeries();
    Smoothed<NoTrendStep<double>> made(series(), state_.seasonal);
    const auto last =
        made.run(numSkipped(), {.alpha = alpha(), .gamma = gamma(), .level = state_.level});
    state_.level = last.level;
    state_.seasonal = std::move(made.seasonal);
    state_.smoothed = std::move(made.values);
}

void NoTrendHoltWinters::computeTrialErrors(std::span<const Params> trials,
                                            std::span<double> errors) {
    tryAll({spanOf(series()), numSkipped(), spanOf(state_.initialSeasonal), errorMeasure()}, trials,
           errors, [&](const Lanes& a, const Lanes&, const Lanes& c) {
               return NoTrendStep<Lanes>{.alpha = a, .gamma = c, .level = state_.initialLevel};
           });
}

std::unique_ptr<Smoother> NoTrendHoltWinters::clone() const {
    return std::make_unique<NoTrendHoltWinters>(*this);
}

}  // namespace Veltrix::Engine::TS::Smoothing
