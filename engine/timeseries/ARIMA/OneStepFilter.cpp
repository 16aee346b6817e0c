#include "engine/timeseries/ARIMA/OneStepFilter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>

#include "Veltrix/Data/Progress.h"
#include "engine/timeseries/ARIMA/Polynomials.h"
#include "support/VectorMath.h"

namespace Veltrix::Engine::TS::ARIMA {
namespace {

/// Values between two reports of progress, and of one pass that stays in the cache.
constexpr std::size_t kBlock = 2048;

/// e_t −= θ_1 e_{t−1} + … + θ_Q e_{t−Q} over a run, the last Q errors in registers.
template <std::size_t Q>
void subtractRecent(const double* theta, double* errors, std::size_t n) {
    std::array<double, Q> recent;
    for (std::size_t j = 0; j < Q; ++j) recent[j] = *(errors - 1 - j);
    for (std::size_t t = 0; t < n; ++t) {
        double value = errors[t];
        for (std::size_t j = Q; j-- > 0;) value -= theta[j] * recent[j];
        for (std::size_t j = Q; j-- > 1;) recent[j] = recent[j - 1];
        recent[0] = errors[t] = value;
    }
}

/// Σ e² in four strands, which do not wait for each other.
double sumOfSquares(const double* errors, std::size_t n) {
    std::array<double, 4> sums{};
    std::size_t t = 0;
    for (; t + 4 <= n; t += 4) {
        for (std::size_t j = 0; j < 4; ++j) sums[j] += errors[t + j] * errors[t + j];
    }
    for (; t < n; ++t) sums[0] += errors[t] * errors[t];
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

}  // namespace

bool OneStepFilter::setProcess(std::span<const double> ar, std::span<const double> ma) {
    while (!ar.empty() && ar.back() == 0.0) ar = ar.first(ar.size() - 1);
    while (!ma.empty() && ma.back() == 0.0) ma = ma.first(ma.size() - 1);
    order_ = std::max(ar.size(), ma.size());
    const auto list = [](std::span<const double> values, std::vector<Term>& terms) {
        terms.clear();
        for (std::size_t k = 0; k < values.size(); ++k) {
            if (values[k] != 0.0) terms.push_back({k + 1, values[k]});
        }
    };
    list(ar, ar_);
    list(ma, ma_);
    if (!computeAutocovariances(ar)) return false;
    start_.variance = autocovariances_[0];
    start_.a.assign(order_ + 1, 0.0L);
    std::copy_n(autocovariances_.begin() + 1, order_, start_.a.begin());
    start_.b = start_.a;
    start_.prediction.assign(order_ + 1, 0.0L);
    return true;
}

/// Those of the AR part with unit innovations, up to lag r + q: by its partial autocorrelations up
/// to lag p, by its own recursion beyond.
void OneStepFilter::extendAutoregression(std::span<const double> ar) {
    const std::size_t p = ar.size();
    const std::size_t q = ma_.empty() ? 0 : ma_.back().lag;
    std::vector<long double>& gamma = autoregression_;
    gamma.assign(order_ + q + 1, 0.0L);
    long double variance = 1.0L;
    for (const long double partial : partials_) variance /= (1 - partial) * (1 + partial);
    gamma[0] = variance;
    scratch_.assign(p, 0.0L);
    for (std::size_t k = 1; k <= p; ++k) {
        long double sum = partials_[k - 1] * variance;
        for (std::size_t j = 1; j < k; ++j) sum += scratch_[j - 1] * gamma[k - j];
        gamma[k] = sum;
        stepUp(std::span(scratch_).first(k), partials_[k - 1]);
        variance *= (1 - partials_[k - 1]) * (1 + partials_[k - 1]);
    }
    for (std::size_t k = p + 1; k < gamma.size(); ++k) {
        for (const Term& term : ar_) gamma[k] += term.value * gamma[k - term.lag];
    }
}

bool OneStepFilter::computeAutocovariances(std::span<const double> ar) {
    scratch_.assign(ar.begin(), ar.end());
    partials_.resize(ar.size());
    for (std::size_t k = ar.size(); k > 0; --k) {
        partials_[k - 1] = scratch_[k - 1];
        if (!stepDown(std::span(scratch_).first(k))) return false;
    }
    extendAutoregression(ar);

    const std::size_t q = ma_.empty() ? 0 : ma_.back().lag;
    products_.assign(q + 1, 0.0L);
    products_[0] = 1.0L;
    for (std::size_t i = 0; i < ma_.size(); ++i) {
        const long double theta = ma_[i].value;
        products_[ma_[i].lag] += theta;
        for (std::size_t j = 0; j <= i; ++j) {
            products_[ma_[i].lag - ma_[j].lag] += theta * ma_[j].value;
        }
    }
    autocovariances_.assign(order_ + 1, 0.0L);
    for (std::size_t j = 0; j <= q; ++j) {
        const long double weight = products_[j];
        if (weight == 0.0L) continue;
        for (std::size_t k = 0; k <= order_; ++k) {
            long double pair = autoregression_[k + j];
            if (j > 0) pair += autoregression_[k > j ? k - j : j - k];
            autocovariances_[k] += weight * pair;
        }
    }
    const long double variance = autocovariances_[0];
    return variance > 0.0L && variance < 1e300L;
}

template <class Real>
double OneStepFilter::advance(State<Real>& state, std::span<const double> series, std::size_t from,
                              std::size_t to) {
    const std::size_t r = order_;
    Real* const a = state.a.data();
    Real* const b = state.b.data();
    Real* const s = state.prediction.data();
    Real variance = state.variance;
    double squares = 0.0;
    for (std::size_t t = from; t < to; ++t) {
        const Real error = static_cast<Real>(series[t]) - s[0];
        const Real inverse = 1 / variance;
        const Real partial = b[0] * inverse;
        const Real gain = error * inverse;
        errors_[t] = static_cast<double>(error);
        variances_[t] = static_cast<double>(variance);
        squares += static_cast<double>(error * gain);
        variance -= partial * b[0];
        for (const Term& term : ar_) {
            const Real value = static_cast<Real>(term.value);
            b[r] += value * b[r - term.lag];
            s[r] += value * s[r - term.lag];
        }
        for (std::size_t i = 0; i < r; ++i) {
            const Real ahead = b[i + 1];
            const Real before = a[i];
            s[i] = s[i + 1] + before * gain;
            b[i] = ahead - partial * before;
            a[i] = before - partial * ahead;
        }
        b[r] = s[r] = 0;
    }
    state.variance = variance;
    return squares;
}

template <std::size_t R>
double OneStepFilter::advanceFew(std::span<const double> series, std::size_t from, std::size_t to) {
    std::array<double, R> phi{};
    for (const Term& term : ar_) phi[term.lag - 1] = term.value;
    std::array<double, R + 1> a{};
    std::array<double, R + 1> b{};
    std::array<double, R + 1> s{};
    std::copy_n(state_.a.begin(), R, a.begin());
    std::copy_n(state_.b.begin(), R, b.begin());
    std::copy_n(state_.prediction.begin(), R, s.begin());
    double variance = state_.variance;
    double squares = 0.0;
    for (std::size_t t = from; t < to; ++t) {
        const double error = series[t] - s[0];
        const double inverse = 1.0 / variance;
        const double partial = b[0] * inverse;
        const double gain = error * inverse;
        errors_[t] = error;
        variances_[t] = variance;
        squares += error * gain;
        variance -= partial * b[0];
        b[R] = s[R] = 0.0;
        for (std::size_t j = R; j-- > 0;) {
            b[R] += phi[j] * b[R - 1 - j];
            s[R] += phi[j] * s[R - 1 - j];
        }
        for (std::size_t i = 0; i < R; ++i) {
            const double ahead = b[i + 1];
            const double before = a[i];
            s[i] = s[i + 1] + before * gain;
            b[i] = ahead - partial * before;
            a[i] = before - partial * ahead;
        }
    }
    std::copy_n(a.begin(), R, state_.a.begin());
    std::copy_n(b.begin(), R, state_.b.begin());
    std::copy_n(s.begin(), R, state_.prediction.begin());
    state_.variance = variance;
    return squares;
}

double OneStepFilter::advanceAny(std::span<const double> series, std::size_t from, std::size_t to) {
    switch (order_) {
        case 1:
            return advanceFew<1>(series, from, to);
        case 2:
            return advanceFew<2>(series, from, to);
        case 3:
            return advanceFew<3>(series, from, to);
        case 4:
            return advanceFew<4>(series, from, to);
        default:
            return advance(state_, series, from, to);
    }
}

bool OneStepFilter::settled() const {
    constexpr double kVanished = 1e-9;  // its square is lost in rounding
    const double limit = kVanished * state_.variance;
    return std::ranges::all_of(std::span(state_.b).first(order_),
                               [limit](double value) { return std::fabs(value) <= limit; });
}

OneStepFilter::Sums OneStepFilter::run(std::span<const double> series) {
    const std::size_t n = series.size();
    length_ = n;
    if (errors_.size() < n) {
        errors_.resize(n);
        variances_.resize(n);
        logs_.resize(n);
    }
    ProgressPhase phase("Filtering the series", n);
    // The first values take out of the covariances what lies far beyond 1 near the unit circle.
    std::size_t t = std::min(n, std::max<std::size_t>(order_, 1));
    Sums sums;
    sums.squares = advance(start_, series, 0, t);
    const auto narrow = [](const std::vector<long double>& from, std::vector<double>& to) {
        to.resize(from.size());
        std::ranges::transform(from, to.begin(),
                               [](long double value) { return static_cast<double>(value); });
    };
    narrow(start_.a, state_.a);
    narrow(start_.b, state_.b);
    narrow(start_.prediction, state_.prediction);
    state_.variance = static_cast<double>(start_.variance);
    // The steady recursion looks r errors back: it must have been steady for as long.
    bool before = false;
    while (t < n) {
        const bool now = settled();
        if (now && before) break;
        before = now;
        const std::size_t next = std::min(n, t + std::max<std::size_t>(order_, 16));
        sums.squares += advanceAny(series, t, next);
        phase.advance(next - t);
        t = next;
    }
    settledAt_ = t;
    Support::ln(variances_.data(), logs_.data(), static_cast<std::int64_t>(t));
    sums.logVariances =
        std::accumulate(logs_.begin(), logs_.begin() + static_cast<std::ptrdiff_t>(t), 0.0);
    if (t < n) {
        computeSteadyTerms();
        sums.logVariances += static_cast<double>(n - t) * std::log(state_.variance);
        for (; t < n; t += std::min(n - t, kBlock)) {
            const std::size_t next = std::min(n, t + kBlock);
            sums.squares += steady(series, t, next) / state_.variance;
            phase.advance(next - t);
        }
    }
    return sums;
}

/// The gains are the ψ weights of the invertible process; its AR part is known.
void OneStepFilter::computeSteadyTerms() {
    constexpr double kSame = 1e-7;
    impulse_.resize(order_ + 1);
    impulse_[0] = 1.0;
    for (std::size_t j = 1; j <= order_; ++j) impulse_[j] = state_.a[j - 1] / state_.variance;
    const std::size_t q = ma_.empty() ? 0 : ma_.back().lag;
    steadyMa_.clear();
    for (std::size_t j = 1; j <= q; ++j) {
        double theta = impulse_[j];
        for (const Term& term : ar_) {
            if (term.lag <= j) theta -= term.value * impulse_[j - term.lag];
        }
        steadyMa_.push_back({j, theta});
    }
    double difference = 0.0;
    auto given = ma_.begin();
    for (const Term& term : steadyMa_) {
        const bool listed = given != ma_.end() && given->lag == term.lag;
        difference = std::max(difference, std::fabs(term.value - (listed ? given->value : 0.0)));
        if (listed) ++given;
    }
    if (difference < kSame) steadyMa_ = ma_;
}

double OneStepFilter::steady(std::span<const double> series, std::size_t from, std::size_t to) {
    const std::size_t n = to - from;
    double* const errors = errors_.data() + from;
    std::copy_n(series.data() + from, n, errors);
    for (const Term& term : ar_) {
        const double* const lagged = series.data() + from - term.lag;
        for (std::size_t t = 0; t < n; ++t) errors[t] -= term.value * lagged[t];
    }
    const bool dense = !steadyMa_.empty() && steadyMa_.back().lag == steadyMa_.size();
    std::array<double, 4> theta{};
    if (dense && steadyMa_.size() <= theta.size()) {
        std::ranges::transform(steadyMa_, theta.begin(), &Term::value);
    }
    switch (dense ? steadyMa_.size() : 0) {
        case 1:
            subtractRecent<1>(theta.data(), errors, n);
            break;
        case 2:
            subtractRecent<2>(theta.data(), errors, n);
            break;
        case 3:
            subtractRecent<3>(theta.data(), errors, n);
            break;
        case 4:
            subtractRecent<4>(theta.data(), errors, n);
            break;
        default:
            for (std::size_t t = 0; t < n; ++t) {
                double value = errors[t];
                for (const Term& term : steadyMa_) value -= term.value * *(errors + t - term.lag);
                errors[t] = value;
            }
    }
    return sumOfSquares(errors, n);
}

std::vector<double> OneStepFilter::variances() const {
    std::vector<double> result(length_, state_.variance);
    std::copy_n(variances_.begin(), std::min(settledAt_, length_), result.begin());
    return result;
}

std::vector<double> OneStepFilter::forecast(std::span<const double> series,
                                            std::size_t steps) const {
    std::vector<double> result(steps);
    const bool isSteady = settledAt_ < length_;
    for (std::size_t i = 0; i < steps; ++i) {
        if (!isSteady && i < order_) {
            result[i] = state_.prediction[i];
            continue;
        }
        double sum = 0.0;
        for (const Term& term : ar_) {
            sum += term.value *
                   (term.lag <= i ? result[i - term.lag] : series[length_ + i - term.lag]);
        }
        if (isSteady) {
            for (const Term& term : steadyMa_) {
                if (term.lag > i) sum += term.value * errors_[length_ + i - term.lag];
            }
        }
        result[i] = sum;
    }
    return result;
}

}  // namespace Veltrix::Engine::TS::ARIMA
