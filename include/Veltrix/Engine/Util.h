#pragma once

#include <cstdint>

#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine::Util {

/// Name of a derived column: a + "_" + b, such as a variable and one of its categories.
VELTRIX_ENGINE_API WString generateColName(const WString& a, const WString& b);

/// Position of element (i, j) of a symmetric matrix kept as its packed lower triangle, row by row:
/// r(r + 1)/2 + c with r the larger and c the smaller of the two. Both must be at least 0.
VELTRIX_ENGINE_API std::int64_t index_lr(std::int64_t i, std::int64_t j);

}  // namespace Veltrix::Engine::Util
