#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// Writes a workbook to a file: one sheet per table (title, headings, rows, notes) and a sheet with
/// the charts. Cells hold unrounded numbers, with the 16 significant digits that the workbook
/// library writes. Rows beyond what a sheet holds are left out, which the title of the sheet says;
/// texts of more than 32 767 characters are cut, which a note says. Throws `Support::FileError`,
/// and `std::bad_alloc` with the file as it may be.
void writeWorkbook(const Report& report, const std::string& path);

/// The colour (red, green, blue: 0xRRGGBB) of a chart's series by number; no two are alike, and
/// neighbours are easily told apart.
std::uint32_t seriesColor(std::size_t index);

/// Names of the sheets of tables with these titles: at most 31 characters, without characters that
/// a sheet name must not have, no two alike.
std::vector<std::string> sheetNames(const std::vector<Table>& tables);

}  // namespace Veltrix::Tool
