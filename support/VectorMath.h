#pragma once

/// @file
/// Elementary functions over arrays of doubles.
///
/// Every function takes n values and writes n results. The result may be written over an argument
/// that starts at the same place; arrays that overlap otherwise are not allowed. An element's
/// result depends on its value only, never on its position, the length or the alignment. Errors
/// are below 1 unit in the last place for ln and exp, below 1.5 for tanh; sqrt and add round
/// exactly.

#include <cstdint>

namespace Veltrix::Support {

/// Natural logarithm; ln(±0) = -inf, ln(x < 0) = NaN, ln(inf) = inf, NaN stays NaN.
void ln(const double* x, double* result, std::int64_t n);

/// Exponential; exp(-inf) = 0, gradual underflow, overflow gives inf, NaN stays NaN.
void exp(const double* x, double* result, std::int64_t n);

/// Hyperbolic tangent; tanh(±inf) = ±1, NaN stays NaN.
void tanh(const double* x, double* result, std::int64_t n);

/// 1/(1 + exp(-x)) without overflow, to 2.5 units in the last place; 0 and 1 at -inf and inf, NaN
/// stays NaN.
void sigmoid(const double* x, double* result, std::int64_t n);

/// Square root; sqrt(-0) = -0, sqrt(x < 0) = NaN, NaN stays NaN.
void sqrt(const double* x, double* result, std::int64_t n);

/// x + y element by element.
void add(const double* x, const double* y, double* result, std::int64_t n);

}  // namespace Veltrix::Support
