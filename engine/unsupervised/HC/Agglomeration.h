#pragma once

#include <cstdint>

#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/HC.h"

namespace Veltrix::Engine::HC {

/// Merges n ≥ 2 records by their distances, packed as `packedDistances` does, to the end. Throws
/// `HierarchicalClusteringDistanceMatrixInvalid` when no finite distance is left.
MergingHistory agglomerate(Vector distances, std::int32_t n, std::int32_t linkage);

}  // namespace Veltrix::Engine::HC
