#include "tools/veltrix/host/ColumnRoles.h"

#include <algorithm>

#include <fmt/format.h>

#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

const RoleColumn* roleOf(const std::string& name, const std::vector<RoleColumn>& roles) {
    const auto found = std::ranges::find(roles, name, &RoleColumn::name);
    return found == roles.end() ? nullptr : &*found;
}

std::vector<std::string> columnsWithoutRole(const DataFile& data, const std::string& option,
                                            const std::vector<RoleColumn>& roles) {
    std::vector<std::string> names = data.columnNames();
    std::erase_if(names, [&](const std::string& name) { return roleOf(name, roles) != nullptr; });
    if (!names.empty()) return names;
    throw UserError(fmt::format("{}: {} has no column beside the target, expected at least one",
                                option, Tool::quoted(data.path())));
}

}  // namespace

void checkRoles(const DataFile& data, const std::vector<RoleColumn>& roles) {
    for (std::size_t k = 0; k < roles.size(); ++k) {
        const RoleColumn& column = roles[k];
        if (column.name.empty()) continue;
        data.columnIndex(column.option, column.name);
        const RoleColumn* const first = roleOf(column.name, roles);
        if (first == &column) continue;
        throw UserError(fmt::format("{}: column {} {}, expected another one", column.option,
                                    Tool::quoted(column.name), first->role));
    }
}

std::vector<std::string> choosePredictors(const DataFile& data, const std::string& option,
                                          const std::vector<std::string>& values,
                                          const std::vector<RoleColumn>& roles) {
    if (values.empty()) return columnsWithoutRole(data, option, roles);
    std::vector<std::string> names = splitNames(data, values);
    for (auto name = names.begin(); name != names.end(); ++name) {
        data.columnIndex(option, *name);
        const RoleColumn* const role = roleOf(*name, roles);
        const bool twice = std::find(names.begin(), name, *name) != name;
        if (role == nullptr && !twice) continue;
        throw UserError(fmt::format("{}: column {} {}, expected each column once", option,
                                    Tool::quoted(*name), twice ? "is named twice" : role->role));
    }
    return names;
}

void checkRowsLeft(const RowSelection& selection) {
    if (selection.rowsUsed() > 0) return;
    throw UserError(fmt::format(
        "--data: no row is left, expected at least one without missing values in the columns used "
        "({} read)",
        counted(selection.rowsRead, "row")));
}

}  // namespace Veltrix::Tool
