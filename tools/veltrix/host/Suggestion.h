#pragma once

#include <string>
#include <vector>

namespace Veltrix::Tool {

/// What to say about a name that does not exist: "did you mean ..." with the nearest one, or the
/// first ones that there are: `kind` (as "the columns are") and a list.
std::string suggestion(const std::string& name, const std::vector<std::string>& names,
                       const std::string& kind);

}  // namespace Veltrix::Tool
