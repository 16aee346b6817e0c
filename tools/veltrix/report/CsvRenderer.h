#pragma once

#include <string>
#include <string_view>

#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// The tables one after another, each as a line with its title, a line of headings, its rows, a
/// line per note, and an empty line. Numbers read back to the same double.
std::string renderCsv(const Report& report);

/// Appends a text to a line, in quotation marks when it would not be read back the same without.
/// With `CsvSettings::safeCells` an apostrophe goes before a text that begins with = + - @, a tab
/// or a carriage return and is no number.
void appendCsvText(std::string& text, std::string_view cell);

}  // namespace Veltrix::Tool
