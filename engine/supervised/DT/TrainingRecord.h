#pragma once

#include <algorithm>
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

    /// The weights in proportion: 1 when all are equal, so that shares of counts are exact.
    std::vector<double> relativeWeights() const {
        const double largest = *std::max_element(weights.begin(), weights.end());
        std::vector<double> result = weights;
        const bool equal = std::all_of(weights.begin(), weights.end(),
                                       [largest](double w) { return w == 0.0 || w == largest; });
        if (equal) std::fill(result.begin(), result.end(), 1.0);
        return result;
    }

    const int* countsOf(const Node& node) const {
        return classCounts.data() +
               static_cast<std::size_t>(node.id - 1) * static_cast<std::size_t>(numClasses);
    }
};

}  // namespace Veltrix::Engine::DT
