#pragma once

#include "Veltrix/Engine/AR.h"
#include "engine/unsupervised/AR/SupportTree.h"

namespace Veltrix::Engine::AR {

/// The frequent itemsets of at most `maxItems` items. Throws as `Model::fit`.
SupportTree growTree(const Data& data, std::uint64_t minSupport, std::uint64_t maxItems);

}  // namespace Veltrix::Engine::AR
