#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/HC.h"

namespace Veltrix::Tool {

/// A leaf of a tree as it is drawn.
struct DrawnLeaf {
    std::string label;
    int cluster = 0;  ///< from 1; 0 when the tree is not cut
};

/// A tree of clusters with a place for each leaf, from 1 in their order, and each merge midway
/// above its two sides.
class DrawnTree {
  public:
    /// `leaves` from left to right.
    DrawnTree(const Engine::HC::Dendrogram& tree, std::vector<DrawnLeaf> leaves);

    /// The points, place and height, of one line that runs along the whole tree.
    std::pair<Vector, Vector> path() const;

    /// A drawing with the leaves one below the other on the right and heights from right to left;
    /// what lies within a cluster has its colour.
    std::string svg(const std::string& title) const;

  private:
    /// The leaves come first; the others follow in merge order.
    struct Node {
        double place = 0.0;
        double height = 0.0;
        std::size_t left = 0;  ///< of a merge
        std::size_t right = 0;
        int cluster = 0;  ///< that holds all the leaves below
    };

    bool isLeaf(std::size_t node) const { return node < leaves_.size(); }
    double greatestHeight() const;

    std::vector<DrawnLeaf> leaves_;
    std::vector<Node> nodes_;
};

}  // namespace Veltrix::Tool
