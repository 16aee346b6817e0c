#pragma once

#include <string>

#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// Writes a workbook to a file: one sheet per table (title, headings, rows, notes) and a sheet with
/// the charts. Cells hold unrounded numbers, with the 16 significant digits that the workbook
/// library writes. Rows beyond what a sheet holds are left out, which the title of the sheet says.
/// Throws `Support::FileError`.
void writeWorkbook(const Report& report, const std::string& path);

/// Names of the sheets of tables with these titles: at most 31 characters, without characters that
/// a sheet name must not have, no two alike.
std::vector<std::string> sheetNames(const std::vector<Table>& tables);

}  // namespace Veltrix::Tool
