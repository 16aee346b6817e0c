#pragma once

#include <string>

#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// {"title", "tables": [{"title", "columns": [...], "rows": [[...]], "notes": [...]}]}; numbers
/// with 17 significant digits, "NaN" and "Infinity" as texts, empty cells as null.
std::string renderJson(const Report& report);

}  // namespace Veltrix::Tool
