#pragma once

#include <vector>

#include "Veltrix/Engine/DT/Tree.h"

namespace Veltrix::Engine::DT {

/// All nodes of a grown tree breadth-first, which is the order of their ids: parents come before
/// their children.
inline std::vector<Node*> nodesById(Node& root) {
    std::vector<Node*> nodes{&root};
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        Node* node = nodes[k];
        if (node->isLeaf()) continue;
        nodes.push_back(node->left.get());
        nodes.push_back(node->right.get());
    }
    return nodes;
}

/// Whether categories that were not seen in training go left: to the child with more records.
inline bool unknownGoLeft(const Node& node) {
    return node.left->numRecords >= node.right->numRecords;
}

/// Nodes of the tree pruned to complexity `alpha` that are no leaves.
inline int countDecisionNodes(const Node& root, double alpha) {
    int count = 0;
    std::vector<const Node*> waiting{&root};
    while (!waiting.empty()) {
        const Node* node = waiting.back();
        waiting.pop_back();
        if (node->isLeaf(alpha)) continue;
        ++count;
        waiting.push_back(node->left.get());
        waiting.push_back(node->right.get());
    }
    return count;
}

}  // namespace Veltrix::Engine::DT
