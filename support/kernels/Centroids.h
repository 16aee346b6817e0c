#pragma once

#include <cstdint>

/// @file
/// Loops of centroid clustering: a quick search for the nearest centroid that knows when single
/// precision cannot decide, and sums of records by group.

namespace Veltrix::Kernels {

/// Records searched for together, and centroids compared with them at a time.
constexpr std::int64_t kScreenRecords = 24;
constexpr std::int64_t kScreenCentroids = 4;

/// A panel of records r against all centroids c. The score of a pair,
///
///     offset(c) + Σₖ r(k) c(k),
///
/// is a lower bound of what is to be smallest; it is at most 2·bound(r, c) below it,
/// bound(r, c) = slope·(length(r)·length(c) + length(c)²/2 + floor).
struct Screen {
    std::int64_t depth;  ///< number of coordinates
    std::int64_t numCentroids;
    const float* records;  ///< coordinate k of record r at [k · kScreenRecords + r]
    /// Groups of kScreenCentroids, the last one as wide as what is left: coordinate k of centroid c
    /// of a group of width w at [k · w + c].
    const float* centroids;
    const float* offsets;
    const float* recordLengths;
    const float* centroidLengths;
    float slope;
    float floor;
    /// Multiplied by length(r)², what must lie between two scores besides their bounds.
    float share;
    std::int32_t* nearest;  ///< result per record
    std::int32_t* unsure;   ///< result per record: not 0 when another centroid may be as near
};

/// Records with their groups; element (i, k) stands at [i · recordStep + k · coordinateStep].
struct GroupedRecords {
    const double* values;
    std::int64_t recordStep;
    std::int64_t coordinateStep;
    std::int64_t count;
    std::int64_t depth;
    const std::int32_t* groups;
};

struct Centroids {
    /// The centroid of the least score for every record. Returns how many records are unsure.
    std::int64_t (*screen)(const Screen& screen);
    /// Adds every record to sums[group · depth + k], one after the other.
    void (*addToGroups)(const GroupedRecords& records, double* sums);
};

/// The kernels for this processor.
const Centroids& centroids();

extern const Centroids kCentroidsBaseline;
#if defined(__x86_64__)
extern const Centroids kCentroidsAvx2;
#endif

}  // namespace Veltrix::Kernels
