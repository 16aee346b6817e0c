#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Veltrix/Engine/AR.h"

namespace Veltrix::Tool {

/// Transactions of a table whose columns are items.
struct ItemColumns {
    Engine::AR::Data data;
    std::int64_t emptyCells = 0;
};

/// Reads a CSV file with a row for each transaction and a column for each item. A cell says that
/// the transaction holds the item by yes, y, true, t (in any case) or a whole number other than 0,
/// and that it does not by no, n, false, f or 0; an empty cell counts as no. `columns` name those
/// of items, all when there are none. Throws `UserError` with column, row and cell for any other.
ItemColumns readItemColumns(const std::string& path, const std::vector<std::string>& columns);

}  // namespace Veltrix::Tool
