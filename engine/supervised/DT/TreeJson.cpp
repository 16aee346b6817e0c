#include <algorithm>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/DT.h"
#include "engine/core/Stored.h"
#include "engine/supervised/DT/FrameCoding.h"
#include "engine/supervised/DT/TrainingRecord.h"
#include "engine/supervised/DT/Traversal.h"

namespace Veltrix {
namespace {

using Engine::DT::ClassShares;
using Engine::DT::Node;
using Engine::DT::Params;
using Engine::DT::Pruning;
using Engine::DT::TrainingRecord;
using Support::JsonView;
using Support::Length;

template <class Archive>
constexpr bool kReads = std::remove_cvref_t<Archive>::kReads;

/// The nodes of a tree in the order of their ids, stored as one list for each of their fields.
struct NodeTable {
    std::vector<Node*> nodes;
    std::vector<std::shared_ptr<Node>> owned;  ///< those that were read
};

template <class Value>
void column(auto& a, const char* key, const NodeTable& table, Value Node::*member) {
    a.property(
        key,
        [&] {
            std::vector<Value> values;
            values.reserve(table.nodes.size());
            for (const Node* node : table.nodes) values.push_back(node->*member);
            return values;
        },
        [&](const auto& values) {
            for (std::size_t k = 0; k < values.size(); ++k) table.nodes[k]->*member = values[k];
        },
        Length{static_cast<std::int64_t>(table.nodes.size())});
}

}  // namespace

template <>
struct Stored<Params> {
    static void fields(auto& a, auto& params) {
        a("maxSplits", params.maxSplits)("maxLevels", params.maxLevels);
        a("maxNodes", params.maxNodes)("minRecords", params.minRecords)("seed", params.seed);
        a("variablesPerSplit", params.variablesPerSplit)("categorical", params.categorical);
    }
};

template <>
struct Stored<Pruning> {
    static void fields(auto& a, auto& pruning) {
        a("numValidationRecords", pruning.numValidationRecords)("fullTree", pruning.fullTree);
        a("minErrorTree", pruning.minErrorTree)("bestPrunedTree", pruning.bestPrunedTree);
        a("selectedTree", pruning.selectedTree);
        Length trees{pruning.numTrees()};
        if constexpr (kReads<decltype(a)>) trees.value = a.view().at("complexity").size();
        a("treeIds", pruning.treeIds, trees)("numDecisionNodes", pruning.numDecisionNodes, trees);
        a("numLeaves", pruning.numLeaves, trees)("complexity", pruning.complexity, trees);
        a("errors", pruning.errors, trees);
    }
};

template <>
struct Stored<NodeTable> {
    static void fields(auto& a, auto& table) {
        if constexpr (kReads<decltype(a)>) {
            const std::int64_t count = a.view().at("depth").size();
            for (int id = 1; id <= count; ++id) {
                table.owned.push_back(std::make_shared<Node>());
                table.nodes.push_back(table.owned.back().get());
                table.nodes.back()->id = id;
            }
        }
        column(a, "depth", table, &Node::depth);
        column(a, "leaves", table, &Node::leaves);
        column(a, "numRecords", table, &Node::numRecords);
        column(a, "numValidationRecords", table, &Node::numValidationRecords);
        column(a, "splitVariable", table, &Node::splitVariable);
        column(a, "firstRecord", table, &Node::firstRecord);
        column(a, "label", table, &Node::label);
        column(a, "impurity", table, &Node::impurity);
        column(a, "risk", table, &Node::risk);
        column(a, "subtreeRisk", table, &Node::subtreeRisk);
        column(a, "strength", table, &Node::strength);
        column(a, "minStrength", table, &Node::minStrength);
        column(a, "probability", table, &Node::probability);
        column(a, "splitValue", table, &Node::splitValue);
        column(a, "splitSubset", table, &Node::splitSubset);
    }
};

namespace Engine::DT {
namespace {

/// A split must name a column, and its subset categories of it.
void checkSplit(const JsonView& stored, std::int64_t place, const Node& node,
                const std::vector<std::vector<int>>& categories) {
    const JsonView column = stored.at("splitVariable").at(place);
    const auto j = static_cast<std::size_t>(node.splitVariable);
    if (node.splitVariable < 0 || j >= categories.size()) column.fail("no such column");
    for (const int code : node.splitSubset) {
        if (!std::ranges::binary_search(categories[j], code)) {
            stored.at("splitSubset").at(place).fail("no such category");
        }
    }
    if (!std::ranges::is_sorted(node.splitSubset)) {
        stored.at("splitSubset").at(place).fail("expected ascending codes");
    }
}

/// Nodes that have a split have two children each, which follow in the order of ids.
void linkNodes(const JsonView& stored, const std::vector<std::shared_ptr<Node>>& nodes,
               const std::vector<std::vector<int>>& categories) {
    if (nodes.front()->depth != 0) stored.at("depth").at(std::int64_t{0}).fail("expected 0");
    std::size_t next = 1;
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        if (nodes[k]->splitVariable == -1) continue;
        const auto place = static_cast<std::int64_t>(k);
        checkSplit(stored, place, *nodes[k], categories);
        if (next <= k || next + 1 >= nodes.size()) {
            stored.at("splitVariable").at(place).fail("no nodes left for the children");
        }
        for (std::shared_ptr<Node>* child : {&nodes[k]->left, &nodes[k]->right}) {
            *child = nodes[next];
            if ((*child)->depth != nodes[k]->depth + 1) {
                stored.at("depth").at(static_cast<std::int64_t>(next)).fail("expected one below");
            }
            ++next;
        }
    }
    if (next != nodes.size()) stored.at("splitVariable").fail("nodes that are no children");
}

void checkNode(const JsonView& stored, const Node& node, const TrainingRecord& training) {
    const std::int64_t place = node.id - 1;
    const std::int64_t end = std::int64_t{node.firstRecord} + node.numRecords;
    if (node.firstRecord < 0 || node.numRecords < 0 ||
        end > static_cast<std::int64_t>(training.order.size())) {
        stored.at("numRecords").at(place).fail("expected records within the list of records");
    }
    const auto numClasses = static_cast<double>(training.numClasses());
    if (numClasses > 0.0 && !(node.label >= 0.0 && node.label < numClasses)) {
        stored.at("label").at(place).fail("no such class");
    }
}

/// Earlier files hold prior/total for each class.
ClassShares readShares(const JsonView& root, std::int64_t numClasses, std::vector<int> totals) {
    totals.resize(static_cast<std::size_t>(numClasses));
    const auto stored = root.find("classPriors");
    const JsonView list = stored ? *stored : root.at("classWeights");
    Support::expectSize(list, numClasses);
    std::vector<double> priors = list.asDoubles();
    for (std::size_t c = 0; c < priors.size() && !stored; ++c) priors[c] *= totals[c];
    return {std::move(priors), totals};
}

}  // namespace

struct TreeFields {
    /// `numClasses` is 0 in regression.
    static void fields(auto& a, auto& model, std::int64_t numClasses) {
        a("params", model.params_)("columns", model.colNames_)("codes", model.categories_);
        a.check(
            "codes", [&] { return std::ranges::all_of(model.categories_, areCodes); },
            "expected ascending codes");
        a.property(
            "categories", [&] { return labelsOf(model); },
            [&](const auto& labels) { learn(a, labels, model); }, Length{model.getNumCols()});
        a("columnAccumulators", model.accumulators_, Length{model.getNumCols()});
        a("riskLog", model.riskLog_)("complexity", model.alpha_)("pruning", model.pruning_);
        if constexpr (kReads<decltype(a)>) {
            readNodes(a, model, numClasses);
            if (model.root_) checkPruning(a.view().at("pruning"), model);
        } else {
            writeNodes(a, model);
        }
        a.optional("frameColumns", model.frameColumns_);
    }

