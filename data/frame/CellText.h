#pragma once

/// @file
/// Cells as numbers and text.

#include "Veltrix/Data/WString.h"

namespace Veltrix::CellText {

/// Whole text as a number; empty text is NaN. Throws the bad-cast error.
double toDouble(const WString& text);
/// A whole number that fits. Throws the bad-cast error.
int toInt(double value);
WString toString(double value);
WString toString(int value);

}  // namespace Veltrix::CellText
