#pragma once

#include <string>

namespace Veltrix::Tool {

/// Numbers rounded for reading. A rounded zero has no sign; NaN and the infinities are words.

/// 6 significant digits: plain between 1e-5 and 1e9 ("-0.0358192", "2.00000", "1234567"), without
/// decimals when whole ("2"), else scientific ("4.98403e-10").
std::string formatSingle(double number);

/// "0.950000" as "0.95"; a text without decimals or with an exponent as it is.
std::string withoutTrailingZeros(std::string number);

/// With that many decimals; negative decimals mean scientific with 6 significant digits.
std::string formatDecimals(double number, int decimals);

/// Decimals that show 6 significant digits of a number of this size; negative when that takes the
/// scientific form.
int decimalsFor(double largest);

/// A level as a heading shows it: "95%".
std::string percentText(double level);

/// A probability: 6 decimals, scientific below 1e-4, "<2.2e-16" below the rounding error of 1.
std::string formatProbability(double probability);

}  // namespace Veltrix::Tool
