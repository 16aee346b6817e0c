#pragma once

#include <string>
#include <vector>

#include "tools/veltrix/host/DataSelection.h"

namespace Veltrix::Tool {

/// A column that an option gives a part in the task. No name means that the option was not given.
struct RoleColumn {
    std::string option;
    std::string name;
    std::string role;  ///< as in "is the target"
};

/// Throws `UserError` for a column that does not exist or has two of the roles.
void checkRoles(const DataFile& data, const std::vector<RoleColumn>& roles);

/// The predictors that the option's values name, or all columns without a role when there are no
/// values. Throws `UserError` when none is left, for a column that does not exist, is named twice
/// or has a role.
std::vector<std::string> choosePredictors(const DataFile& data, const std::string& option,
                                          const std::vector<std::string>& values,
                                          const std::vector<RoleColumn>& roles);

/// Throws `UserError` when no row is complete.
void checkRowsLeft(const RowSelection& selection);

}  // namespace Veltrix::Tool
