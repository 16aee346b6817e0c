#pragma once

#include <vector>

#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/DT/Tree.h"
#include "data/util/ProgressMeter.h"

/// @file
/// The steps of cost-complexity pruning.

namespace Veltrix::Engine::DT {

/// The tree before any cut, and that without the splits that gain nothing.
constexpr double kFullTree = -1.0;
constexpr double kNoGain = 0.0;

/// A cut of the sequence: the node, and the first tree without its subtree.
struct Cut {
    Node* node;
    int tree;
};

struct PrunedSequence {
    Pruning pruning;  ///< without errors
    std::vector<Cut> cuts;
};

/// Cuts the weakest link, one after the other, down to the root; each counts the decision nodes
/// that go with it. The strengths of the grown tree are in place.
PrunedSequence cutWeakestLinks(Node& root, ProgressMeter& meter);

/// Fills in the validation error of every tree; `own` is that of every node as a leaf.
void addErrors(const std::vector<Node*>& nodes, const Vector& own, PrunedSequence& sequence,
               ProgressMeter& meter);

/// Puts back what pruning changes in the nodes of a tree, unless it is told to keep it.
class PruningRollback {
  public:
    explicit PruningRollback(std::vector<Node*> nodes);
    PruningRollback(const PruningRollback&) = delete;
    PruningRollback& operator=(const PruningRollback&) = delete;
    ~PruningRollback();
    void keep() noexcept { nodes_.clear(); }

  private:
    struct State {
        int leaves;
        int numValidationRecords;
        double subtreeRisk;
        double strength;
        double minStrength;
    };
    std::vector<Node*> nodes_;
    std::vector<State> states_;
};

}  // namespace Veltrix::Engine::DT
