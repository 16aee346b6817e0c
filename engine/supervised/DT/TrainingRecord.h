#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Veltrix/Engine/DT/Tree.h"
#include "engine/supervised/DT/ClassShares.h"

namespace Veltrix::Engine::DT {

struct TrainingRecord {
    /// The records in an order in which those of every node stand side by side, ascending within a
    /// leaf of the grown tree.
    std::vector<std::int32_t> order;
    ClassShares shares;            ///< as in the fit; of no class in regression
    std::vector<int> classCounts;  ///< an entry for each class of each node, by id

    std::size_t numClasses() const { return shares.numClasses(); }
    const int* countsOf(const Node& node) const {
        return classCounts.data() + static_cast<std::size_t>(node.id - 1) * numClasses();
    }
    /// Records of each class in the root.
    std::vector<int> totals() const {
        return {classCounts.begin(),
                classCounts.begin() + static_cast<std::ptrdiff_t>(numClasses())};
    }
};

}  // namespace Veltrix::Engine::DT
