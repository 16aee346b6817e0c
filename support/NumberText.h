#pragma once

/// @file
/// Doubles to text and back, exact in both directions and independent of any locale.

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Veltrix::Support {

/// Enough room for the text of any double.
inline constexpr std::size_t kNumberTextSize = 32;

/// Shortest text that reads back to the same double: "1", "0.1", "-0", "123456.75", "1e-07",
/// "1e+15", "nan", "inf", "-inf".
///
/// Plain form for 0 and 1e-4 <= |x| < 1e15, else scientific with an exponent of at least two
/// digits.
std::string numberText(double value);
std::wstring wideNumberText(double value);

/// `numberText` without allocation: the text is a part of the buffer.
std::string_view writeNumber(double value, std::span<char, kNumberTextSize> buffer);

/// The double that a whole cell holds, or nothing when the cell is not a number.
///
/// Allowed are leading and trailing blanks and tabs, one sign, digits with an optional decimal
/// point, an optional exponent; or "nan", "inf", "infinity" in any case. Empty cells, digit groups,
/// hexadecimal forms and numbers beyond the largest double ("1e400") are no numbers; those below
/// the smallest are read as the nearest double (0 or a denormal).
std::optional<double> parseNumber(std::string_view cell);
std::optional<double> parseNumber(std::wstring_view cell);

}  // namespace Veltrix::Support
