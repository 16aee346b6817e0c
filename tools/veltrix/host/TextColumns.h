#pragma once

#include <string>
#include <vector>

#include "tools/veltrix/host/DataSelection.h"

namespace Veltrix::Tool {

/// The text columns that a task takes by their levels, for its summary.
struct TextColumns {
    std::string list = "none";  ///< names with their numbers of levels in the rows used
    std::vector<std::string> notes = {};
};

/// Looks at the columns selected as categories that are text in the file, as those are that have a
/// slip among their numbers.
TextColumns describeTextColumns(const DataFile& data, const RowSelection& selection,
                                const std::string& option);

/// A sentence for each of these columns that is text although at least half of its non-empty cells
/// are numbers: it names the first cell that is not.
std::vector<std::string> slipNotes(const DataFile& data, const std::vector<std::string>& names);

}  // namespace Veltrix::Tool
