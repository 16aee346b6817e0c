#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Veltrix::Tool {

/// The text without blanks at its ends.
std::string trimmed(std::string_view text);
/// The parts between commas, trimmed.
std::vector<std::string> splitAtCommas(std::string_view text);

}  // namespace Veltrix::Tool
