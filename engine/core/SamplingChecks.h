#pragma once

#include <string>
#include <string_view>

#include "engine/core/Checks.h"
#include "support/NumberText.h"

/// @file
/// Argument checks of the samplers. Each returns its argument or throws `Exception`.

namespace Veltrix::Engine::Sampling::Checks {

using namespace Veltrix::Engine::Checks;

inline int count(std::string_view operation, std::string_view what, int value) {
    atLeast(operation, what, value, 0);
    return value;
}

inline double share(std::string_view operation, std::string_view what, double value) {
    if (value >= 0.0 && value <= 1.0) return value;
    fail(ErrorCode::invalidArgument, operation,
         std::string(what) + " in [0, 1] expected, found " + Support::numberText(value));
}

inline double failureProbability(double value) {
    if (value > 0.0 && value <= 1.0) return value;
    fail(ErrorCode::invalidArgument, "Random sample",
         "failure probability in (0, 1] expected, found " + Support::numberText(value));
}

}  // namespace Veltrix::Engine::Sampling::Checks
