#pragma once

#include <string>

#include "Veltrix/Data/Exception.h"
#include "support/NumberText.h"

/// @file
/// Argument checks of the samplers. Each returns its argument or throws `Exception`.

namespace Veltrix::Engine::Sampling::Checks {

inline int count(const char* operation, const char* argument, int value) {
    if (value >= 0) return value;
    throw Exception(std::string(operation) + ": " + argument + " of at least 0 expected, found " +
                    std::to_string(value));
}

inline double share(const char* operation, const char* argument, double value) {
    if (value >= 0.0 && value <= 1.0) return value;
    throw Exception(std::string(operation) + ": " + argument + " in [0, 1] expected, found " +
                    Support::numberText(value));
}

inline double failureProbability(double value) {
    if (value > 0.0 && value <= 1.0) return value;
    throw Exception("Random sample: failure probability in (0, 1] expected, found " +
                    Support::numberText(value));
}

}  // namespace Veltrix::Engine::Sampling::Checks
