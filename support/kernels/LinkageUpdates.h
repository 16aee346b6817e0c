#pragma once

#include <cstdint>

/// @file
/// The recurrence of Lance and Williams (1967) over rows of distances. Every operation is rounded
/// by itself, in the order written, so that equal distances stay equal on every machine.

namespace Veltrix::Kernels {

/// A merge of clusters i and j: d(k, i∪j) = a_j·d(j,k) + a_i·d(i,k) + b·d(i,j) + c·|d(j,k) −
/// d(i,k)|.
struct LinkageCoefficients {
    double ofSecond;    ///< a_j
    double ofFirst;     ///< a_i
    double shift;       ///< b·d(i,j)
    double difference;  ///< c
};

/// A merge whose coefficients depend on the size of k as well, by Ward's rule: with
/// s = n_k + n_i + n_j these are a_j = (n_k + n_j)/s, a_i = (n_k + n_i)/s, b = −n_k/s and c = 0.
struct WardSizes {
    double second;    ///< n_j
    double first;     ///< n_i
    double distance;  ///< d(i,j)
};

struct LinkageUpdates {
    /// first[k] = d(k, i∪j) for n clusters k, from first[k] = d(i,k) and second[k] = d(j,k).
    void (*update)(std::int64_t n, double* first, const double* second,
                   const LinkageCoefficients& coefficients);
    void (*updateByWard)(std::int64_t n, double* first, const double* second,
                         const double* clusterSizes, const WardSizes& merged);
    /// The same with one division in place of three, rounded differently.
    void (*updateByWardQuickly)(std::int64_t n, double* first, const double* second,
                                const double* clusterSizes, const WardSizes& merged);
};

/// The kernels for this processor.
const LinkageUpdates& linkageUpdates();

extern const LinkageUpdates kLinkageUpdatesBaseline;
#if defined(__x86_64__)
extern const LinkageUpdates kLinkageUpdatesAvx2;
#endif

}  // namespace Veltrix::Kernels
