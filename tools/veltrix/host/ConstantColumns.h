#pragma once

#include <string>

#include "tools/veltrix/host/Prepared.h"

namespace Veltrix::Tool {

/// `column "x" is constant in every class` for the first column of the training rows of which that
/// is true, or, where `inOneClass`, `column "x" is constant in class "a"`. Empty when there is
/// none.
std::string constantWithinClasses(const Prepared& data, bool inOneClass);

}  // namespace Veltrix::Tool
