#pragma once

#include <string>
#include <string_view>

namespace Veltrix::Tool {

/// Whether the bytes begin as a file packed by gzip does, which no text can.
bool isGzip(std::string_view bytes);

/// What was packed, all members of the file one after another. Throws `UserError`, which names the
/// file, for damaged or cut data.
std::string inflated(const std::string& file, std::string_view bytes);

}  // namespace Veltrix::Tool
