#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/Exceptions.h"
#include "Veltrix/Engine/NaiveBayes.h"
#include "engine/core/Checks.h"
#include "engine/core/MapLookup.h"

namespace Veltrix::Classification::NaiveBayes::Engine {
namespace {

namespace Checks = Veltrix::Engine::Checks;

/// The records' classes as positions among the labels.
struct Target {
    IntVector codes;
    StringVector classes;  ///< ascending

    explicit Target(const ConstDataFrameColumn& column) : classes(column.getLevels(codes)) {}

    Model::ClassCounts counts() const {
        std::vector<int> counts(classes.size());
        for (const int code : codes) ++counts[static_cast<std::size_t>(code)];
        Model::ClassCounts result;
        for (std::uint64_t c = 0; c < classes.size(); ++c) result.emplace(classes[c], counts[c]);
        return result;
    }
};

/// Adds what a column counts; every category that occurs gets an entry for every class.
void count(const ConstDataFrameColumn& column, const Target& target,
           Model::CategoryMap& categories) {
    IntVector codes;
    const StringVector texts = column.getTexts(codes);
    const std::size_t numClasses = target.classes.size();
    std::vector<int> counts(texts.size() * numClasses);
    std::vector<char> occurs(texts.size());
    for (std::uint64_t i = 0; i < codes.size(); ++i) {
        const auto category = static_cast<std::size_t>(codes[i]);
        occurs[category] = 1;
        ++counts[category * numClasses + static_cast<std::size_t>(target.codes[i])];
    }
    categories.reserve(categories.size() + texts.size());
    for (std::size_t v = 0; v < texts.size(); ++v) {
        if (occurs[v] == 0) continue;
        Model::ClassValues& values = categories[texts[v]];
        values.reserve(numClasses);
        for (std::size_t c = 0; c < numClasses; ++c) {
            values[target.classes[c]] += counts[v * numClasses + c];
        }
    }
}

}  // namespace

Model computeFrequency(const DataFrame& features, const ConstDataFrameColumn& target, double alpha,
                       const Model::ClassValues& priors) {
    constexpr const char* kOperation = "Naive Bayes";
    Checks::onePerRecord(kOperation, "classes", static_cast<std::uint64_t>(target.getNumRows()),
                         features.getNumRows());
    if (!std::isfinite(alpha) || alpha < 0.0) {
        Checks::fail(ErrorCode::invalidArgument, kOperation,
                     "alpha " + std::to_string(alpha) + ", a finite number of at least 0 expected");
    }
    const Target coded(target);
    if (coded.classes.size() < 2) throw Veltrix::Engine::UnaryResponseVariable();
    Model model;
    model.targetCount = coded.counts();
    ProgressPhase phase("Counting", static_cast<std::uint64_t>(features.getNumCols()));
    for (int j = 0; j < features.getNumCols(); ++j, phase.advance()) {
        count(features(Selection::all, j), coded,
              model.featureValueClassCount[features.getColName(j)]);
    }
    model.alpha = alpha;
    model.priorProbs = priors;
    model.state = Model::kFrequencies;
    return model;
}

Model frequencyToPriorConditionalProbability(Model model) {
    if (model.state == Model::kProbabilities) return model;
    ProgressPhase phase("Smoothing", model.featureValueClassCount.size());
    for (auto& feature : model.featureValueClassCount) {
        const double smoothing = model.alpha * static_cast<double>(feature.second.size());
        for (auto& category : feature.second) {
            for (auto& [cls, value] : category.second) {
                const int records = Veltrix::Engine::valueAt(model.targetCount, cls);
                value = (value + model.alpha) / (records + smoothing);
            }
        }
        phase.advance();
    }
    model.state = Model::kProbabilities;
    return model;
}

}  // namespace Veltrix::Classification::NaiveBayes::Engine
