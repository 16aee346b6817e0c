#pragma once

#include <cstdint>
#include <string>

#include "Veltrix/Data/Vector.h"

namespace Veltrix::Engine::LinearModel {

/// What is wrong with the weights of n records: there must be n, finite and at least 0, not all of
/// them 0. Empty when nothing is.
std::string weightsProblem(std::uint64_t n, const Vector& weights);

/// Throws `Exception` that says what is wrong with the weights.
void checkWeights(std::uint64_t n, const Vector& weights);

}  // namespace Veltrix::Engine::LinearModel
