#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Veltrix/Engine/AR.h"

namespace Veltrix::Tool {

/// Transactions of a text file, and what is worth telling of them.
struct ReadTransactions {
    Engine::AR::Data data;
    std::int64_t repeated = 0;  ///< names that stand a second time in their line
};

/// Reads a text file (UTF-8 with or without byte order mark; line ends LF, CR LF or CR) of one
/// transaction a line: names of items with the separator between them. Blanks around names and
/// empty names are dropped, so that a line without names is a transaction without items; a name
/// that holds the separator stands in quotation marks, which are doubled inside. Items are numbered
/// in ascending order of their names (by bytes of UTF-8).
///
/// Throws `UserError` with file and line for an unreadable or damaged file and one without lines.
ReadTransactions readTransactions(const std::string& path, char separator);

}  // namespace Veltrix::Tool
