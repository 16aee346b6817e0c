#pragma once

#include <optional>

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Engine/HC.h"

namespace Veltrix::Engine::HC {

/// Single linkage of the rows of x, at least two, by Euclidean distance. Nothing when two merges
/// are so near (`Util::equal`) that their order could be another one, or a distance is not finite.
std::optional<MergingHistory> mergeBySpanningTree(const Matrix& x);

}  // namespace Veltrix::Engine::HC
