#pragma once

#include <string>

#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// Aligned columns for reading, numbers rounded; tables wider than a terminal are split into
/// panels. Tables per record show the first records only, unless all are asked for.
std::string renderText(const Report& report, bool allRecords);

/// Columns that UTF-8 text takes on a terminal: none for combining marks, two for wide characters.
std::size_t displayWidth(std::string_view utf8);

}  // namespace Veltrix::Tool
