#include "engine/supervised/LinearModel/Weights.h"

#include <algorithm>
#include <cmath>

#include "Veltrix/Data/Exception.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::LinearModel {

std::string weightsProblem(std::uint64_t n, const Vector& weights) {
    if (weights.size() != n) {
        return std::to_string(n) + " records, " + std::to_string(weights.size()) + " weights";
    }
    for (std::uint64_t i = 0; i < n; ++i) {
        if (weights[i] >= 0.0 && std::isfinite(weights[i])) continue;
        return "weight of record " + std::to_string(i) + " is " + Support::numberText(weights[i]) +
               ", expected a finite number of at least 0";
    }
    const bool anyPositive =
        std::any_of(weights.begin(), weights.end(), [](double weight) { return weight > 0.0; });
    return n == 0 || anyPositive ? "" : "all weights are 0";
}

void checkWeights(std::uint64_t n, const Vector& weights) {
    const std::string problem = weightsProblem(n, weights);
    if (!problem.empty()) throw Exception("Linear regression: " + problem);
}

}  // namespace Veltrix::Engine::LinearModel
