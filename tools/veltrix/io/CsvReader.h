#pragma once

#include <string>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "tools/veltrix/io/CsvDialect.h"
#include "tools/veltrix/io/CsvSettings.h"

namespace Veltrix::Tool {

struct CsvOptions {
    /// What the user says of the dialect; the rest is recognised.
    CsvDialectHints dialect = csvSettings().dialect;
    /// Cells with one of these texts are missing.
    std::vector<std::string> missing = csvSettings().missing;
    /// Columns that are passed over: names, or several between commas.
    std::vector<std::string> excluded = csvSettings().excluded;
    /// Columns that are text even when every cell is a number, so that "01" stays as it is.
    std::vector<std::string> textColumns = {};
    /// All of them.
    bool allText = false;
};

struct CsvTable {
    DataFrame frame;
    CsvDialect dialect;
};

/// Reads a CSV file (RFC 4180; in the encoding that the command line says; line ends LF, CR LF or
/// CR; blanks around unquoted cells are dropped) with a header row of distinct names. Lines without
/// anything are skipped, but below the header of a single column each is a missing value. A column
/// is numeric when every cell that is not missing is a number, independent of the locale; missing
/// cells are NaN there, and so is the text "nan". In text columns a missing cell is the empty text.
/// The k-th column is called "column<k>" where the header has no name for it; an empty cell more at
/// the end of a record, as a trailing comma makes it, is no cell, and a last column without name
/// and values no column. The frame is named after the file.
///
/// Throws `UserError` with file, row, line and column for an unreadable, empty or damaged file, one
/// without a column to be passed over or with no other, and
/// one with a record longer than `CsvSettings::maxRecord`. Data rows and lines count from 1.
CsvTable readCsv(const std::string& path, const CsvOptions& options = {});

}  // namespace Veltrix::Tool
