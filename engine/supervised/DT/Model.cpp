#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Engine/DT.h"
#include "engine/supervised/DT/FrameCoding.h"
#include "engine/supervised/DT/Growth.h"
#include "engine/supervised/DT/Traversal.h"

namespace Veltrix::Engine::DT {
namespace {

/// The tree before any cut, and that without the splits that gain nothing.
constexpr double kFullTree = -1.0;
constexpr double kNoGain = 0.0;

}  // namespace

Model::~Model() = default;

Model& Model::setParams(const Params& params) {
    params_ = params;
    return *this;
}

Model& Model::setColNames(const StringVector& names) {
    colNames_ = names;
    return *this;
}

void Model::adopt(GrownTree tree, Factorizer inputs, const StringVector& colNames) {
    colNames_ = colNames;
    inputs_ = std::move(inputs);
    root_ = std::move(tree.root);
    numNodes_ = tree.numNodes;
    categories_ = std::move(tree.categories);
    accumulators_ = std::move(tree.accumulators);
    riskLog_ = std::move(tree.riskLog);
    computeBranchStrength();
    pruning_ = {};
    pruning_.resize(2);
    pruning_.complexity = {kFullTree, kNoGain};
    for (std::uint64_t k = 0; k < 2; ++k) {
        pruning_.numDecisionNodes[k] = countDecisionNodes(*root_, pruning_.complexity[k]);
        pruning_.numLeaves[k] = pruning_.numDecisionNodes[k] + 1;
    }
    alpha_ = kFullTree;
}

void Model::forget() {
    root_.reset();
    numNodes_ = 0;
    alpha_ = 0.0;
    inputs_ = {};
    categories_.clear();
    accumulators_.clear();
    riskLog_.clear();
    pruning_ = {};
}

Model& Model::select(int index) {
    if (index >= 0 && index < pruning_.numTrees()) {
        pruning_.selectedTree = index;
        alpha_ = pruning_.complexity[static_cast<std::uint64_t>(index)];
    }
    return *this;
}

Model& Model::select(DecisionTree::TreeType type) { return select(pruning_.id(type)); }

Model& Model::selectManual(int maxDecisionNodes) { return select(pruning_.id(maxDecisionNodes)); }

StringVector Model::getCategories(int column) const {
    const WString name = categoryColumn(column);
    return inputs_.isFactorized(name) ? inputs_.getColMapper(name).levels : StringVector();
}

bool Model::isCategorical(int column) const {
    return !categories_[static_cast<std::size_t>(column)].empty();
}

void Model::checkColumns(const char* operation, int columns) const {
    if (!root_ || columns == getNumCols()) return;
    throw Exception(std::string(operation) + ": " + std::to_string(columns) +
                    " columns in the features, " + std::to_string(getNumCols()) + " in training");
}

const Node& Model::child(const Node& node, double value) const {
    if (!isCategorical(node.splitVariable)) {
        return value < node.splitValue ? *node.left : *node.right;
    }
    const std::vector<int>& known = categories_[static_cast<std::size_t>(node.splitVariable)];
    const bool isCode = value >= 0.0 && value <= known.back() && value == std::floor(value);
    if (!isCode || !std::ranges::binary_search(known, static_cast<int>(value))) {
        return unknownGoLeft(node) ? *node.left : *node.right;
    }
    const bool goesLeft = std::ranges::binary_search(node.splitSubset, static_cast<int>(value));
    return goesLeft ? *node.left : *node.right;
}

std::vector<const Node*> Model::findLeaves(const Matrix& records) const {
    checkColumns("Tree prediction", records.getNumCols());
    std::vector<const Node*> leaves(static_cast<std::size_t>(records.getNumRows()), root_.get());
    if (!root_) return leaves;
    for (int i = 0; i < records.getNumRows(); ++i) {
        const Node* node = root_.get();
        while (!node->isLeaf(alpha_)) node = &child(*node, records(i, node->splitVariable));
        leaves[static_cast<std::size_t>(i)] = node;
    }
    return leaves;
}

std::vector<const Node*> Model::findLeaves(const DataFrame& records) const {
    checkColumns("Tree prediction", records.getNumCols());
    if (!root_) return std::vector<const Node*>(static_cast<std::size_t>(records.getNumRows()));
    return findLeaves(encodeFrame(records, inputs_));
}

namespace {

IntVector idsOf(const std::vector<const Node*>& leaves) {
    IntVector ids;
    ids.reserve(leaves.size());
    for (const Node* leaf : leaves) ids.push_back(leaf != nullptr ? leaf->id : 0);
    return ids;
}

}  // namespace

IntVector Model::findNodes(const DataFrame& records) const { return idsOf(findLeaves(records)); }
IntVector Model::findNodes(const Matrix& records) const { return idsOf(findLeaves(records)); }

std::shared_ptr<const Node> Model::findNode(const ConstDataFrameRow& record) const {
    checkColumns("Tree prediction", record.getNumCols());
    std::shared_ptr<const Node> node = root_;
    while (node && !node->isLeaf(alpha_)) {
        const double value = encodeCell(record(node->splitVariable), node->splitVariable, inputs_);
        const Node& next = child(*node, value);
        node = &next == node->left.get() ? node->left : node->right;
    }
    return node;
}

Model& Model::prune(const Matrix& features, const Vector& response) {
    const auto fail = [](const std::string& problem) { throw Exception("Tree prune: " + problem); };
    if (!root_) fail("no tree was grown");
    checkColumns("Tree prune", features.getNumCols());
    if (response.size() != static_cast<std::uint64_t>(features.getNumRows())) {
        fail(std::to_string(response.size()) + " responses for " +
             std::to_string(features.getNumRows()) + " records");
    }
    if (response.empty()) fail("0 records, at least 1 expected");
    checkResponse("Tree prune", response);
    const std::vector<Cut> cuts = computeSequence();
    computePrunedTreesError(features, response, cuts);
    pruning_.findMinErrorTree();
    pruning_.findBestPrunedTree(pruning_.minError() +
                                pruning_.numValidationRecords * computeStdDevMinError());
    return select(pruning_.fullTree);
}

std::vector<Model::Cut> Model::computeSequence() {
    constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
    computeBranchStrength();
    Pruning sequence;
    sequence.complexity = {kFullTree, kNoGain};
    std::vector<Cut> cuts;
    std::vector<Node*> path;
    sequence.numLeaves.push_back(root_->leaves);
    while (root_->leaves != 1) {
        const double alpha = root_->minStrength;
        if (alpha > sequence.complexity.back() + kEpsilon) {
            sequence.complexity.push_back(alpha);
            sequence.numLeaves.push_back(root_->leaves);
        }
        Node* node = root_.get();
        path.clear();
        while (node->strength - kEpsilon > node->minStrength) {
            path.push_back(node);
            const bool left = node->left->minStrength == node->minStrength;
            node = left ? node->left.get() : node->right.get();
        }
        // Rounding must not leave the node uncut at the complexity of its own tree.
        const double last = sequence.complexity.back();
        if (!(node->strength <= last)) node->strength = last;
        node->init();
        cuts.push_back({node, sequence.numTrees() - 1});
        for (std::size_t k = path.size(); k-- > 0;) path[k]->update();
    }
    // The number of leaves was noted when a tree was complete and the next one began.
    sequence.numLeaves.push_back(root_->leaves);
    for (const int leaves : sequence.numLeaves) sequence.numDecisionNodes.push_back(leaves - 1);
    sequence.resize(sequence.numTrees());
    pruning_ = std::move(sequence);
    return cuts;
}

Vector Model::fillNumValidationRecords(const Matrix& features, const Vector& response) {
    const std::vector<Node*> nodes = nodesById(*root_);
    for (Node* node : nodes) node->numValidationRecords = 0;
    Vector errors(nodes.size());
    for (int i = 0; i < features.getNumRows(); ++i) {
        const double actual = response[static_cast<std::uint64_t>(i)];
        const Node* node = root_.get();
        while (node != nullptr) {
            const auto place = static_cast<std::uint64_t>(node->id - 1);
            ++nodes[place]->numValidationRecords;
            errors[place] += predictionError(node->label, actual);
            node = node->isLeaf() ? nullptr : &child(*node, features(i, node->splitVariable));
        }
    }
    return errors;
}

/// The error of a tree is the sum over its leaves. Sums are kept for every subtree, so that a cut
/// changes those on the way to the root only, and not at all where no record falls.
void Model::computePrunedTreesError(const Matrix& features, const Vector& response,
                                    const std::vector<Cut>& cuts) {
    const Vector own = fillNumValidationRecords(features, response);
    const std::vector<Node*> nodes = nodesById(*root_);
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
    pruning_.numValidationRecords = features.getNumRows();
    auto cut = cuts.begin();
    for (int tree = 0; tree < pruning_.numTrees(); ++tree) {
        for (; cut != cuts.end() && cut->tree == tree; ++cut) {
            below[place(cut->node)] = own[place(cut->node)];
            for (Node* up = parents[place(cut->node)]; up != nullptr; up = parents[place(up)]) {
                addChildren(up);
            }
        }
        pruning_.errors[static_cast<std::uint64_t>(tree)] = below[0];
    }
}

}  // namespace Veltrix::Engine::DT
