#pragma once

#include <string>
#include <vector>

#include "Veltrix/Data/Matrix.h"

namespace Veltrix::Tool {

/// Distances between items, and the names of these.
struct NamedDistances {
    std::vector<std::string> names;
    Matrix distances;
};

/// Reads a square table of distances from a CSV file: a header with the names of the items and a
/// row for each, optionally with the names in a first column. Throws `UserError` that begins with
/// the option, and names row and column, unless the table is square and symmetric within rounding,
/// with a diagonal of zeros and finite numbers of at least 0.
NamedDistances readDistances(const std::string& option, const std::string& path);

}  // namespace Veltrix::Tool
