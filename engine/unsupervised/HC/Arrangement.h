#pragma once

#include <cstdint>
#include <optional>

#include "Veltrix/Data/Enumerations.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Engine/HC.h"

namespace Veltrix::Engine::HC {

/// Linkage of the rows of x with fewer distances, in an order that keeps those together which are
/// wanted together. Nothing when two pairs of clusters are so near (`Util::equal`) that the order
/// of merges could be another one, when a distance is not finite, and for linkages and numbers of
/// rows that it would be no gain for.
std::optional<MergingHistory> mergeArranged(const Matrix& x, DissimilarityType type,
                                            std::int32_t linkage);

}  // namespace Veltrix::Engine::HC
