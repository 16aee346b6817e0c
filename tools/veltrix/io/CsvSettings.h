#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/veltrix/io/CsvDialect.h"
#include "tools/veltrix/io/Encoding.h"

namespace Veltrix::Tool {

/// What the command line says on CSV files wherever the program reads or writes them.
struct CsvSettings {
    Encoding encoding = Encoding::Utf8;
    CsvDialectHints dialect = {};
    /// Texts of cells without a value.
    std::vector<std::string> missing = {"", "NA"};
    /// Columns that are as if they were not there: names, or several between commas.
    std::vector<std::string> excluded = {};
    /// Bytes that the header or a row may have, lest a file without line ends take all memory.
    std::int64_t maxRecord = std::int64_t{64} << 20U;
    /// Texts that a spreadsheet would take for formulas are written with an apostrophe in front.
    bool safeCells = false;
};

/// The settings of the whole program, made once before its work begins.
inline CsvSettings& csvSettings() {
    static CsvSettings settings;
    return settings;
}

}  // namespace Veltrix::Tool
