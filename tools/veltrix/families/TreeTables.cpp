#include "tools/veltrix/families/TreeTables.h"

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <utility>

#include "Veltrix/Data/Convert.h"

namespace Veltrix::Tool {

namespace {

using Engine::DT::Node;
using Engine::DT::Pruning;

void addSequence(Table& table, const Pruning& pruning, bool classes) {
    std::vector<std::string> marks(static_cast<std::size_t>(pruning.numTrees()));
    const auto mark = [&](int tree, const char* name) {
        std::string& text = marks[static_cast<std::size_t>(tree)];
        text += (text.empty() ? "" : ", ") + std::string(name);
    };
    mark(pruning.fullTree, "full");
    mark(pruning.minErrorTree, "minimum error");
    mark(pruning.bestPrunedTree, "best pruned");
    Vector perRecord = pruning.errors;
    perRecord /= pruning.numValidationRecords;
    table.counted("Tree", pruning.errors.size(), 0)
        .integers("Decision nodes", pruning.numDecisionNodes)
        .integers("Leaves", pruning.numLeaves)
        .numbers("Complexity", pruning.complexity)
        .numbers(classes ? "Validation errors" : "Validation SSE", pruning.errors)
        .numbers("Error per record", std::move(perRecord))
        .text("Name", std::move(marks));
}

/// The nodes of the selected tree, parents before children.
class Nodes {
  public:
    explicit Nodes(const Engine::DT::Model& model) : model_(model), nodes_(model.getNodes()) {
        for (const auto& node : nodes_) {
            if (isLeaf(*node)) continue;
            parents_[node->left->id] = node->id;
            parents_[node->right->id] = node->id;
        }
    }

    /// A list with what `cell` makes of each node.
    template <class List, class Cell>
    List list(Cell cell) const {
        List list;
        for (const auto& node : nodes_) list.push_back(cell(*node));
        return list;
    }
    std::vector<std::int64_t> integers(int Node::*member) const {
        return list<std::vector<std::int64_t>>([=](const Node& node) { return node.*member; });
    }
    Vector numbers(double Node::*member) const {
        return list<Vector>([=](const Node& node) { return node.*member; });
    }
    /// Cells that are empty for leaves.
    template <class Cell>
    std::vector<Value> splits(Cell cell) const {
        return list<std::vector<Value>>(
            [&](const Node& node) { return isLeaf(node) ? Value() : Value(cell(node)); });
    }
    std::vector<Value> children(std::shared_ptr<Node> Node::*child) const {
        return splits([=](const Node& node) { return std::int64_t{(node.*child)->id}; });
    }
    std::vector<Value> parents() const {
        return list<std::vector<Value>>([&](const Node& node) {
            const auto found = parents_.find(node.id);
            return found == parents_.end() ? Value() : Value(std::int64_t{found->second});
        });
    }
    std::vector<Value> splitVariables() const {
        return splits([&](const Node& node) {
            return model_.getColNames()[static_cast<std::uint64_t>(node.splitVariable)].toUtf8();
        });
    }
    std::vector<Value> splitValues() const {
        return splits([&](const Node& node) -> Value {
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

  private:
    bool isLeaf(const Node& node) const { return node.isLeaf(model_.getComplexity()); }

    const Engine::DT::Model& model_;
    std::vector<std::shared_ptr<const Node>> nodes_;
    std::unordered_map<int, int> parents_;
};

}  // namespace

void addPruning(ReportBuilder& report, const Engine::DT::Model& model) {
    const Pruning& pruning = model.getPruning();
    addSequence(report.table("Tree sequence"), pruning, model.isClassification());
    const Vector errors = pruning.pruningLog();
    report.records("Pruning log")
        .counted("Decision nodes", errors.size(), 0)
        .numbers("Error per record", errors)
        .numbers("Complexity", pruning.complexityLog());
    report.chart("Pruning")
        .x("Pruning log", "Decision nodes")
        .y("Pruning log", "Error per record")
        .line();
}

void addGrowth(ReportBuilder& report, const Engine::DT::Model& model) {
    report.table("Column accumulators")
        .text("Column", model.getColNames())
        .numbers("Accumulator", model.getColumnAccumulators())
        .note("Total risk before each split on the column, summed.");
    report.records("Risk log")
        .counted("Splits", model.getRiskLog().size(), 0)
        .numbers("Total risk", model.getRiskLog());
}

void addDrawing(Table& table, const Engine::DT::Model& model) {
    std::vector<std::string> lines;
    const std::string text = model.toString().toUtf8();
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    table.text("Node", std::move(lines));
}

void addRules(Table& table, const Engine::DT::Model& model) {
    std::vector<std::int64_t> nodes;
    std::vector<std::string> conditions;
    std::vector<std::string> classes;
    Vector means;
    std::vector<std::int64_t> records;
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
    table.integers("Node", std::move(nodes)).integers("Records", std::move(records));
    if (model.isClassification()) {
        table.text("Then", std::move(classes)).series("Probability", std::move(probabilities));
    } else {
        table.numbers("Then", std::move(means));
    }
    table.text("If", std::move(conditions));
}

void addNodes(Table& table, const Engine::DT::Model& model, const StringVector* classes) {
    const Nodes nodes(model);
    table.integers("Node", nodes.integers(&Node::id))
        .cells("Parent", nodes.parents())
        .integers("Depth", nodes.integers(&Node::depth))
        .integers("Records", nodes.integers(&Node::numRecords));
    if (model.getPruning().numValidationRecords > 0) {
        table.integers("Validation records", nodes.integers(&Node::numValidationRecords));
    }
    table.cells("Split variable", nodes.splitVariables())
        .cells("Left below or among", nodes.splitValues())
        .cells("Left child", nodes.children(&Node::left))
        .cells("Right child", nodes.children(&Node::right));
    if (classes == nullptr) {
        table.numbers("Prediction", nodes.numbers(&Node::label));
    } else {
        const auto place = [](const Node& node) { return static_cast<std::uint64_t>(node.label); };
        table
            .text("Prediction", nodes.list<std::vector<std::string>>([&](const Node& node) {
                return (*classes)[place(node)].toUtf8();
            }))
            .numbers("Probability", nodes.list<Vector>([&](const Node& node) {
                return node.classProbabilities()[place(node)];
            }))
            .numbers("Node probability", nodes.numbers(&Node::probability))
            .numbers("Impurity", nodes.numbers(&Node::impurity));
    }
    table.numbers("Risk", nodes.numbers(&Node::risk));
}

}  // namespace Veltrix::Tool
