#pragma once

#include "Veltrix/Export.h"

/// @file
/// Distribution functions behind the statistics, on the regularised incomplete beta and gamma
/// functions. Degrees of freedom are positive and need not be whole. NaN in gives NaN out, as do
/// arguments outside the stated ranges; nothing throws. Source of the forms: Abramowitz and Stegun
/// 1964, 26.5-26.7.

namespace Veltrix::Engine::Distributions {

/// P(T > x) for Student's t with `nu` degrees of freedom; for nu above 1e10 the normal
/// tail with its term in 1/nu.
VELTRIX_ENGINE_API double studentTUpperTail(double x, double nu);
/// The x with P(T ≤ x) = p, 0 ≤ p ≤ 1 (±infinity at the ends).
VELTRIX_ENGINE_API double studentTQuantile(double p, double nu);
/// P(F > f) for the F distribution with (d1, d2) degrees of freedom, f ≥ 0; 1 at f = 0, 0 at
/// infinity.
VELTRIX_ENGINE_API double fUpperTail(double f, double d1, double d2);
/// P(X > x) for the chi-square distribution, x ≥ 0.
VELTRIX_ENGINE_API double chiSquareUpperTail(double x, double nu);
/// P(Z > x) for the standard normal distribution.
VELTRIX_ENGINE_API double normalUpperTail(double x);
/// The x with P(Z ≤ x) = p, 0 ≤ p ≤ 1 (±infinity at the ends).
VELTRIX_ENGINE_API double normalQuantile(double p);

}  // namespace Veltrix::Engine::Distributions
