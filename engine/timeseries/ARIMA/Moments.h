#pragma once

#include <cstddef>
#include <span>
#include <vector>

/// @file
/// First and second moments of a series.

namespace Veltrix::Engine::TS::ARIMA {

/// Mean; 0 for an empty series.
double meanOf(std::span<const double> series);

/// Variance with divisor n; 0 for less than two values.
double varianceOf(std::span<const double> series);

/// Σ_t x_t x_{t+h} for the lags h in [from, to), to <= n.
std::vector<double> laggedProducts(std::span<const double> series, std::size_t from,
                                   std::size_t to);

/// Partial autocorrelations for all lags of the given autocovariances, which start at lag 0:
/// Durbin–Levinson recursion. Lag 0 gives 1; all are 0 when acvf[0] vanishes.
std::vector<double> partialAutocorrelations(const std::vector<double>& acvf);

}  // namespace Veltrix::Engine::TS::ARIMA
