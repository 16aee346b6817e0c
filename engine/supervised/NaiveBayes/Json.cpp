#include <cstdint>
#include <limits>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Veltrix/Engine/NaiveBayes.h"
#include "engine/core/Stored.h"
#include "engine/supervised/NaiveBayes/SortedKeys.h"

namespace Veltrix {

using Classification::NaiveBayes::Engine::Model;
using Classification::NaiveBayes::Engine::sortedKeys;
using Support::Length;

namespace {

/// The values of a feature, a row for each category and a column for each class of the model.
struct StoredFeature {
    WString name;
    StringVector categories;
    Vector values;
    IntVector missing;  ///< positions of values that there are none of

    StoredFeature() = default;
    StoredFeature(const Model& model, WString feature, const StringVector& classes)
        : name(std::move(feature)) {
        const Model::CategoryMap& map = model.featureValueClassCount.at(name);
        categories = sortedKeys(map);
        for (const WString& category : categories) {
            const Model::ClassValues& found = map.at(category);
            for (const WString& cls : classes) {
                const auto value = found.find(cls);
                if (value == found.end()) missing.push_back(static_cast<int>(values.size()));
                values.push_back(value == found.end() ? 0.0 : value->second);
            }
        }
    }

    void restore(Model& model, const StringVector& classes) const {
        const std::unordered_set<int> left(missing.begin(), missing.end());
        Model::CategoryMap& map = model.featureValueClassCount[name];
        int place = 0;
        for (const WString& category : categories) {
            Model::ClassValues& found = map[category];
            for (const WString& cls : classes) {
                if (left.count(place) == 0) found[cls] = values[place];
                ++place;
            }
        }
    }
};

/// All classes that a value is of, ascending.
StringVector classesOf(const Model& model) {
    Model::ClassCounts classes = model.targetCount;
    for (const auto& feature : model.featureValueClassCount) {
        for (const auto& category : feature.second) {
            for (const auto& value : category.second) classes.try_emplace(value.first);
        }
    }
    return sortedKeys(classes);
}

}  // namespace

template <>
struct Stored<StoredFeature> {
    static void fields(Support::StoredWriter& a, const StoredFeature& feature) {
        a("name", feature.name)("categories", feature.categories);
        a("values", feature.values)("missing", feature.missing);
    }
    static void fields(Support::StoredReader& a, StoredFeature& feature) {
        Support::expectDistinct(a.view().at("categories"));
        a("name", feature.name)("categories", feature.categories);
        a("values", feature.values)("missing", feature.missing);
    }
};

template <>
struct Stored<Model> {
    static void fields(Support::StoredWriter& a, const Model& model) {
        const StringVector targets = sortedKeys(model.targetCount);
        const StringVector priors = sortedKeys(model.priorProbs);
        const StringVector classes = classesOf(model);
        IntVector counts;
        Vector probabilities;
        for (const WString& cls : targets) counts.push_back(model.targetCount.at(cls));
        for (const WString& cls : priors) probabilities.push_back(model.priorProbs.at(cls));
        std::vector<StoredFeature> features;
        for (const WString& name : sortedKeys(model.featureValueClassCount)) {
            features.emplace_back(model, name, classes);
        }
        a("state", model.state)("alpha", model.alpha);
        a("targetLabels", targets)("targetCount", counts);
        a("priorLabels", priors)("priors", probabilities);
        a("classes", classes)("features", features);
    }
    static void fields(Support::StoredReader& a, Model& model) {
        a("state", model.state)("alpha", model.alpha);
        a.check(
            "state",
            [&] {
                return model.state == Model::kFrequencies || model.state == Model::kProbabilities;
            },
            "expected 1 or 2");
        readMap(a, "targetLabels", "targetCount", model.targetCount, IntVector());
        a.check(
            "targetCount",
            [&] {
                return std::all_of(model.targetCount.begin(), model.targetCount.end(),
                                   [](const auto& each) { return each.second >= 0; });
            },
            "expected counts");
        readMap(a, "priorLabels", "priors", model.priorProbs, Vector());
        readFeatures(a, model);
    }

  private:
    template <class Map, class Values>
    static void readMap(Support::StoredReader& a, const char* labelKey, const char* valueKey,
                        Map& map, Values values) {
        Support::expectDistinct(a.view().at(labelKey));
        StringVector labels;
        a(labelKey, labels);
        a(valueKey, values, Length{static_cast<std::int64_t>(labels.size())});
        for (std::uint64_t k = 0; k < labels.size(); ++k) map.emplace(labels[k], values[k]);
    }
    static void readFeatures(Support::StoredReader& a, Model& model) {
        Support::expectDistinct(a.view().at("classes"));
        StringVector classes;
        std::vector<StoredFeature> features;
        a("classes", classes)("features", features);
        for (std::size_t k = 0; k < features.size(); ++k) {
            const auto stored = a.view().at("features").at(static_cast<std::int64_t>(k));
            const StoredFeature& feature = features[k];
            const auto size = static_cast<std::int64_t>(feature.categories.size() * classes.size());
            Support::expectSize(stored.at("values"), size);
            for (const int place : feature.missing) {
                if (place < 0 || place >= size) stored.at("missing").fail("expected positions");
            }
            if (model.featureValueClassCount.contains(feature.name)) {
                stored.at("name").fail("occurs twice");
            }
            feature.restore(model, classes);
        }
    }
};

namespace Classification::NaiveBayes::Engine {

namespace {

constexpr const char* kType = "NaiveBayes::Model";

}  // namespace

void Model::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, kType, *this); }

void Model::readJson(std::string_view utf8) { *this = readStoredText<Model>(kType, utf8); }

}  // namespace Classification::NaiveBayes::Engine
}  // namespace Veltrix
