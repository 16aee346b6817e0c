#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

/// @file
/// Estimates of ARMA coefficients without a search.

namespace Veltrix::Engine::TS::ARIMA {

/// The last row of the innovations algorithm.
struct Innovations {
    std::vector<double> coefficients;  ///< θ_{m,1} … θ_{m,m}
    double variance = 0.0;             ///< v_m
};

/// Innovations algorithm on the autocovariances of the lags 0 to m (Brockwell and Davis 1991, prop.
/// 5.2.2). Coefficients are 0 where the variance vanishes. O(m³).
Innovations innovations(std::span<const double> acvf);

/// ARMA(p, q) coefficients, AR before MA, whose first p + q weights ψ are the given ones (ψ_1
/// first; Brockwell and Davis 1991, 8.4); nothing when no AR part has them.
std::optional<std::vector<double>> fromPsi(std::span<const double> psi, std::size_t p,
                                           std::size_t q);

/// ARMA(p, q) coefficients, AR before MA, by regression of the series on its own p last values and
/// on q residuals of a long autoregression (Hannan and Rissanen 1982); the residuals belong to the
/// last values of the series. Nothing when the regressors are linearly dependent.
std::optional<std::vector<double>> regressOnResiduals(std::span<const double> series,
                                                      std::span<const double> residuals,
                                                      std::size_t p, std::size_t q);

}  // namespace Veltrix::Engine::TS::ARIMA
