#include "engine/unsupervised/AR/SupportTree.h"

#include <algorithm>
#include <functional>
#include <limits>

#include "Veltrix/Engine/Exceptions.h"

namespace Veltrix::Engine::AR {

SupportTree::SupportTree(std::uint32_t numTransactions)
    : nodes_(1, {kNone, numTransactions, 1, 0}) {}

void SupportTree::append(std::uint32_t parent, std::uint32_t item, std::uint32_t support) {
    if (numItemsets() >= kMostItemsets) throw ItemsetsTooLargeForArchitecture();
    const auto place = static_cast<std::uint32_t>(nodes_.size());
    nodes_.push_back({item, support, 0, 0});
    Node& node = nodes_[parent];
    if (node.numChildren++ == 0) node.firstChild = place;
}

std::uint32_t SupportTree::child(std::uint32_t parent, std::uint32_t item) const {
    const std::span<const Node> all = children(parent);
    const auto found = std::ranges::lower_bound(all, item, {}, &Node::item);
    if (found == all.end() || found->item != item) return kNone;
    return nodes_[parent].firstChild + static_cast<std::uint32_t>(found - all.begin());
}

std::uint32_t SupportTree::find(std::span<const std::uint64_t> items) const {
    std::uint32_t node = kRoot;
    for (const std::uint64_t item : items) {
        if (item >= kNone) return kNone;
        node = child(node, static_cast<std::uint32_t>(item));
        if (node == kNone) return kNone;
    }
    return node;
}

bool SupportTree::hasSubsets(std::span<const std::uint64_t> items, std::uint64_t support) const {
    std::vector<std::uint64_t> subset(items.begin() + 1, items.end());
    for (std::size_t without = 0;; ++without) {
        const std::uint32_t node = find(subset);
        if (node == kNone || nodes_[node].support < support) return false;
        if (without == subset.size()) return true;
        subset[without] = items[without];
    }
}

std::optional<SupportTree> SupportTree::build(std::span<const Itemset> itemsets,
                                              std::uint64_t numTransactions,
                                              std::uint64_t numItems) {
    if (numTransactions > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
    SupportTree tree(static_cast<std::uint32_t>(numTransactions));
    const Itemset* previous = nullptr;
    for (const Itemset& itemset : itemsets) {
        const std::span<const std::uint64_t> items = itemset.items;
        const bool ascending =
            std::ranges::adjacent_find(items, std::greater_equal<>()) == items.end();
        if (items.empty() || !ascending || items.back() >= numItems || itemset.support == 0 ||
            !tree.hasSubsets(items, itemset.support)) {
            return std::nullopt;
        }
        if (previous != nullptr &&
            (previous->items.size() > items.size() ||
             (previous->items.size() == items.size() && previous->items >= itemset.items))) {
            return std::nullopt;
        }
        tree.append(tree.find(items.first(items.size() - 1)),
                    static_cast<std::uint32_t>(items.back()),
                    static_cast<std::uint32_t>(itemset.support));
        previous = &itemset;
    }
    return tree;
}

}  // namespace Veltrix::Engine::AR
