#pragma once

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <vector>

#include "Veltrix/Data/Progress.h"

namespace Veltrix::Engine::AR {

/// Calls visit(mask) for the non-empty proper subsets of k things by size and then in
/// lexicographic order; bit j of the mask stands for thing j. k is below 64.
template <class Visit>
void forEachSubset(std::size_t k, const Visit& visit) {
    std::vector<std::size_t> chosen;
    for (std::size_t size = 1; size < k; ++size) {
        chosen.resize(size);
        std::iota(chosen.begin(), chosen.end(), std::size_t{0});
        for (;;) {
            std::uint64_t mask = 0;
            for (const std::size_t thing : chosen) mask |= std::uint64_t{1} << thing;
            visit(mask);
            // The last one that is not as far behind as it can be moves on.
            std::size_t place = size;
            while (place > 0 && chosen[place - 1] == k - size + place - 1) --place;
            if (place == 0) break;
            std::iota(chosen.begin() + static_cast<std::ptrdiff_t>(place - 1), chosen.end(),
                      chosen[place - 1] + 1);
        }
    }
}

/// The items that the mask names, in their order.
inline void pick(std::span<const std::uint64_t> items, std::uint64_t mask,
                 std::vector<std::uint64_t>& out) {
    out.clear();
    for (const std::uint64_t item : items) {
        if ((mask & 1U) != 0) out.push_back(item);
        mask >>= 1U;
    }
}

/// A rule that was found: which items of an itemset are the antecedent.
struct FoundRule {
    std::span<const std::uint64_t> items;
    std::uint64_t antecedent;  ///< mask
    std::uint64_t consequent;  ///< mask
    double confidence;
};

/// Calls visit(rule) for all rules in their order. `forEachItemset(visit)` visits the itemsets of
/// two items or more; `supports.find(items)` turns to one of them, and `supports[mask]` is then the
/// support of one of its subsets.
template <class ForEachItemset, class Supports, class Visit>
void forEachRule(const ForEachItemset& forEachItemset, Supports& supports, double minConfidence,
                 ProgressPhase& phase, const Visit& visit) {
    forEachItemset([&](std::span<const std::uint64_t> items) {
        supports.find(items);
        const std::uint64_t all = (std::uint64_t{1} << items.size()) - 1;
        const auto support = static_cast<double>(supports[all]);
        forEachSubset(items.size(), [&](std::uint64_t mask) {
            if (mask % 1024 == 1023) phase.advance(0);
            const double confidence = support / static_cast<double>(supports[mask]);
            if (confidence >= minConfidence) visit(FoundRule{items, mask, all & ~mask, confidence});
        });
    });
}

}  // namespace Veltrix::Engine::AR
