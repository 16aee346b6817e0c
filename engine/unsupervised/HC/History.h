#pragma once

#include <cstddef>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Engine/HC.h"

namespace Veltrix::Engine::HC {

/// The first merge that does not join two clusters: with a label outside [1, merges + 1], of
/// itself, or of a cluster merged into another before. The number of merges when there is none.
std::size_t firstFault(const MergingHistory& history);

/// Clusters, from 1 by ascending label, of the records after all but the last k − 1 merges.
IntVector cutIntoClusters(const MergingHistory& history, int k);

/// The last k − 1 merges as a tree over these clusters.
Dendrogram drawnTree(const MergingHistory& history, const IntVector& clusters, int k);

}  // namespace Veltrix::Engine::HC