  private:
    static bool areCodes(const std::vector<int>& codes) {
        return std::ranges::is_sorted(codes) && (codes.empty() || codes.front() >= 0);
    }

    /// Of every column; none for one without.
    static std::vector<StringVector> labelsOf(const Model& model) {
        std::vector<StringVector> labels;
        labels.reserve(static_cast<std::size_t>(model.getNumCols()));
        for (int j = 0; j < model.getNumCols(); ++j) labels.push_back(model.getCategories(j));
        return labels;
    }

    static void learn(auto& a, const std::vector<StringVector>& labels, Model& model) {
        for (std::size_t j = 0; j < labels.size(); ++j) {
            if (labels[j].empty()) continue;
            const JsonView list = a.view().at("categories").at(static_cast<std::int64_t>(j));
            Support::expectDistinct(list);
            Support::expectSize(list, static_cast<std::int64_t>(model.categories_[j].size()));
            DataFrame column;
            column.append(labels[j], categoryColumn(static_cast<int>(j)));
            model.inputs_.fit(column(Selection::all, 0));
        }
    }

    static void recordFields(auto& a, auto& training) {
        a("records", training.order)("classCounts", training.classCounts);
    }

    static void writeNodes(auto& a, const Model& model) {
        const TrainingRecord none;
        const TrainingRecord& training = model.root_ ? *model.root_->training : none;
        recordFields(a, training);
        a("classPriors", training.shares.priors());
        NodeTable table;
        if (model.root_) table.nodes = nodesById(*model.root_);
        a("nodes", table);
    }

