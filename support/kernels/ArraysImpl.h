#pragma once

// Compiled once for the baseline and once for AVX2 with FMA. Everything stands in an unnamed
// namespace and no inline function from elsewhere is called unless it is always inlined: a copy
// compiled for wider registers must never be the one that the linker picks for the whole library.

#include "support/kernels/Arrays.h"
#include "support/kernels/DistanceTilesImpl.h"
#include "support/kernels/LanesImpl.h"
#include "support/kernels/NearRowsImpl.h"

namespace {

using Veltrix::Kernels::CompensatedSum;

/// Independent registers of partial results: enough to hide the latency of an addition.
constexpr int kChains = 4;
constexpr int64_t kStep = kChains * kLanes;
constexpr double kNaN = __builtin_nan("");

struct AsItIs {
    [[gnu::always_inline]] static void apply(Lanes& /*x*/) {}
};

struct ZeroForNaN {
    [[gnu::always_inline]] static void apply(Lanes& x) { x = x == x ? x : Lanes{}; }
};

struct Magnitude {
    [[gnu::always_inline]] static void apply(Lanes& x) { x = magnitude(x); }
};

template <class Term>
[[gnu::always_inline]] inline void compensated(int64_t n, const double* x, CompensatedSum& result) {
    Lanes sums[kChains] = {};
    Lanes rests[kChains] = {};
    int64_t i = 0;
    for (; i + kStep <= n; i += kStep) {
#pragma GCC unroll 4
        for (int c = 0; c < kChains; ++c) {
            Lanes value = load(x + i + c * kLanes);
            Term::apply(value);
            const Lanes next = sums[c] + value;
            const Lanes taken = next - sums[c];
            rests[c] += (sums[c] - (next - taken)) + (value - taken);
            sums[c] = next;
        }
    }
    for (int c = 0; c < kChains; ++c) {
        for (int k = 0; k < kLanes; ++k) {
            result.add(sums[c][k]);
            result.rest += rests[c][k];
        }
    }
    for (; i < n; ++i) {
        Lanes value = Lanes{} + x[i];
        Term::apply(value);
        result.add(value[0]);
    }
}

/// Σ(x − centre)²; one callable subtracts the centres from element i on, the other gives one.
template <class LaneCentre, class Centre>
[[gnu::always_inline]] inline double deviations(int64_t n, const double* x, LaneCentre laneCentre,
                                                Centre centreOf) {
    Lanes sums[kChains] = {};
    int64_t i = 0;
    for (; i + kStep <= n; i += kStep) {
#pragma GCC unroll 4
        for (int c = 0; c < kChains; ++c) {
            Lanes difference = load(x + i + c * kLanes);
            laneCentre(i + c * kLanes, difference);
            sums[c] += difference * difference;
        }
    }
    const Lanes all = (sums[0] + sums[1]) + (sums[2] + sums[3]);
    double result = 0.0;
    for (int k = 0; k < kLanes; ++k) result += all[k];
    for (; i < n; ++i) {
        const double difference = x[i] - centreOf(i);
        result += difference * difference;
    }
    return result;
}

struct Smaller {
    [[gnu::always_inline]] static void keep(Lanes& best, const Lanes& value) {
        best = ((value < best) | (best != best)) ? value : best;
    }
};

struct Larger {
    [[gnu::always_inline]] static void keep(Lanes& best, const Lanes& value) {
        best = ((value > best) | (best != best)) ? value : best;
    }
};

struct LargerMagnitude {
    [[gnu::always_inline]] static void keep(Lanes& best, const Lanes& value) {
        const Lanes candidate = magnitude(value);
        best = ((candidate <= best) | (best != best)) ? best : candidate;
    }
};

template <class Choice>
[[gnu::always_inline]] inline double chosen(int64_t n, const double* x, double start) {
    Lanes best[kChains];
    for (Lanes& lane : best) lane = Lanes{} + start;
    int64_t i = 0;
    for (; i + kStep <= n; i += kStep) {
#pragma GCC unroll 4
        for (int c = 0; c < kChains; ++c) Choice::keep(best[c], load(x + i + c * kLanes));
    }
    for (int c = 1; c < kChains; ++c) Choice::keep(best[0], best[c]);
    Lanes result = Lanes{} + start;
    for (int k = 0; k < kLanes; ++k) Choice::keep(result, Lanes{} + best[0][k]);
    for (; i < n; ++i) Choice::keep(result, Lanes{} + x[i]);
    return result[0];
}

template <class Term>
CompensatedSum sumOf(int64_t n, const double* x) {
    CompensatedSum result;
    compensated<Term>(n, x, result);
    return result;
}

void addTo(int64_t n, const double* __restrict x, double* __restrict sums,
           double* __restrict rests) {
    for (int64_t i = 0; i < n; ++i) {
        const double next = sums[i] + x[i];
        const double taken = next - sums[i];
        rests[i] += (sums[i] - (next - taken)) + (x[i] - taken);
        sums[i] = next;
    }
}

double deviationsFrom(int64_t n, const double* x, double centre) {
    return deviations(
        n, x, [&](int64_t, Lanes& value) { value -= centre; }, [&](int64_t) { return centre; });
}

double deviationsFromEach(int64_t n, const double* x, const double* centres) {
    return deviations(
        n, x, [&](int64_t i, Lanes& value) { value -= load(centres + i); },
        [&](int64_t i) { return centres[i]; });
}

double smallest(int64_t n, const double* x) { return chosen<Smaller>(n, x, kNaN); }
double largest(int64_t n, const double* x) { return chosen<Larger>(n, x, kNaN); }
double largestMagnitude(int64_t n, const double* x) { return chosen<LargerMagnitude>(n, x, 0.0); }

void keepSmaller(int64_t n, const double* __restrict x, double place, double* __restrict least,
                 double* __restrict places) {
    for (int64_t i = 0; i < n; ++i) {
        const bool take = (x[i] < least[i]) | ((least[i] != least[i]) & (x[i] == x[i]));
        least[i] = take ? x[i] : least[i];
        places[i] = take ? place : places[i];
    }
}

void sweep(int64_t n, double* a, int64_t pivot, double alongSign) {
    double* pivotLine = a + pivot * n;
    const double diagonal = pivotLine[pivot];
    for (int64_t line = 0; line < n; ++line) {
        if (line == pivot) continue;
        double* values = a + line * n;
        const double factor = values[pivot] / diagonal;
        for (int64_t i = 0; i < n; ++i) values[i] -= factor * pivotLine[i];
        values[pivot] = -alongSign * factor;
    }
    for (int64_t i = 0; i < n; ++i) pivotLine[i] *= alongSign / diagonal;
    pivotLine[pivot] = 1.0 / diagonal;
}

constexpr Veltrix::Kernels::Arrays kArrays = {
    sumOf<AsItIs>,
    sumOf<ZeroForNaN>,
    sumOf<Magnitude>,
    addTo,
    deviationsFrom,
    deviationsFromEach,
    smallest,
    largest,
    largestMagnitude,
    keepSmaller,
    sweep,
    differences<AddSquare>,
    differences<AddMagnitude>,
    differences<KeepLargest>,
    nearRows,
};

}  // namespace
