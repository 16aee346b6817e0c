#include <cmath>
#include <limits>

#include "Veltrix/Engine/DT/Tree.h"

namespace Veltrix::Engine::DT {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

double entry(const Vector& values, int index) {
    const auto place = static_cast<std::uint64_t>(index);  // huge when negative
    return place < values.size() ? values[place] : kNaN;
}

void extend(IntVector& values, std::uint64_t size, int fill) {
    if (values.size() > size) values.resize(size);
    while (values.size() < size) values.push_back(fill);
}

/// f(tree) for the tree of each number of decision nodes.
template <class Function>
Vector forDecisionNodes(const Pruning& pruning, Function f) {
    Vector result;
    if (pruning.numDecisionNodes.empty()) return result;
    for (int d = 0; d <= pruning.numDecisionNodes[0]; ++d) result.push_back(f(pruning.id(d)));
    return result;
}

}  // namespace

double Pruning::minError() const { return entry(errors, minErrorTree); }
double Pruning::bestError() const { return entry(errors, bestPrunedTree); }
double Pruning::selectedError() const { return entry(errors, selectedTree); }

int Pruning::id(int decisionNodes) const {
    // The numbers of decision nodes never rise from tree to tree.
    std::uint64_t low = 0;
    std::uint64_t high = numDecisionNodes.size();
    while (low < high) {
        const std::uint64_t middle = low + (high - low) / 2;
        if (numDecisionNodes[middle] <= decisionNodes) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return low < numDecisionNodes.size() ? static_cast<int>(low) : 1;
}

int Pruning::id(DecisionTree::TreeType type) const {
    switch (type) {
        case DecisionTree::TreeType::full:
            return fullTree;
        case DecisionTree::TreeType::bestPruned:
            return bestPrunedTree;
        case DecisionTree::TreeType::minimumError:
            return minErrorTree;
        case DecisionTree::TreeType::selected:
            return selectedTree;
    }
    throw fullTree;  // NOLINT(hicpp-exception-baseclass): hosts catch the number
}

void Pruning::resize(int trees) {
    const auto size = static_cast<std::uint64_t>(trees);
    while (treeIds.size() < size) treeIds.push_back(static_cast<int>(treeIds.size()));
    treeIds.resize(size);
    extend(numDecisionNodes, size, 0);
    extend(numLeaves, size, 1);
    complexity.resize(size, kNaN);
    errors.resize(size, kNaN);
}

void Pruning::findMinErrorTree() {
    std::uint64_t m = 0;
    for (std::uint64_t k = 1; k < errors.size(); ++k) {
        if (errors[k] < errors[m] || std::isnan(errors[m])) m = k;
    }
    while (m + 1 < errors.size() && errors[m + 1] == errors[m]) ++m;
    minErrorTree = m == 0 ? 1 : static_cast<int>(m);
}

void Pruning::findBestPrunedTree(double threshold) {
    auto b = static_cast<std::uint64_t>(minErrorTree);
    while (b + 1 < errors.size() && threshold > errors[b + 1]) ++b;
    bestPrunedTree = static_cast<int>(b);
}

Vector Pruning::pruningLog() const {
    return forDecisionNodes(*this,
                            [&](int tree) { return entry(errors, tree) / numValidationRecords; });
}

Vector Pruning::complexityLog() const {
    return forDecisionNodes(*this,
                            [&](int tree) { return tree >= 2 ? entry(complexity, tree) : 0.0; });
}

}  // namespace Veltrix::Engine::DT
