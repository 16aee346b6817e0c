#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// @file
/// Autoregressive and moving-average polynomials. Coefficient k − 1 belongs to lag k; an AR
/// polynomial is 1 − Σ φ_k Bᵏ, an MA polynomial 1 + Σ θ_k Bᵏ.

namespace Veltrix::Engine::TS::ARIMA {

/// The AR(k) coefficients from those of order k − 1 and the k-th partial autocorrelation, in place
/// (Durbin–Levinson); `ar` has k entries.
template <class Real>
void stepUp(std::span<Real> ar, Real partial) {
    const std::size_t k = ar.size();
    for (std::size_t i = 0, j = k - 1; i + 1 <= j; ++i) {
        --j;
        const Real low = ar[i];
        const Real high = ar[j];
        ar[i] = low - partial * high;
        if (i != j) ar[j] = high - partial * low;
    }
    ar[k - 1] = partial;
}

/// The other way: takes the last of the AR(k) coefficients, the k-th partial autocorrelation, out
/// of the others. False, with the coefficients unchanged, when it is not inside (−1, 1).
template <class Real>
bool stepDown(std::span<Real> ar) {
    const std::size_t k = ar.size();
    const Real partial = ar[k - 1];
    const Real rest = (1 - partial) * (1 + partial);
    if (!(rest > 0)) return false;
    for (std::size_t i = 0, j = k - 1; i + 1 <= j; ++i) {
        --j;
        const Real low = ar[i];
        const Real high = ar[j];
        ar[i] = (low + partial * high) / rest;
        if (i != j) ar[j] = (high + partial * low) / rest;
    }
    return true;
}

/// AR coefficients with the given partial autocorrelations, which are stationary when all of these
/// are inside (−1, 1).
void fromPartials(std::span<const double> partials, std::span<double> ar);

/// The partial autocorrelations of AR coefficients; false when the process is not stationary.
bool toPartials(std::span<const double> ar, std::span<double> partials);

/// The coefficients of the smallest step towards 0, φ_k cᵏ, with which the process is stationary
/// and its partial autocorrelations stay within ±`limit`.
std::vector<double> shrunk(std::vector<double> ar, double limit);

/// Weights ψ_0 = 1, ψ_1, … of the infinite moving average, `count` of them.
std::vector<double> psiWeights(std::span<const double> ar, std::span<const double> ma,
                               std::size_t count);

/// Into `result` the coefficients up to lag P·s + p of a polynomial with p coefficients and one in
/// Bˢ with P: at lag L the sum of c_L, C_k where L = k s, and `crossSign` c_{L−ks} C_k.
void expandSeasonal(std::span<const double> coefficients, std::span<const double> seasonal,
                    std::uint64_t period, double crossSign, std::vector<double>& result);

/// AR coefficients of (1 − Σ φ_k Bᵏ)(1 − B)^d (1 − Bˢ)^D.
std::vector<double> integrated(std::span<const double> ar, std::uint64_t d, std::uint64_t seasonalD,
                               std::uint64_t period);

}  // namespace Veltrix::Engine::TS::ARIMA
