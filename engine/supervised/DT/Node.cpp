#include <algorithm>
#include <utility>

#include "Veltrix/Engine/DT/Tree.h"
#include "engine/supervised/DT/TrainingRecord.h"

namespace Veltrix::Engine::DT {

Node::~Node() {
    std::vector<std::shared_ptr<Node>> waiting;
    const auto release = [&waiting](Node& node) {
        if (node.left) waiting.push_back(std::move(node.left));
        if (node.right) waiting.push_back(std::move(node.right));
    };
    release(*this);
    while (!waiting.empty()) {
        const std::shared_ptr<Node> last = std::move(waiting.back());
        waiting.pop_back();
        // A subtree that others hold stays whole.
        if (last.use_count() == 1) release(*last);
    }
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
    if (!training || training->numClasses == 0) return {};
    const int* counts = training->countsOf(*this);
    return {counts, counts + training->numClasses};
}

Vector Node::classProbabilities() const {
    Vector shares = classCounts();
    if (shares.empty()) return shares;
    const std::vector<double> weights = training->relativeWeights();
    double total = 0.0;
    for (std::uint64_t c = 0; c < shares.size(); ++c) {
        shares[c] *= weights[c];
        total += shares[c];
    }
    return shares /= total;
}

}  // namespace Veltrix::Engine::DT
