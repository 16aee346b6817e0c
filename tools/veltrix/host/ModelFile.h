#pragma once

#include <memory>
#include <string>

#include "tools/veltrix/host/StoredModel.h"

namespace Veltrix::Tool {

/// JSON text: type, version, family, target, and what the family adds.
std::string writeModel(const StoredModel& stored);

/// Reads a file written from `writeModel`, of any family. Throws `UserError` that names the
/// offending key when it is damaged, of another version, or something else.
std::unique_ptr<StoredModel> readModel(const std::string& path);

}  // namespace Veltrix::Tool
