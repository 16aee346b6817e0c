#include <type_traits>
#include <utility>

#include "Veltrix/Engine/NaiveBayes.h"

namespace Veltrix::Classification::NaiveBayes::Engine {

static_assert(std::is_nothrow_move_assignable_v<Model> &&
              std::is_nothrow_move_constructible_v<Model>);

Model::~Model() = default;

Model& Model::setFeatureValueClassCount(const WString& feature, const WString& value,
                                        const WString& cls, double count) {
    // What is new is built aside.
    const auto categories = featureValueClassCount.find(feature);
    if (categories == featureValueClassCount.end()) {
        CategoryMap added;
        added[value][cls] = count;
        featureValueClassCount.emplace(feature, std::move(added));
        return *this;
    }
    const auto values = categories->second.find(value);
    if (values == categories->second.end()) {
        categories->second.emplace(value, ClassValues{{cls, count}});
    } else {
        values->second.insert_or_assign(cls, count);
    }
    return *this;
}

Model& Model::setTargetCount(const WString& cls, int count) {
    targetCount.insert_or_assign(cls, count);
    return *this;
}

Model& Model::setPriorProbs(const ClassValues& priors) {
    priorProbs = ClassValues(priors);
    return *this;
}

StringVector Model::getFeatures() const {
    StringVector names;
    names.reserve(featureValueClassCount.size());
    for (const auto& feature : featureValueClassCount) names.push_back(feature.first);
    return names;
}

}  // namespace Veltrix::Classification::NaiveBayes::Engine
