#pragma once

/// @file
/// Tables of a reply: descriptions of columns, and rows of cells.

#include <string>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "support/Json.h"

namespace BigData {

struct ColumnDescription {
    std::string name;
    std::string type;  ///< as Spark calls it ("double", "string"); empty when it is not told
};

/// Descriptions from an array. An entry is the name of a column, or an array with its name and
/// type; `known` tells the types of names that stand alone.
std::vector<ColumnDescription> readDescriptions(const Veltrix::Support::JsonView& entries,
                                                const std::vector<ColumnDescription>& known = {});

/// Text columns "Column" and "Type".
Veltrix::DataFrame descriptionTable(const std::vector<ColumnDescription>& columns,
                                    const Veltrix::WString& name);

/// The rows, an array of arrays of one length. Rows of one cell more than there are descriptions
/// begin with the row identifier where `hasRowIDs`. Throws `JsonError` for rows of other lengths
/// and for cells that are no numbers in columns described as such.
Veltrix::DataFrame readRows(const Veltrix::Support::JsonView& rows,
                            std::vector<ColumnDescription> columns, bool hasRowIDs,
                            const Veltrix::WString& name);

}  // namespace BigData
