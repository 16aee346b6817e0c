#include "engine/core/ClassWeights.h"

#include <algorithm>
#include <limits>

namespace Veltrix::Engine {

std::vector<double> classWeights(const Classification::Priorable& model, const Vector& totals) {
    const StringVector& classes = model.getClasses();
    std::vector<double> weights(classes.size(), 0.0);
    double least = std::numeric_limits<double>::infinity();
    double largest = 0.0;
    for (std::uint64_t c = 0; c < classes.size(); ++c) {
        if (totals[c] == 0.0) continue;
        weights[c] = model.getPrior(classes[c]) / totals[c];
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
