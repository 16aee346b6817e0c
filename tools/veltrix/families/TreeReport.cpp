#include "tools/veltrix/families/TreeReport.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <unordered_map>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"

namespace Veltrix::Tool {

namespace {

using DecisionTree::TreeType;
using Engine::DT::Node;
using Engine::DT::Pruning;
using Integers = std::vector<std::int64_t>;
using Nodes = std::vector<std::shared_ptr<const Node>>;

Integers countFrom(std::int64_t first, std::size_t size) {
    Integers numbers(size);
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

Integers toIntegers(const IntVector& numbers) { return {numbers.begin(), numbers.end()}; }

Table sequenceTable(const Pruning& pruning, bool classes) {
    const auto size = static_cast<std::size_t>(pruning.numTrees());
    std::vector<std::string> marks(size);
    const auto mark = [&](int tree, const char* name) {
        std::string& text = marks[static_cast<std::size_t>(tree)];
        text += (text.empty() ? "" : ", ") + std::string(name);
    };
    mark(pruning.fullTree, "full");
    mark(pruning.minErrorTree, "minimum error");
    mark(pruning.bestPrunedTree, "best pruned");
    Vector perRecord = pruning.errors;
    perRecord /= pruning.numValidationRecords;
    return makeTable(
        "Tree sequence", Column{"Tree", countFrom(0, size)},
        Column{"Decision nodes", toIntegers(pruning.numDecisionNodes)},
        Column{"Leaves", toIntegers(pruning.numLeaves)}, Column{"Complexity", pruning.complexity},
        Column{classes ? "Validation errors" : "Validation SSE", pruning.errors},
        Column{"Error per record", std::move(perRecord)}, Column{"Name", std::move(marks)});
}

/// The nodes of the selected tree, parents before children.
class NodeTable {
  public:
    explicit NodeTable(const StoredTree& stored)
        : model_(stored.base()),
          classifier_(std::get_if<StoredTree::Classifier>(&stored.model)),
          nodes_(model_.getNodes()) {
        for (const auto& node : nodes_) {
            if (isLeaf(*node)) continue;
            parents_[node->left->id] = node->id;
            parents_[node->right->id] = node->id;
        }
    }

    Table table(std::string title) const {
        Table result =
            recordTable(std::move(title), integers("Node", &Node::id), parents(),
                        integers("Depth", &Node::depth), integers("Records", &Node::numRecords),
                        integers("Validation records", &Node::numValidationRecords),
                        splitVariables(), splitValues(), children("Left child", &Node::left),
                        children("Right child", &Node::right), predictions());
        if (model_.getPruning().numValidationRecords == 0) {
            result.columns.erase(result.columns.begin() + 4);
        }
        if (classifier_ != nullptr) {
            result.columns.push_back(classProbabilities());
            result.columns.push_back(numbers("Node probability", &Node::probability));
            result.columns.push_back(numbers("Impurity", &Node::impurity));
        }
        result.columns.push_back(numbers("Risk", &Node::risk));
        return result;
    }

  private:
    bool isLeaf(const Node& node) const { return node.isLeaf(model_.getComplexity()); }

    /// A column with what `cell` makes of each node.
    template <class List, class Cell>
    Column column(std::string heading, Cell cell) const {
        List list;
        for (const auto& node : nodes_) list.push_back(cell(*node));
        return {std::move(heading), std::move(list)};
    }
    Column integers(std::string heading, int Node::*member) const {
        return column<Integers>(std::move(heading), [=](const Node& node) { return node.*member; });
    }
    Column numbers(std::string heading, double Node::*member) const {
        return column<Vector>(std::move(heading), [=](const Node& node) { return node.*member; });
    }
    /// A column that is empty for leaves.
    template <class Cell>
    Column splits(std::string heading, Cell cell) const {
        return column<std::vector<Value>>(std::move(heading), [&](const Node& node) {
            return isLeaf(node) ? Value() : Value(cell(node));
        });
    }

    Column parents() const {
        return column<std::vector<Value>>("Parent", [&](const Node& node) -> Value {
            const auto found = parents_.find(node.id);
            if (found == parents_.end()) return {};
            return std::int64_t{found->second};
        });
    }
    Column children(std::string heading, std::shared_ptr<Node> Node::*child) const {
        return splits(std::move(heading),
                      [=](const Node& node) { return std::int64_t{(node.*child)->id}; });
    }
    Column splitVariables() const {
        return splits("Split variable", [&](const Node& node) {
            return model_.getColNames()[static_cast<std::uint64_t>(node.splitVariable)].toUtf8();
        });
    }
    Column splitValues() const {
        return splits("Left below or among", [&](const Node& node) -> Value {
            if (node.splitSubset.empty()) return node.splitValue;
            const StringVector categories = model_.getCategories(node.splitVariable);
            std::string list;
            for (const int code : node.splitSubset) {
                list += list.empty() ? "" : ", ";
                list += categories[static_cast<std::uint64_t>(code)].toUtf8();
            }
            return list;
        });
    }
    Column predictions() const {
        if (classifier_ == nullptr) return numbers("Prediction", &Node::label);
        return column<std::vector<std::string>>("Prediction", [&](const Node& node) {
            return classifier_->getClasses()[static_cast<std::uint64_t>(node.label)].toUtf8();
        });
    }
    Column classProbabilities() const {
        return column<Vector>("Probability", [](const Node& node) {
            return node.classProbabilities()[static_cast<std::uint64_t>(node.label)];
        });
    }

    const Engine::DT::Model& model_;
    const StoredTree::Classifier* classifier_;
    Nodes nodes_;
    std::unordered_map<int, int> parents_;
};

Table drawingTable(const Engine::DT::Model& model, const std::string& title) {
    std::vector<std::string> lines;
    std::string text = model.toString().toUtf8();
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return makeTable(title, Column{"Node", std::move(lines)});
}

Table rulesTable(const Engine::DT::Model& model, const std::string& title) {
    Integers nodes;
    std::vector<std::string> conditions;
    std::vector<std::string> classes;
    Vector means;
    Integers records;
    Vector probabilities;
    for (const Engine::DT::Rule& rule : model.getRules()) {
        nodes.push_back(rule.node);
        conditions.push_back(rule.condition.empty() ? "always" : rule.condition.toUtf8());
        if (model.isClassification()) {
            classes.push_back(rule.outcome.toUtf8());
        } else {
            means.push_back(Convert::toDouble(rule.outcome));
        }
        records.push_back(rule.numRecords);
        probabilities.push_back(rule.probability);
    }
    Table table =
        makeTable(title, Column{"Node", std::move(nodes)}, Column{"Records", std::move(records)});
    if (model.isClassification()) {
        table.columns.push_back({"Then", std::move(classes)});
        table.columns.push_back(series("Probability", std::move(probabilities)));
    } else {
        table.columns.push_back({"Then", std::move(means)});
    }
    table.columns.push_back({"If", std::move(conditions)});
    return table;
}

Table accumulatorTable(const Engine::DT::Model& model) {
    std::vector<std::string> names;
    for (const WString& name : model.getColNames()) names.push_back(name.toUtf8());
    Table table = makeTable("Column accumulators", Column{"Column", std::move(names)},
                            Column{"Accumulator", model.getColumnAccumulators()});
    table.notes.emplace_back("Total risk before each split on the column, summed.");
    return table;
}

Table riskTable(const Engine::DT::Model& model) {
    const Vector& risks = model.getRiskLog();
    return recordTable("Risk log", Column{"Splits", countFrom(0, risks.size())},
                       Column{"Total risk", risks});
}

}  // namespace

void addPruning(Report& report, const Engine::DT::Model& model) {
    const Pruning& pruning = model.getPruning();
    if (pruning.numValidationRecords == 0) return;
    report.tables.push_back(sequenceTable(pruning, model.isClassification()));
    Vector errors = pruning.pruningLog();
    Integers sizes = countFrom(0, errors.size());
    report.charts.push_back({.title = "Pruning",
                             .x = {report.tables.size(), 0},
                             .y = {report.tables.size(), 1},
                             .lines = {{report.tables.size(), 1}}});
    report.tables.push_back(recordTable("Pruning log", Column{"Decision nodes", std::move(sizes)},
                                        Column{"Error per record", std::move(errors)},
                                        Column{"Complexity", pruning.complexityLog()}));
}

void addTrees(Report& report, const StoredTree& stored) {
    const Engine::DT::Model& model = stored.base();
    const bool validated = model.getPruning().numValidationRecords > 0;
    const std::string name = validated ? "best pruned tree" : "full tree";
    report.tables.push_back(drawingTable(model, "Drawing: " + name));
    report.tables.push_back(rulesTable(model, "Rules: " + name));
    std::vector<std::pair<TreeType, const char*>> trees;
    if (validated) {
        trees.emplace_back(TreeType::bestPruned, "Nodes: best pruned tree");
        trees.emplace_back(TreeType::minimumError, "Nodes: minimum error tree");
    }
    trees.emplace_back(TreeType::full, "Nodes: full tree");
    StoredTree other = stored;
    for (const auto& [type, title] : trees) {
        other.base().select(type);
        report.tables.push_back(NodeTable(other).table(title));
    }
    report.tables.push_back(accumulatorTable(model));
    report.tables.push_back(riskTable(model));
}

}  // namespace Veltrix::Tool
