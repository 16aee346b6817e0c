#pragma once

// Compiled once for the baseline and once for AVX2; see ArraysImpl.h for the rules that holds to.

#include "support/kernels/LanesImpl.h"
#include "support/kernels/LinkageUpdates.h"

namespace {

using Veltrix::Kernels::LinkageCoefficients;
using Veltrix::Kernels::WardSizes;

[[gnu::always_inline]] inline Lanes absolute(const Lanes& x) { return magnitude(x); }
[[gnu::always_inline]] inline double absolute(double x) { return __builtin_fabs(x); }

/// Works on lanes of numbers and on single ones alike.
template <class Number>
[[gnu::always_inline]] inline void updated(Number& first, const Number& second,
                                           const LinkageCoefficients& m) {
    const Number difference = second - first;
    first = m.ofSecond * second + m.ofFirst * first + m.shift + m.difference * absolute(difference);
}

template <class Number>
[[gnu::always_inline]] inline void updatedByWard(Number& first, const Number& second,
                                                 const Number& size, const WardSizes& m) {
    const Number all = size + (m.first + m.second);
    const Number difference = second - first;
    first = (size + m.second) / all * second + (size + m.first) / all * first +
            -size / all * m.distance + 0.0 * absolute(difference);
}

void update(int64_t n, double* __restrict first, const double* __restrict second,
            const LinkageCoefficients& coefficients) {
    int64_t k = 0;
    for (; k + kLanes <= n; k += kLanes) {
        Lanes values = load(first + k);
        updated(values, load(second + k), coefficients);
        store(first + k, values);
    }
    for (; k < n; ++k) updated(first[k], second[k], coefficients);
}

void updateByWard(int64_t n, double* __restrict first, const double* __restrict second,
                  const double* __restrict clusterSizes, const WardSizes& merged) {
    int64_t k = 0;
    for (; k + kLanes <= n; k += kLanes) {
        Lanes values = load(first + k);
        updatedByWard(values, load(second + k), load(clusterSizes + k), merged);
        store(first + k, values);
    }
    for (; k < n; ++k) updatedByWard(first[k], second[k], clusterSizes[k], merged);
}

void updateByWardQuickly(int64_t n, double* __restrict first, const double* __restrict second,
                         const double* __restrict clusterSizes, const WardSizes& merged) {
    const double both = merged.first + merged.second;
    for (int64_t k = 0; k < n; ++k) {
        const double size = clusterSizes[k];
        first[k] = ((size + merged.second) * second[k] + (size + merged.first) * first[k] -
                    size * merged.distance) /
                   (size + both);
    }
}

constexpr Veltrix::Kernels::LinkageUpdates kLinkageUpdates = {update, updateByWard,
                                                              updateByWardQuickly};

}  // namespace
