#include "tools/veltrix/host/StoredFields.h"

#include <algorithm>

#include <fmt/format.h>

#include "Veltrix/Data/Exception.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

void readPart(JSON::StringImportable& object, const Support::JsonView& part) {
    try {
        object.fromJsonString(WString::fromUtf8(part.toJson()));
    } catch (const Exception& error) {
        part.fail(error.what());
    }
}

std::size_t readChoice(const Support::JsonView& value, const std::vector<std::string>& names) {
    const auto found = std::ranges::find(names, value.asString());
    if (found != names.end()) return static_cast<std::size_t>(found - names.begin());
    std::string list;
    for (const std::string& name : names) list += (list.empty() ? "" : ", ") + Tool::quoted(name);
    value.fail(fmt::format("{}, expected {}{}", Tool::quoted(value.asString()),
                           names.size() > 1 ? "one of " : "", list));
}

}  // namespace Veltrix::Tool
