#pragma once

#include <vector>

#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/Roles.h"

namespace Veltrix::Engine {

/// prior/total for each class of the model, by which records count so that those of a class sum to
/// its prior; 0 for a class of total 0. Quotients that differ by rounding only, as those of priors
/// that are the classes' shares do, become one, so that equal numbers of records are equal votes.
std::vector<double> classWeights(const Classification::Priorable& model, const Vector& totals);

}  // namespace Veltrix::Engine
