#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/HC.h"
#include "support/kernels/ClusterRows.h"

namespace Veltrix::Engine::HC {

/// Clusters that are to be merged.
struct Clusters {
    Vector distances;  ///< packed as `packedDistances` does
    std::vector<std::int32_t> labels;
    Vector sizes;
    /// Of each: the distance to the nearest of those after it, the place of that cluster among
    /// them, and the distance to the next nearest; nothing when not known.
    std::vector<Kernels::NearestTwo<double>> nearest = {};
};

/// n ≥ 2 records by their distances, in their order.
Clusters recordsAsClusters(Vector distances, std::int32_t n);

/// Merges clusters in the order of their labels to the end. Throws
/// `HierarchicalClusteringDistanceMatrixInvalid` when no finite distance is left.
MergingHistory agglomerate(Clusters clusters, std::int32_t linkage);

/// The same for clusters in any order. Nothing as soon as two pairs are nearest (`Util::equal`), or
/// no finite distance is left.
std::optional<MergingHistory> agglomerateUnlessTied(Clusters clusters, std::int32_t linkage);

}  // namespace Veltrix::Engine::HC
