#include <algorithm>
#include <utility>

#include "Veltrix/Engine/DT/Tree.h"
#include "engine/supervised/DT/TrainingRecord.h"

namespace Veltrix::Engine::DT {

namespace {

/// Releases a subtree in constant space: left children are rotated up until the top has none and
/// can go. What others hold stays whole.
void release(std::shared_ptr<Node> top) noexcept {
    while (top && top.use_count() == 1) {
        if (top->left && top->left.use_count() == 1) {
            std::shared_ptr<Node> left = std::move(top->left);
            top->left = std::move(left->right);
            left->right = std::move(top);
            top = std::move(left);
        } else {
            top->left.reset();
            top = std::move(top->right);
        }
    }
}

}  // namespace

Node::~Node() {
    release(std::move(left));
    release(std::move(right));
}

void Node::init() noexcept {
    leaves = 1;
    subtreeRisk = risk;
    minStrength = std::numeric_limits<double>::infinity();
}

void Node::update() noexcept {
    leaves = left->leaves + right->leaves;
    subtreeRisk = left->subtreeRisk + right->subtreeRisk;
    // No split raises the risk: what is below 0 is rounding.
    strength = std::max((risk - subtreeRisk) / (leaves - 1), 0.0);
    minStrength = left->minStrength > right->minStrength ? right->minStrength : left->minStrength;
    if (!(strength > minStrength)) minStrength = strength;
}

IntVector Node::records() const {
    if (!training || training->order.empty()) return {};
    const auto first = training->order.begin() + firstRecord;
    IntVector result(first, first + numRecords);
    std::sort(result.begin(), result.end());
    return result;
}

Vector Node::classCounts() const {
    if (!training || training->numClasses() == 0) return {};
    const int* counts = training->countsOf(*this);
    return {counts, counts + training->numClasses()};
}

Vector Node::classProbabilities() const {
    if (!training || training->numClasses() == 0) return {};
    Vector result(training->numClasses());
    training->shares.probabilities(training->countsOf(*this), {result.data(), result.size()});
    return result;
}

}  // namespace Veltrix::Engine::DT
