#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "Veltrix/Data/Progress.h"

/// @file
/// The recursions of the smoothers, written once for a single smoothing (V = double) and for
/// several side by side (V = `Lanes`).
///
/// A step says what it expects of the next value, given the seasonal index of its time, and learns
/// from the value.

namespace Veltrix::Engine::TS::Smoothing {

template <class V>
struct LevelStep {
    static constexpr bool kLearnsFromFirst = false;
    V alpha, level;

    V expected(const V& /*season*/) const { return level; }
    void learn(double x, V& /*season*/) { level = alpha * x + (1.0 - alpha) * level; }
};

template <class V>
struct TrendStep {
    static constexpr bool kLearnsFromFirst = false;
    V alpha, beta, level, trend;

    V expected(const V& /*season*/) const { return level + trend; }
    void learn(double x, V& /*season*/) { learnLine(alpha * x); }
    /// α x is what the value says of the level.
    void learnLine(const V& said) {
        const V next = said + (1.0 - alpha) * (level + trend);
        trend = beta * (next - level) + (1.0 - beta) * trend;
        level = next;
    }
};

template <class V>
struct AdditiveStep {
    static constexpr bool kLearnsFromFirst = true;
    TrendStep<V> line;
    V gamma;

    V expected(const V& season) const { return line.level + line.trend + season; }
    void learn(double x, V& season) {
        line.learnLine(line.alpha * (x - season));
        season = gamma * (x - line.level) + (1.0 - gamma) * season;
    }
};

template <class V>
struct NoTrendStep {
    static constexpr bool kLearnsFromFirst = true;
    V alpha, gamma, level;

    V expected(const V& season) const { return level + season; }
    void learn(double x, V& season) {
        const V next = alpha * (x - season) + (1.0 - alpha) * level;
        season = gamma * (x - level) + (1.0 - gamma) * season;
        level = next;
    }
};

template <class V>
struct MultiplicativeStep {
    static constexpr bool kLearnsFromFirst = true;
    TrendStep<V> line;
    V gamma;

    V expected(const V& season) const { return (line.level + line.trend) * season; }
    void learn(double x, V& season) {
        line.learnLine(line.alpha * x / season);
        season = gamma * x / line.level + (1.0 - gamma) * season;
    }
};

/// Smooths the series: `take(t, expected)` for every time from `first` (0 or 1) on. Returns the
/// step after the last value. `seasons` holds one index at least, which forms without season leave.
template <class Step, class V, class Take>
Step smooth(std::span<const double> series, std::uint64_t first, Step step, std::span<V> seasons,
            Take take) {
    constexpr std::uint64_t kBlock = 16384;  // values between two reports of progress
    const std::uint64_t size = series.size();
    ProgressPhase phase("Smoothing the series", size);
    std::uint64_t season = 0;
    if (first == 0) take(std::uint64_t{0}, step.expected(seasons[0]));
    if constexpr (Step::kLearnsFromFirst) step.learn(series[0], seasons[0]);
    if (++season == seasons.size()) season = 0;
    for (std::uint64_t start = 1; start < size; start += kBlock) {
        const std::uint64_t end = std::min(size, start + kBlock);
        for (std::uint64_t t = start; t < end; ++t) {
            V& index = seasons[season];
            take(t, step.expected(index));
            step.learn(series[t], index);
            if (++season == seasons.size()) season = 0;
        }
        phase.advance(end - start);
    }
    return step;
}

}  // namespace Veltrix::Engine::TS::Smoothing
