#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Veltrix/Engine/DT/Tree.h"

namespace Veltrix::Engine::DT {

struct TrainingRecord {
    /// The records in an order in which those of every node stand side by side, ascending within a
    /// leaf of the grown tree.
    std::vector<std::int32_t> order;
    int numClasses = 0;            ///< 0 in regression
    std::vector<int> classCounts;  ///< numClasses entries for each node, by id
    std::vector<double> weights;   ///< w(c), 0 for a class without records

    const int* countsOf(const Node& node) const {
        return classCounts.data() +
               static_cast<std::size_t>(node.id - 1) * static_cast<std::size_t>(numClasses);
    }
};

}  // namespace Veltrix::Engine::DT
