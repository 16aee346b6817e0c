#pragma once

#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/io/CsvDialect.h"
#include "tools/veltrix/report/ReportBuilder.h"

namespace Veltrix::Tool {

/// Declares how the CSV files that a command reads are written, for all of the program.
void declareInput(OptionGroup& options);

/// Declares which rows of a data file are used, for all of the program.
void declareRowChoice(OptionGroup& options);

/// Says what was recognised, unless cells are parted by commas and numbers have points.
void addDialect(Table& summary, const CsvDialect& dialect);

}  // namespace Veltrix::Tool
