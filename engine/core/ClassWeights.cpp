#include "engine/core/ClassWeights.h"

#include <algorithm>
#include <limits>

namespace Veltrix::Engine {

std::vector<double> countedPriors(const Classification::Priorable& model,
                                  std::span<const double> totals) {
    const StringVector& classes = model.getClasses();
    std::vector<double> priors(totals.size(), 0.0);
    for (std::size_t c = 0; c < priors.size(); ++c) {
        if (totals[c] != 0.0) priors[c] = model.getPrior(classes[c]);
    }
    return priors;
}

std::vector<double> classWeights(std::span<const double> priors, std::span<const double> totals) {
    std::vector<double> weights(totals.size(), 0.0);
    double least = std::numeric_limits<double>::infinity();
    double largest = 0.0;
    for (std::size_t c = 0; c < weights.size(); ++c) {
        if (totals[c] == 0.0 || priors[c] == 0.0) continue;
        weights[c] = priors[c] / totals[c];
        least = std::min(least, weights[c]);
        largest = std::max(largest, weights[c]);
    }
    // A prior and its quotient are rounded once each.
    constexpr double kRounding = 4.0 * std::numeric_limits<double>::epsilon();
    if (largest - least <= kRounding * largest) {
        for (double& weight : weights) {
            if (weight != 0.0) weight = largest;
        }
    }
    return weights;
}

}  // namespace Veltrix::Engine
