#include "engine/supervised/DT/ClassShares.h"

#include <algorithm>
#include <utility>

#include "engine/core/Checks.h"
#include "engine/core/ClassWeights.h"

namespace Veltrix::Engine::DT {
namespace {

std::vector<double> priorsOf(const Engine::Classification::Priorable& model,
                             const std::vector<int>& totals) {
    Veltrix::Checks::counts("Tree prediction", model.getClasses().size(), "classes in the model",
                            totals.size(), "classes in its tree");
    return countedPriors(model, std::vector<double>(totals.begin(), totals.end()));
}

}  // namespace

ClassShares::ClassShares(std::vector<double> priors, const std::vector<int>& totals)
    : priors_(std::move(priors)),
      totals_(totals.begin(), totals.end()),
      weights_(classWeights(priors_, totals_)) {
    const double largest =
        weights_.empty() ? 0.0 : *std::max_element(weights_.begin(), weights_.end());
    for (std::size_t c = 0; c < weights_.size(); ++c) {
        equal_ = equal_ && (totals_[c] == 0.0 || weights_[c] == largest);
    }
    equal_ = equal_ && largest > 0.0;
}

ClassShares::ClassShares(const Engine::Classification::Priorable& model,
                         const std::vector<int>& totals)
    : ClassShares(priorsOf(model, totals), totals) {}

void ClassShares::probabilities(const int* counts, std::span<double> result) const {
    const auto share = [&](std::size_t c) -> long double {
        const auto count = static_cast<long double>(counts[c]);
        if (equal_) return count;
        // The quotient comes last: prior/total rounded first would part equal shares.
        return count == 0 ? count : priors_[c] * count / totals_[c];
    };
    long double sum = 0;
    for (std::size_t c = 0; c < result.size(); ++c) sum += share(c);
    for (std::size_t c = 0; c < result.size(); ++c) {
        result[c] = static_cast<double>(share(c) / sum);
    }
}

LabelRule::LabelRule(const Engine::Classification::BinaryTargetCategorizable& model)
    : success(model.isBinary() ? model.getSuccessClassIndex() : -1),
      cutoff(model.getSuccessProbabilityCutoff()) {}

int LabelRule::label(std::span<const double> probabilities) const {
    if (success >= 0) {
        const bool reached = probabilities[static_cast<std::size_t>(success)] >= cutoff;
        return reached ? success : 1 - success;
    }
    const auto largest = std::max_element(probabilities.begin(), probabilities.end());
    return static_cast<int>(largest - probabilities.begin());
}

}  // namespace Veltrix::Engine::DT
