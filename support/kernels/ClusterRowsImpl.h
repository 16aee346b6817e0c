#pragma once

// Compiled once for the baseline and once for AVX2; see ArraysImpl.h for the rules that holds to.

#include "support/kernels/ClusterRows.h"
#include "support/kernels/DistanceTilesImpl.h"
#include "support/kernels/LanesImpl.h"

namespace {

using Veltrix::Kernels::ClusterRows;
using Veltrix::Kernels::NearestTwo;

#if defined(__AVX__)
[[gnu::always_inline]] inline Lanes root(const Lanes& x) { return __builtin_ia32_sqrtpd256(x); }
[[gnu::always_inline]] inline FloatLanes root(const FloatLanes& x) {
    return __builtin_ia32_sqrtps256(x);
}
#elif defined(__x86_64__)
[[gnu::always_inline]] inline Lanes root(const Lanes& x) { return __builtin_ia32_sqrtpd(x); }
[[gnu::always_inline]] inline FloatLanes root(const FloatLanes& x) {
    return __builtin_ia32_sqrtps(x);
}
#else
template <class Several>
[[gnu::always_inline]] inline Several root(Several x) {
    for (unsigned k = 0; k < sizeof x / sizeof x[0]; ++k) x[k] = __builtin_sqrt(x[k]);
    return x;
}
#endif

template <class Number>
void squareRoots(int64_t n, Number* x) {
    using Several = typename LanesOf<Number>::Type;
    constexpr int64_t kCount = LanesOf<Number>::kCount;
    int64_t k = 0;
    for (; k + kCount <= n; k += kCount) store(x + k, root(load(x + k)));
    for (; k < n; ++k) x[k] = root(Several{} + x[k])[0];
}

template <class Number>
void add(int64_t n, const Number* __restrict x, Number* __restrict sums) {
    for (int64_t k = 0; k < n; ++k) sums[k] += x[k];
}

template <class Number>
void keepLarger(int64_t n, const Number* __restrict x, Number* __restrict largest) {
    for (int64_t k = 0; k < n; ++k) largest[k] = x[k] > largest[k] ? x[k] : largest[k];
}

struct Sum {
    template <class Number>
    [[gnu::always_inline]] static Number of(Number a, Number b) {
        return a + b;
    }
};

struct Largest {
    template <class Number>
    [[gnu::always_inline]] static Number of(Number a, Number b) {
        return b > a ? b : a;
    }
};

/// A size known beforehand makes a loop over groups one of vectors.
template <class Choice, int Size, class Number>
[[gnu::always_inline]] inline void groupsOf(int64_t groups, const Number* __restrict x,
                                            Number* __restrict out) {
    for (int64_t g = 0; g < groups; ++g) {
        Number value = x[g * Size];
        for (int k = 1; k < Size; ++k) value = Choice::of(value, x[g * Size + k]);
        out[g] = value;
    }
}

template <class Choice, class Number>
void groups(int64_t count, int64_t size, const Number* x, Number* out) {
    if (size == 1) return groupsOf<Choice, 1>(count, x, out);
    if (size == 2) return groupsOf<Choice, 2>(count, x, out);
    if (size == 3) return groupsOf<Choice, 3>(count, x, out);
    if (size == 4) return groupsOf<Choice, 4>(count, x, out);
    for (int64_t g = 0; g < count; ++g) {
        Number value = x[g * size];
        for (int64_t k = 1; k < size; ++k) value = Choice::of(value, x[g * size + k]);
        out[g] = value;
    }
}

template <class Number>
void combine(int64_t n, Number* __restrict x, Number factor, Number weight, Number own,
             const Number* __restrict others) {
    for (int64_t k = 0; k < n; ++k) x[k] = factor * x[k] - weight * (own + others[k]);
}

/// Smallest numbers and where they stand, lane by lane, and the next smallest.
template <class Number>
struct NearestLanes {
    using Several = typename LanesOf<Number>::Type;

    [[gnu::always_inline]] inline void take(const Several& value, Number step) {
        const auto nearer = value < least;
        const Several other = nearer ? least : value;
        second = other < second ? other : second;
        least = nearer ? value : least;
        steps = nearer ? Several{} + step : steps;
    }

    Several least = Several{} + static_cast<Number>(__builtin_inf());
    Several second = least;
    Several steps = {};
};

template <class Number>
[[gnu::always_inline]] inline void take(NearestTwo<Number>& result, Number value, int64_t place) {
    if (value < result.least || (value == result.least && place < result.place)) {
        result.second = result.least;
        result.least = value;
        result.place = place;
    } else if (value < result.second) {
        result.second = value;
    }
}

template <class Number>
NearestTwo<Number> nearestTwo(int64_t n, const Number* x) {
    constexpr int64_t kCount = LanesOf<Number>::kCount;
    constexpr int64_t kStep = 2 * kCount;
    constexpr auto kInfinity = static_cast<Number>(__builtin_inf());
    NearestLanes<Number> halves[2];
    int64_t k = 0;
    Number step = 0;
    for (; k + kStep <= n; k += kStep, step += 1) {
        halves[0].take(load(x + k), step);
        halves[1].take(load(x + k + kCount), step);
    }
    NearestTwo<Number> result{kInfinity, kInfinity, n};
    for (int64_t h = 0; h < 2; ++h) {
        for (int64_t c = 0; c < kCount; ++c) {
            const Number least = halves[h].least[c];
            if (!(least < kInfinity)) continue;
            take(result, least, static_cast<int64_t>(halves[h].steps[c]) * kStep + h * kCount + c);
            const Number second = halves[h].second[c];
            result.second = second < result.second ? second : result.second;
        }
    }
    for (; k < n; ++k) {
        if (x[k] < kInfinity) take(result, x[k], k);
    }
    return result;
}

template <class Number>
void keepTwoSmallest(int64_t n, const Number* __restrict x, Number place, Number* __restrict least,
                     Number* __restrict second, Number* __restrict places) {
    for (int64_t k = 0; k < n; ++k) {
        const Number value = x[k];
        const bool nearer = value < least[k];
        const Number other = nearer ? least[k] : value;
        second[k] = other < second[k] ? other : second[k];
        least[k] = nearer ? value : least[k];
        places[k] = nearer ? place : places[k];
    }
}

template <class Number>
constexpr ClusterRows<Number> clusterRowsOf() {
    return {differences<AddSquare, Number>,
            differences<AddMagnitude, Number>,
            differences<KeepLargest, Number>,
            squareRoots<Number>,
            add<Number>,
            keepLarger<Number>,
            groups<Sum, Number>,
            groups<Largest, Number>,
            combine<Number>,
            nearestTwo<Number>,
            keepTwoSmallest<Number>};
}

}  // namespace
