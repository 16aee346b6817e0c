#include "engine/supervised/DT/TreeJson.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "engine/core/ModelJson.h"
#include "engine/core/RolesJson.h"
#include "engine/supervised/DT/FrameCoding.h"
#include "engine/supervised/DT/TrainingRecord.h"
#include "engine/supervised/DT/Traversal.h"

namespace Veltrix::Engine::DT {
namespace {

using Support::JsonView;
using Support::JsonWriter;

/// A field of a type under the key it is stored with.
template <class Object, class Value>
struct Field {
    const char* key;
    Value Object::*member;
};

constexpr Field<Params, int> kParams[] = {
    {"maxSplits", &Params::maxSplits}, {"maxLevels", &Params::maxLevels},
    {"maxNodes", &Params::maxNodes},   {"minRecords", &Params::minRecords},
    {"seed", &Params::seed},           {"variablesPerSplit", &Params::variablesPerSplit},
};

/// One list for each field, an entry a node in the order of ids.
constexpr Field<Node, int> kNodeCounts[] = {
    {"depth", &Node::depth},
    {"leaves", &Node::leaves},
    {"numRecords", &Node::numRecords},
    {"numValidationRecords", &Node::numValidationRecords},
    {"splitVariable", &Node::splitVariable},
    {"firstRecord", &Node::firstRecord},
};
constexpr Field<Node, double> kNodeNumbers[] = {
    {"label", &Node::label},
    {"impurity", &Node::impurity},
    {"risk", &Node::risk},
    {"subtreeRisk", &Node::subtreeRisk},
    {"strength", &Node::strength},
    {"minStrength", &Node::minStrength},
    {"probability", &Node::probability},
    {"splitValue", &Node::splitValue},
};

constexpr Field<Pruning, int> kPruningCounts[] = {
    {"numValidationRecords", &Pruning::numValidationRecords},
    {"fullTree", &Pruning::fullTree},
    {"minErrorTree", &Pruning::minErrorTree},
    {"bestPrunedTree", &Pruning::bestPrunedTree},
    {"selectedTree", &Pruning::selectedTree},
};
constexpr Field<Pruning, IntVector> kPruningLists[] = {
    {"treeIds", &Pruning::treeIds},
    {"numDecisionNodes", &Pruning::numDecisionNodes},
    {"numLeaves", &Pruning::numLeaves},
};
constexpr Field<Pruning, Vector> kPruningNumbers[] = {
    {"complexity", &Pruning::complexity},
    {"errors", &Pruning::errors},
};

void writeParams(JsonWriter& json, const Params& params) {
    json.key("params").beginObject();
    for (const auto& field : kParams) json.member(field.key, params.*field.member);
    json.member("categorical", ModelJson::values(params.categorical)).endObject();
}

Params readParams(const JsonView& stored) {
    Params params;
    for (const auto& field : kParams) params.*field.member = stored.at(field.key).asInt32();
    params.categorical = ModelJson::intVector(stored.at("categorical"));
    return params;
}

void writePruning(JsonWriter& json, const Pruning& pruning) {
    json.key("pruning").beginObject();
    for (const auto& field : kPruningCounts) json.member(field.key, pruning.*field.member);
    for (const auto& field : kPruningLists)
        json.member(field.key, ModelJson::values(pruning.*field.member));
    for (const auto& field : kPruningNumbers)
        json.member(field.key, ModelJson::values(pruning.*field.member));
    json.endObject();
}

Pruning readPruning(const JsonView& stored) {
    Pruning pruning;
    for (const auto& field : kPruningCounts) {
        pruning.*field.member = stored.at(field.key).asInt32();
    }
    const std::int64_t trees = stored.at("complexity").size();
    for (const auto& field : kPruningLists) {
        ModelJson::expectSize(stored.at(field.key), trees);
        pruning.*field.member = ModelJson::intVector(stored.at(field.key));
    }
    for (const auto& field : kPruningNumbers) {
        ModelJson::expectSize(stored.at(field.key), trees);
        pruning.*field.member = ModelJson::vector(stored.at(field.key));
    }
    return pruning;
}

void writeNodes(JsonWriter& json, const std::vector<Node*>& nodes) {
    json.key("nodes").beginObject();
    for (const auto& field : kNodeCounts) {
        json.key(field.key).beginArray();
        for (const Node* node : nodes) json.value(node->*field.member);
        json.endArray();
    }
    for (const auto& field : kNodeNumbers) {
        json.key(field.key).beginArray();
        for (const Node* node : nodes) json.value(node->*field.member);
        json.endArray();
    }
    json.key("splitSubset").beginArray();
    for (const Node* node : nodes) json.value(std::span<const std::int32_t>(node->splitSubset));
    json.endArray().endObject();
}

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
void linkNodes(const JsonView& stored, std::vector<std::shared_ptr<Node>>& nodes,
               const std::vector<std::vector<int>>& categories) {
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

}  // namespace

void TreeJson::write(JsonWriter& json, const Model& model) {
    writeParams(json, model.params_);
    ModelJson::member(json, "columns", model.colNames_);
    json.key("codes").beginArray();
    for (const auto& seen : model.categories_) json.value(std::span<const std::int32_t>(seen));
    json.endArray();
    json.key("categories").beginArray();
    for (int j = 0; j < model.getNumCols(); ++j) {
        json.beginArray();
        for (const WString& label : model.getCategories(j)) {
            json.value(std::string_view(label.toUtf8()));
        }
        json.endArray();
    }
    json.endArray();
    json.member("columnAccumulators", ModelJson::values(model.accumulators_));
    json.member("riskLog", ModelJson::values(model.riskLog_));
    json.member("complexity", model.alpha_);
    writePruning(json, model.pruning_);
    const TrainingRecord empty;
    const TrainingRecord& training = model.root_ ? *model.root_->training : empty;
    json.member("records", std::span<const std::int32_t>(training.order));
    json.member("classCounts", std::span<const std::int32_t>(training.classCounts));
    json.member("classPriors", std::span<const double>(training.shares.priors()));
    writeNodes(json, model.root_ ? nodesById(*model.root_) : std::vector<Node*>());
}

void TreeJson::readCategories(const JsonView& root, Model& model) {
    const JsonView codes = root.at("codes");
    const JsonView labels = root.at("categories");
    ModelJson::expectSize(labels, codes.size());
    for (std::int64_t j = 0; j < codes.size(); ++j) {
        std::vector<int> seen = codes.at(j).asInt32s();
        if (!std::ranges::is_sorted(seen) || (!seen.empty() && seen.front() < 0)) {
            codes.at(j).fail("expected ascending codes");
        }
        model.categories_.push_back(std::move(seen));
        const StringVector levels = ModelJson::distinctTexts(labels.at(j));
        if (levels.empty()) continue;
        ModelJson::expectSize(labels.at(j), codes.at(j).size());
        DataFrame column;
        column.append(levels, categoryColumn(static_cast<int>(j)));
        model.inputs_.fit(column(Selection::all, 0));
    }
}

namespace {

/// Earlier files hold prior/total for each class.
ClassShares readShares(const JsonView& root, int numClasses, std::vector<int> totals) {
    totals.resize(static_cast<std::size_t>(numClasses));
    const auto stored = root.find("classPriors");
    const JsonView list = stored ? *stored : root.at("classWeights");
    ModelJson::expectSize(list, numClasses);
    std::vector<double> priors = list.asDoubles();
    for (std::size_t c = 0; c < priors.size() && !stored; ++c) priors[c] *= totals[c];
    return {std::move(priors), totals};
}

}  // namespace

void TreeJson::readNodes(const JsonView& root, int numClasses, Model& model) {
    const JsonView stored = root.at("nodes");
    const std::int64_t count = stored.at("depth").size();
    auto training = std::make_shared<TrainingRecord>();
    training->order = root.at("records").asInt32s();
    ModelJson::expectSize(root.at("classCounts"), count * numClasses);
    training->classCounts = root.at("classCounts").asInt32s();
    if (count > 0) training->shares = readShares(root, numClasses, training->classCounts);

    std::vector<std::shared_ptr<Node>> nodes(static_cast<std::size_t>(count));
    for (std::int64_t k = 0; k < count; ++k) {
        auto node = std::make_shared<Node>();
        node->id = static_cast<int>(k) + 1;
        for (const auto& field : kNodeCounts) {
            (*node).*field.member = stored.at(field.key).at(k).asInt32();
        }
        for (const auto& field : kNodeNumbers) {
            (*node).*field.member = stored.at(field.key).at(k).asDouble();
        }
        node->splitSubset = stored.at("splitSubset").at(k).asInt32s();
        const std::int64_t end = std::int64_t{node->firstRecord} + node->numRecords;
        if (node->firstRecord < 0 || node->numRecords < 0 ||
            end > static_cast<std::int64_t>(training->order.size())) {
            stored.at("numRecords").at(k).fail("expected records within the list of records");
        }
        if (numClasses > 0 && !(node->label >= 0.0 && node->label < numClasses)) {
            stored.at("label").at(k).fail("no such class");
        }
        node->training = training;
        nodes[static_cast<std::size_t>(k)] = std::move(node);
    }
    if (nodes.empty()) return;
    if (nodes.front()->depth != 0) stored.at("depth").at(std::int64_t{0}).fail("expected 0");
    linkNodes(stored, nodes, model.categories_);
    model.root_ = nodes.front();
    model.numNodes_ = static_cast<int>(count);
}

namespace {

/// Every tree of the sequence is a part of the grown one.
void checkPruning(const JsonView& stored, const Model& model) {
    const IntVector& decisions = model.getPruning().numDecisionNodes;
    for (std::uint64_t k = 0; k < decisions.size(); ++k) {
        if (decisions[k] >= 0 && decisions[k] < model.getNumNodes()) continue;
        stored.at("numDecisionNodes")
            .at(static_cast<std::int64_t>(k))
            .fail("expected a number of nodes of the tree");
    }
}

}  // namespace

void TreeJson::read(const JsonView& root, int numClasses, Model& model) {
    model.params_ = readParams(root.at("params"));
    for (const std::string& name : root.at("columns").asStrings()) {
        model.colNames_.push_back(WString::fromUtf8(name));
    }
    readCategories(root, model);
    ModelJson::expectSize(root.at("columnAccumulators"), model.getNumCols());
    model.accumulators_ = ModelJson::vector(root.at("columnAccumulators"));
    model.riskLog_ = ModelJson::vector(root.at("riskLog"));
    model.alpha_ = root.at("complexity").asDouble();
    model.pruning_ = readPruning(root.at("pruning"));
    readNodes(root, numClasses, model);
    if (model.numNodes_ > 0) checkPruning(root.at("pruning"), model);
}

namespace {

constexpr const char* kClassification = "DT::Classification::Model";
constexpr const char* kRegression = "DT::Regression::Model";

}  // namespace

WString Classification::Model::toJson() const {
    JsonWriter json = ModelJson::begin(kClassification);
    RolesJson::write(json, *this);
    TreeJson::write(json, *this);
    return ModelJson::finish(json);
}

void Classification::Model::fromJsonString(const WString& json) {
    *this = ModelJson::read(kClassification, json, [](const JsonView& root) {
        Model model;
        RolesJson::read(root, model);
        TreeJson::read(root, model.getNumClasses(), model);
        return model;
    });
}

WString Regression::Model::toJson() const {
    JsonWriter json = ModelJson::begin(kRegression);
    TreeJson::write(json, *this);
    return ModelJson::finish(json);
}

void Regression::Model::fromJsonString(const WString& json) {
    *this = ModelJson::read(kRegression, json, [](const JsonView& root) {
        Model model;
        TreeJson::read(root, 0, model);
        return model;
    });
}

}  // namespace Veltrix::Engine::DT
