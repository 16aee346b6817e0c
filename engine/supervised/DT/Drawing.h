#pragma once

#include "Veltrix/Data/WString.h"

namespace Veltrix::Engine::DT {

/// A number for the eye: twelve significant digits at most, which hides what midpoints and means
/// carry of rounding ("28.95" rather than "28.950000000000003").
WString roundedText(double number);

}  // namespace Veltrix::Engine::DT
