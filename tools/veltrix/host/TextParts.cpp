#include "tools/veltrix/host/TextParts.h"

#include <algorithm>
#include <cstddef>

namespace Veltrix::Tool {

std::string trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(' ') + 1 - first));
}

std::vector<std::string> splitAtCommas(std::string_view text) {
    std::vector<std::string> parts;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t comma = std::min(text.find(',', start), text.size());
        parts.push_back(trimmed(text.substr(start, comma - start)));
        start = comma + 1;
    }
    return parts;
}

}  // namespace Veltrix::Tool
