#pragma once

#include <span>
#include <vector>

#include "Veltrix/Engine/Roles.h"

namespace Veltrix::Engine {

/// Priors in the order of the class list; 0 for a class of total 0, whose prior need not be known.
/// Throws `std::out_of_range` for any other class without a prior.
std::vector<double> countedPriors(const Classification::Priorable& model,
                                  std::span<const double> totals);

/// prior/total for each class, by which records count so that those of a class sum to its prior; 0
/// for a class of total 0. When those above 0 differ by rounding only, as those of priors that are
/// the classes' shares do, they become one, so that equal numbers of records are equal votes.
std::vector<double> classWeights(std::span<const double> priors, std::span<const double> totals);

}  // namespace Veltrix::Engine