    static void readNodes(auto& a, Model& model, std::int64_t numClasses) {
        auto training = std::make_shared<TrainingRecord>();
        recordFields(a, *training);
        NodeTable table;
        a("nodes", table);
        if (table.nodes.empty()) return;
        Support::expectSize(a.view().at("classCounts"),
                            static_cast<std::int64_t>(table.nodes.size()) * numClasses);
        training->shares = readShares(a.view(), numClasses, training->classCounts);
        const JsonView stored = a.view().at("nodes");
        for (Node* node : table.nodes) {
            checkNode(stored, *node, *training);
            node->training = training;
        }
        linkNodes(stored, table.owned, model.categories_);
        model.root_ = table.owned.front();
        model.numNodes_ = static_cast<int>(table.nodes.size());
    }

    /// Every tree of the sequence is a part of the grown one.
    static void checkPruning(const JsonView& stored, const Model& model) {
        const IntVector& decisions = model.pruning_.numDecisionNodes;
        for (std::uint64_t k = 0; k < decisions.size(); ++k) {
            if (decisions[k] >= 0 && decisions[k] < model.numNodes_) continue;
            stored.at("numDecisionNodes")
                .at(static_cast<std::int64_t>(k))
                .fail("expected a number of nodes of the tree");
        }
    }
};

namespace {

constexpr const char* kClassification = "DT::Classification::Model";
constexpr const char* kRegression = "DT::Regression::Model";

}  // namespace
}  // namespace Engine::DT

template <>
struct Stored<Engine::DT::Classification::Model> {
    static void fields(auto& a, auto& model) {
        Engine::storedRoles(a, model);
        Engine::DT::TreeFields::fields(a, model, model.getNumClasses());
    }
};

template <>
struct Stored<Engine::DT::Regression::Model> {
    static void fields(auto& a, auto& model) { Engine::DT::TreeFields::fields(a, model, 0); }
};

namespace Engine::DT {

void Classification::Model::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, kClassification, *this);
}

void Classification::Model::readJson(std::string_view utf8) {
    *this = readStoredText<Model>(kClassification, utf8);
}

void Regression::Model::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, kRegression, *this);
}

void Regression::Model::readJson(std::string_view utf8) {
    *this = readStoredText<Model>(kRegression, utf8);
}

}  // namespace Engine::DT
}  // namespace Veltrix
