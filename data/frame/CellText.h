#pragma once

/// @file
/// Cells as numbers and text.

#include <optional>
#include <string>

#include "Veltrix/Data/WString.h"

namespace Veltrix::CellText {

/// Whole text as a number, nothing when it is none; empty text is NaN.
std::optional<double> toDouble(const WString& text);
/// A whole number that fits, nothing when the value is none.
std::optional<int> toInt(double value);
/// Throws the bad-cast error: `WHERE"abc" is not a number` with `expected` = "a number". Long texts
/// are cut.
[[noreturn]] void fail(const std::string& where, const WString& text, const char* expected);
WString toString(double value);
WString toString(int value);

}  // namespace Veltrix::CellText
