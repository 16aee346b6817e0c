#pragma once

#include <cstdint>
#include <vector>

#include "Veltrix/Data/Vector.h"

namespace Veltrix::Engine::HC {

/// Clusters of few records, those of most records first. The records of a cluster stand side by
/// side, and from them follow the distances d(A, B) that the recurrence leads to, with n_A and n_B
/// records and Σ over a of A and b of B:
///
/// | linkage          | d(A, B)                                                            |
/// |------------------|--------------------------------------------------------------------|
/// | complete         | max d(a, b)                                                        |
/// | group average    | Σ d(a, b) / (n_A n_B)                                              |
/// | weighted average | Σ s_a s_b d(a, b), s halved for every merge of its cluster         |
/// | Ward             | 2 / (n_A + n_B) · (Σ d(a, b) − n_A n_B (v_A + v_B)), v_A = ½ Σ d(a, a′) /
/// n_A² |
///
/// The last is the e-distance of Székely and Rizzo (2005).
struct Groups {
    /// n records, each a cluster.
    explicit Groups(std::int32_t n);

    std::int64_t count() const { return static_cast<std::int64_t>(labels.size()); }
    std::int64_t start(std::int64_t group) const { return starts[static_cast<std::size_t>(group)]; }
    std::int64_t size(std::int64_t group) const { return start(group + 1) - start(group); }

    std::vector<std::int32_t> records;
    std::vector<std::int32_t> starts;  ///< of each cluster's records, and the end of the last
    std::vector<std::int32_t> labels;  ///< smallest record, from 1
    Vector shares;                     ///< s of the records
    Vector spreads;                    ///< v of the clusters
};

/// Two clusters that are merged, the first the one of the smaller label, at a distance.
struct GroupMerge {
    std::int32_t first;
    std::int32_t second;
    double distance;
};

/// The clusters after merges no two of which share a cluster; within a size in ascending order of
/// `ranks`, one for each cluster there was; a merged one takes the smaller.
Groups merged(const Groups& groups, const std::vector<GroupMerge>& merges, const Vector& ranks);

}  // namespace Veltrix::Engine::HC
