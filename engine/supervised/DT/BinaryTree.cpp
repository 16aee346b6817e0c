#include <limits>
#include <utility>

#include "Veltrix/Engine/DT/Tree.h"
#include "engine/supervised/DT/Traversal.h"

namespace Veltrix::Engine::DT {
namespace {

/// A tree of nodes of its own.
std::shared_ptr<Node> cloneTree(const std::shared_ptr<Node>& root) {
    if (!root) return {};
    auto copy = std::make_shared<Node>(*root);
    std::vector<Node*> waiting{copy.get()};
    while (!waiting.empty()) {
        Node& node = *waiting.back();
        waiting.pop_back();
        for (std::shared_ptr<Node>* child : {&node.left, &node.right}) {
            if (!*child) continue;
            *child = std::make_shared<Node>(**child);
            waiting.push_back(child->get());
        }
    }
    return copy;
}

}  // namespace

BinaryTree::BinaryTree(const BinaryTree& other)
    : root_(cloneTree(other.root_)), numNodes_(other.numNodes_), alpha_(other.alpha_) {}

BinaryTree::BinaryTree(BinaryTree&& other) noexcept
    : root_(std::move(other.root_)),
      numNodes_(std::exchange(other.numNodes_, 0)),
      alpha_(std::exchange(other.alpha_, 0.0)) {}

BinaryTree& BinaryTree::operator=(const BinaryTree& other) {
    if (this != &other) {
        root_ = cloneTree(other.root_);
        numNodes_ = other.numNodes_;
        alpha_ = other.alpha_;
    }
    return *this;
}

BinaryTree& BinaryTree::operator=(BinaryTree&& other) noexcept {
    if (this != &other) {
        root_ = std::move(other.root_);
        numNodes_ = std::exchange(other.numNodes_, 0);
        alpha_ = std::exchange(other.alpha_, 0.0);
    }
    return *this;
}

BinaryTree::~BinaryTree() = default;

int BinaryTree::getNumLeaves() const { return root_ ? countDecisionNodes(*root_, alpha_) + 1 : 0; }

int BinaryTree::getNumDecisionNodes() const {
    return root_ ? countDecisionNodes(*root_, alpha_) : 0;
}

std::vector<std::shared_ptr<const Node>> BinaryTree::getNodes() const {
    std::vector<std::shared_ptr<const Node>> nodes;
    if (root_) nodes.push_back(root_);
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        // Taken before the list grows.
        const Node& node = *nodes[k];
        if (node.isLeaf(alpha_)) continue;
        nodes.push_back(node.left);
        nodes.push_back(node.right);
    }
    return nodes;
}

double BinaryTree::probabilityOfLabel(const Node& /*node*/) const {
    return std::numeric_limits<double>::quiet_NaN();
}

void BinaryTree::computeBranchStrength() {
    if (!root_) return;
    const std::vector<Node*> nodes = nodesById(*root_);
    for (std::size_t k = nodes.size(); k-- > 0;) {
        if (nodes[k]->isLeaf()) {
            nodes[k]->init();
        } else {
            nodes[k]->update();
        }
    }
}

}  // namespace Veltrix::Engine::DT
