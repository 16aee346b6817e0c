#include "tools/veltrix/families/CategoryTables.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "support/NumberText.h"

namespace Veltrix::Tool {

namespace {

using Classification::NaiveBayes::Engine::Model;

/// The categories of a feature: numbers in their order, then texts.
std::vector<WString> inOrder(const Model::CategoryMap& categories) {
    struct Category {
        std::optional<double> number;
        WString text;
    };
    std::vector<Category> all;
    for (const auto& category : categories) {
        all.push_back({Support::parseNumber(category.first.view()), category.first});
    }
    std::ranges::sort(all, [](const Category& a, const Category& b) {
        if (a.number.has_value() != b.number.has_value()) return a.number.has_value();
        if (a.number && *a.number != *b.number) return *a.number < *b.number;
        return a.text < b.text;
    });
    std::vector<WString> texts;
    texts.reserve(all.size());
    for (Category& category : all) texts.push_back(std::move(category.text));
    return texts;
}

}  // namespace

Table& addCategories(Table& table, const std::vector<std::string>& predictors,
                     const StringVector& classes, const Model& model, NumberStyle style) {
    std::vector<std::string> names;
    std::vector<std::string> categories;
    std::vector<Vector> values(classes.size());
    for (const std::string& predictor : predictors) {
        const auto& known = model.featureValueClassCount.at(WString::fromUtf8(predictor));
        for (const WString& category : inOrder(known)) {
            names.push_back(predictor);
            categories.push_back(category.toUtf8());
            for (std::uint64_t c = 0; c < classes.size(); ++c) {
                values[c].push_back(known.at(category).at(classes[c]));
            }
        }
    }
    table.text("Predictor", std::move(names)).text("Category", std::move(categories));
    for (std::uint64_t c = 0; c < classes.size(); ++c) {
        table.add({classes[c].toUtf8(), std::move(values[c]), style});
    }
    return table;
}

bool scoresEveryRecord(const Model& model) {
    const auto hasAll = [&](const Model::ClassValues& values) {
        return std::ranges::all_of(model.targetCount,
                                   [&](const auto& each) { return values.contains(each.first); });
    };
    return model.state == Model::kProbabilities && model.targetCount.size() >= 2 &&
           hasAll(model.priorProbs) &&
           std::ranges::all_of(model.featureValueClassCount, [&](const auto& feature) {
               return std::ranges::all_of(
                   feature.second, [&](const auto& category) { return hasAll(category.second); });
           });
}

}  // namespace Veltrix::Tool
