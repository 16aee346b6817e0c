#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "Veltrix/Engine/AR.h"

namespace Veltrix::Engine::AR {

/// Itemsets with their supports: the items on the path from the root to a node, ascending. The
/// children of a node stand side by side, ascending too. As all subsets of an itemset are in the
/// tree, a path of k items takes 2ᵏ nodes, so that no path is long.
class SupportTree {
  public:
    static constexpr std::uint32_t kRoot = 0;
    /// What a look-up gives that finds nothing.
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;
    /// Itemsets that a tree can hold.
    static constexpr std::uint64_t kMostItemsets = std::uint64_t{1} << 27U;

    struct Node {
        std::uint32_t item;
        std::uint32_t support;
        std::uint32_t firstChild;
        std::uint32_t numChildren;
    };

    /// The root's support is the number of transactions.
    explicit SupportTree(std::uint32_t numTransactions);
    /// A tree of itemsets in their order; nothing unless they are ascending lists of items below
    /// `numItems`, in their order, and none has a subset that is missing or of less support.
    static std::optional<SupportTree> build(std::span<const Itemset> itemsets,
                                            std::uint64_t numTransactions, std::uint64_t numItems);

    /// Appends a node; those of one parent are appended one after the other. Throws
    /// `ItemsetsTooLargeForArchitecture` when there is no room for more.
    void append(std::uint32_t parent, std::uint32_t item, std::uint32_t support);

    const Node& operator[](std::uint32_t node) const { return nodes_[node]; }
    std::uint64_t numItemsets() const { return nodes_.size() - 1; }
    std::span<const Node> children(std::uint32_t parent) const {
        return std::span(nodes_).subspan(nodes_[parent].firstChild, nodes_[parent].numChildren);
    }
    /// The child of a node by its item, or none.
    std::uint32_t child(std::uint32_t parent, std::uint32_t item) const;
    /// The node of ascending items, or none.
    std::uint32_t find(std::span<const std::uint64_t> items) const;

    /// visit(items, node) for every itemset of a size, in their order. Returns how many there are.
    template <class Visit>
    std::uint64_t forEach(std::size_t size, const Visit& visit) const {
        std::vector<std::uint64_t> path;
        path.reserve(size);
        return descend(kRoot, size, path, visit);
    }

  private:
    template <class Visit>
    std::uint64_t descend(std::uint32_t parent, std::size_t depth, std::vector<std::uint64_t>& path,
                          const Visit& visit) const {
        const Node& node = nodes_[parent];
        std::uint64_t count = depth == 1 ? node.numChildren : 0;
        for (std::uint32_t child = node.firstChild; child < node.firstChild + node.numChildren;
             ++child) {
            path.push_back(nodes_[child].item);
            if (depth == 1) {
                visit(std::span<const std::uint64_t>(path), child);
            } else {
                count += descend(child, depth - 1, path, visit);
            }
            path.pop_back();
        }
        return count;
    }
    /// Whether all the itemsets without one of the items are there, with at least the support.
    bool hasSubsets(std::span<const std::uint64_t> items, std::uint64_t support) const;

    std::vector<Node> nodes_;
};

}  // namespace Veltrix::Engine::AR
