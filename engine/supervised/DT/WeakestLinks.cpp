#include "engine/supervised/DT/WeakestLinks.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

namespace Veltrix::Engine::DT {

PrunedSequence cutWeakestLinks(Node& root, ProgressMeter& meter) {
    constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
    PrunedSequence result;
    Pruning& sequence = result.pruning;
    sequence.complexity = {kFullTree, kNoGain};
    std::vector<Node*> path;
    sequence.numLeaves.push_back(root.leaves);
    while (root.leaves != 1) {
        const double alpha = root.minStrength;
        if (alpha > sequence.complexity.back() + kEpsilon) {
            sequence.complexity.push_back(alpha);
            sequence.numLeaves.push_back(root.leaves);
        }
        Node* node = &root;
        path.clear();
        while (node->strength - kEpsilon > node->minStrength) {
            path.push_back(node);
            const bool left = node->left->minStrength == node->minStrength;
            node = left ? node->left.get() : node->right.get();
        }
        // Rounding must not leave the node uncut at the complexity of its own tree.
        const double last = sequence.complexity.back();
        if (!(node->strength <= last)) node->strength = last;
        const int decisions = node->leaves - 1;
        node->init();
        result.cuts.push_back({node, sequence.numTrees() - 1});
        for (std::size_t k = path.size(); k-- > 0;) path[k]->update();
        meter.add(10 + 10 * path.size(), static_cast<std::uint64_t>(decisions));
    }
    // The number of leaves was noted when a tree was complete and the next one began.
    sequence.numLeaves.push_back(root.leaves);
    for (const int leaves : sequence.numLeaves) sequence.numDecisionNodes.push_back(leaves - 1);
    sequence.resize(sequence.numTrees());
    return result;
}

/// The error of a tree is the sum over its leaves. Sums are kept for every subtree, so that a cut
/// changes those on the way to the root only, and not at all where no record falls.
void addErrors(const std::vector<Node*>& nodes, const Vector& own, PrunedSequence& sequence,
               ProgressMeter& meter) {
    const auto place = [](const Node* node) { return static_cast<std::size_t>(node->id - 1); };
    std::vector<Node*> parents(nodes.size(), nullptr);
    Vector below = own;
    const auto addChildren = [&](const Node* node) {
        below[place(node)] = below[place(node->left.get())] + below[place(node->right.get())];
    };
    for (std::size_t k = nodes.size(); k-- > 0;) {
        if (nodes[k]->isLeaf()) continue;
        parents[place(nodes[k]->left.get())] = nodes[k];
        parents[place(nodes[k]->right.get())] = nodes[k];
        addChildren(nodes[k]);
    }
    auto cut = sequence.cuts.begin();
    for (int tree = 0; tree < sequence.pruning.numTrees(); ++tree) {
        for (; cut != sequence.cuts.end() && cut->tree == tree; ++cut) {
            below[place(cut->node)] = own[place(cut->node)];
            std::uint64_t steps = 1;
            for (Node* up = parents[place(cut->node)]; up != nullptr; up = parents[place(up)]) {
                addChildren(up);
                ++steps;
            }
            meter.add(5 * steps, 0);
        }
        sequence.pruning.errors[static_cast<std::uint64_t>(tree)] = below[0];
    }
}

PruningRollback::PruningRollback(std::vector<Node*> nodes) : nodes_(std::move(nodes)) {
    states_.reserve(nodes_.size());
    for (const Node* node : nodes_) {
        states_.push_back({node->leaves, node->numValidationRecords, node->subtreeRisk,
                           node->strength, node->minStrength});
    }
}

PruningRollback::~PruningRollback() {
    for (std::size_t k = 0; k < nodes_.size(); ++k) {
        const State& state = states_[k];
        nodes_[k]->leaves = state.leaves;
        nodes_[k]->numValidationRecords = state.numValidationRecords;
        nodes_[k]->subtreeRisk = state.subtreeRisk;
        nodes_[k]->strength = state.strength;
        nodes_[k]->minStrength = state.minStrength;
    }
}

}  // namespace Veltrix::Engine::DT
