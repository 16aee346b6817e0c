#pragma once

#include <string>
#include <vector>

#include "Veltrix/Data/DataFrame.h"

namespace Veltrix::Tool {

struct CsvOptions {
    char delimiter = ',';
    /// Cells with one of these texts are missing.
    std::vector<std::string> missing = {"", "NA"};
    /// Columns that are text even when every cell is a number, so that "01" stays as it is.
    std::vector<std::string> textColumns = {};
    /// All of them.
    bool allText = false;
};

/// Reads a CSV file (RFC 4180; UTF-8 with or without byte order mark; line ends LF, CR LF or CR;
/// blanks around unquoted cells are dropped) with a header row of distinct names. Lines without
/// anything are skipped, but below the header of a single column each is a missing value. A column
/// is numeric when every cell that is not missing is a number, independent of the locale; missing
/// cells are NaN there, and so is the text "nan". In text columns a missing cell is the empty text.
/// The frame is named after the file.
///
/// Throws `UserError` with file, row, line and column for an unreadable, empty or damaged file, one
/// with a record longer than `CsvSettings::maxRecord`, and for a delimiter that cannot be one. Data
/// rows and lines count from 1.
DataFrame readCsv(const std::string& path, const CsvOptions& options = {});

}  // namespace Veltrix::Tool
