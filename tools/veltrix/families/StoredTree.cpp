#include "tools/veltrix/families/StoredTree.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kCategorical = "--categorical";

bool contains(const std::vector<std::string>& names, const std::string& name) {
    return std::ranges::find(names, name) != names.end();
}

void expectPredictors(const Support::JsonView& part, const std::vector<std::string>& names,
                      const std::vector<std::string>& predictors) {
    for (const std::string& name : names) {
        if (contains(predictors, name)) continue;
        part.fail(fmt::format("column {} is no predictor", Tool::quoted(name)));
    }
}

}  // namespace

TreeColumns::TreeColumns(const DataFile& data, std::vector<std::string> predictors,
                         const std::vector<std::string>& categorical)
    : predictors_(std::move(predictors)) {
    for (const std::string& name : categorical) {
        data.columnIndex(kCategorical, name);
        if (contains(predictors_, name)) continue;
        throw UserError(fmt::format("{}: column {} is no predictor, expected one of them",
                                    kCategorical, Tool::quoted(name)));
    }
    for (const std::string& name : predictors_) {
        const int index = data.columnIndex(LearnerOptions::kPredictors, name);
        const bool text = data.frame()(Selection::all, index).getKind() == ColumnKind::text;
        if (text) text_.push_back(name);
        if (text || contains(categorical, name)) categorical_.push_back(name);
    }
}

bool TreeColumns::isCategorical(const std::string& name) const {
    return contains(categorical_, name);
}

CsvOptions TreeColumns::csvOptions() const {
    CsvOptions options;
    options.textColumns = text_;
    return options;
}

std::vector<UsedColumn> TreeColumns::used(const std::string& option) const {
    std::vector<UsedColumn> columns;
    for (const std::string& name : predictors_) {
        columns.push_back({option, name, isCategorical(name)});
    }
    return columns;
}

DataFrame TreeColumns::frame(const NumericSelection& selection) const {
    DataFrame result;
    for (std::size_t j = 0; j < predictors_.size(); ++j) {
        const WString name = WString::fromUtf8(predictors_[j]);
        Vector values = selection.columns[j];
        if (selection.used[j].byLevel) {
            IntVector codes(values.size());
            std::ranges::transform(values, codes.begin(),
                                   [](double code) { return static_cast<int>(code); });
            result.append(name, std::move(codes), selection.levels[j]);
        } else {
            values.setName(name);
            result.append(std::move(values));
        }
    }
    return result;
}

void TreeColumns::write(Support::JsonWriter& writer) const {
    writer.member("predictors", predictors_)
        .member("categorical", categorical_)
        .member("text", text_);
}

void TreeColumns::read(const Support::JsonView& root) {
    predictors_ = root.at("predictors").asStrings();
    categorical_ = root.at("categorical").asStrings();
    text_ = root.at("text").asStrings();
    expectPredictors(root.at("categorical"), categorical_, predictors_);
    expectPredictors(root.at("text"), text_, categorical_);
}

Engine::DT::Model& StoredTree::base() {
    return std::visit([](auto& form) -> Engine::DT::Model& { return form; }, model);
}

const Engine::DT::Model& StoredTree::base() const {
    return std::visit([](const auto& form) -> const Engine::DT::Model& { return form; }, model);
}

std::vector<UsedColumn> StoredTree::usedForScoring(const std::string& option) const {
    return columns.used(option);
}

Scores StoredTree::score(const DataFrame& records) const {
    if (const auto* const classifier = std::get_if<Classifier>(&model)) {
        return {Convert::toDataFrame(classifier->posteriorProbability(records),
                                     classifier->getClasses()),
                classifier->predict(records),
                {}};
    }
    return {{}, {}, std::get<Regressor>(model).predict(records)};
}

std::vector<Column> StoredTree::scoreColumns(const NumericSelection& selection,
                                             double /*confidence*/) const {
    return Tool::scoreColumns(score(columns.frame(selection)));
}

void StoredTree::writeParts(Support::JsonWriter& writer) const {
    columns.write(writer);
    writer.member("task", base().isClassification() ? kClassification : kRegression).key("model");
    std::visit([&](const auto& form) { writer.json(form.toJson().toUtf8()); }, model);
}

void StoredTree::readParts(const Support::JsonView& root) {
    columns.read(root);
    if (!readChoice(root.at("task"), kClassification, kRegression)) model = Regressor();
    std::visit([&](auto& form) { readPart(form, root.at("model")); }, model);
    if (base().getRoot() == nullptr) root.at("model").fail("not a fitted model");
    const auto expected = static_cast<std::size_t>(base().getNumCols());
    if (columns.predictors().size() != expected) {
        root.at("predictors")
            .fail(fmt::format("{} columns, expected {}", columns.predictors().size(), expected));
    }
}

}  // namespace Veltrix::Tool
