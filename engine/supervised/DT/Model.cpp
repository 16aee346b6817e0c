#include <algorithm>
#include <cmath>
#include <utility>

#include "Veltrix/Engine/DT.h"
#include "engine/core/Checks.h"
#include "engine/supervised/DT/FrameCoding.h"
#include "engine/supervised/DT/Growth.h"
#include "engine/supervised/DT/Traversal.h"
#include "engine/supervised/DT/WeakestLinks.h"

namespace Veltrix::Engine::DT {
Model::~Model() = default;

Model& Model::setParams(const Params& params) {
    params_ = Params(params);  // moved as a whole
    return *this;
}

Model& Model::setColNames(const StringVector& names) {
    colNames_ = names;
    return *this;
}

void Model::adopt(GrownTree tree, InputColumns columns) {
    colNames_ = std::move(columns.names);
    inputs_ = std::move(columns.categories);
    frameColumns_ = std::move(columns.frame);
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

void Model::forget() noexcept {
    root_.reset();
    numNodes_ = 0;
    alpha_ = 0.0;
    inputs_ = {};
    frameColumns_ = {};
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
    if (root_) Checks::columns(operation, columns, getNumCols());
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
    return findLeaves(encodeFrame(records, frameColumns_, inputs_));
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
    if (!node) return node;
    const IntVector positions = frameColumns_.positions(record.getFrame());
    while (!node->isLeaf(alpha_)) {
        const int column = node->splitVariable;
        const int position = positions[static_cast<std::uint64_t>(column)];
        const Node& next = child(*node, encodeCell(record(position), column, inputs_));
        node = &next == node->left.get() ? node->left : node->right;
    }
    return node;
}

Model& Model::prune(const Matrix& features, const Vector& response) {
    Checks::fitted("Tree prune", root_ != nullptr);
    checkColumns("Tree prune", features.getNumCols());
    Checks::atLeast("Tree prune", "records", features.getNumRows(), 1);
    Checks::onePerRecord("Tree prune", "responses", response.size(), features.getNumRows());
    checkResponse("Tree prune", response);
    const std::vector<Node*> nodes = nodesById(*root_);
    PruningRollback rollback(nodes);
    computeBranchStrength();
    ProgressMeter meter("Pruning the tree", nodes.size() / 2 + response.size());
    PrunedSequence sequence = cutWeakestLinks(*root_, meter);
    const Vector errors = fillNumValidationRecords(nodes, features, response, meter);
    addErrors(nodes, errors, sequence, meter);
    sequence.pruning.numValidationRecords = features.getNumRows();
    sequence.pruning.findMinErrorTree();
    rollback.keep();
    pruning_ = std::move(sequence.pruning);
    pruning_.findBestPrunedTree(pruning_.minError() +
                                pruning_.numValidationRecords * computeStdDevMinError());
    return select(pruning_.fullTree);
}

Vector Model::fillNumValidationRecords(const std::vector<Node*>& nodes, const Matrix& features,
                                       const Vector& response, ProgressMeter& meter) const {
    const Vector predictions = predictionsAt({nodes.begin(), nodes.end()});
    for (Node* node : nodes) node->numValidationRecords = 0;
    Vector errors(nodes.size());
    for (int i = 0; i < features.getNumRows(); ++i) {
        const double actual = response[static_cast<std::uint64_t>(i)];
        const Node* node = root_.get();
        std::uint64_t steps = 0;
        for (; node != nullptr; ++steps) {
            const auto place = static_cast<std::uint64_t>(node->id - 1);
            ++nodes[place]->numValidationRecords;
            errors[place] += predictionError(predictions[place], actual);
            node = node->isLeaf() ? nullptr : &child(*node, features(i, node->splitVariable));
        }
        meter.add(10 * steps, 1);
    }
    return errors;
}

}  // namespace Veltrix::Engine::DT
