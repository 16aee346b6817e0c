#pragma once

#include <cstdint>

#include "support/kernels/Arrays.h"

/// @file
/// Distances from one cluster to consecutive others, made from those between their records, and
/// the nearest of them. Single precision serves to find what is near, double precision the rest.

namespace Veltrix::Kernels {

/// The smallest of some numbers, the first one on ties, and the smallest of the others.
template <class Number>
struct NearestTwo {
    Number least;
    Number second;
    std::int64_t place;
};

template <class Number>
struct ClusterRows {
    /// Σ(aₖ − bₖ)², Σ|aₖ − bₖ|, max|aₖ − bₖ|; see `Arrays`.
    void (*squaredDifferences)(const DistanceStripOf<Number>& strip);
    void (*absoluteDifferences)(const DistanceStripOf<Number>& strip);
    void (*largestDifferences)(const DistanceStripOf<Number>& strip);
    void (*squareRoots)(std::int64_t n, Number* x);
    /// sums[k] += x[k]
    void (*add)(std::int64_t n, const Number* x, Number* sums);
    /// largest[k] = max(largest[k], x[k])
    void (*keepLarger)(std::int64_t n, const Number* x, Number* largest);
    /// out[g] = the sum, the largest, of the `size` numbers of x from g · size on.
    void (*sumsOfGroups)(std::int64_t groups, std::int64_t size, const Number* x, Number* out);
    void (*largestOfGroups)(std::int64_t groups, std::int64_t size, const Number* x, Number* out);
    /// x[k] = factor · x[k] − weight · (own + others[k])
    void (*combine)(std::int64_t n, Number* x, Number factor, Number weight, Number own,
                    const Number* others);
    /// NaN is passed over; infinity, and n for the place, where there is nothing smaller.
    NearestTwo<Number> (*nearestTwo)(std::int64_t n, const Number* x);
    /// Where x is smaller than `least`, takes it over and notes `place`; the next smallest of all
    /// is in `second`. NaN is passed over.
    void (*keepTwoSmallest)(std::int64_t n, const Number* x, Number place, Number* least,
                            Number* second, Number* places);
};

/// The kernels for this processor.
template <class Number>
const ClusterRows<Number>& clusterRows();
template <>
const ClusterRows<float>& clusterRows();
template <>
const ClusterRows<double>& clusterRows();

extern const ClusterRows<float> kClusterRowsBaselineSingle;
extern const ClusterRows<double> kClusterRowsBaseline;
#if defined(__x86_64__)
extern const ClusterRows<float> kClusterRowsAvx2Single;
extern const ClusterRows<double> kClusterRowsAvx2;
#endif

}  // namespace Veltrix::Kernels
