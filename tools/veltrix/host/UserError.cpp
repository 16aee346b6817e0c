#include "tools/veltrix/host/UserError.h"

#include <cstddef>

#include <fmt/format.h>

namespace Veltrix::Tool {

void checkAtMost(std::string_view option, std::int64_t number, std::string_view what,
                 std::int64_t limit) {
    if (number <= limit) return;
    throw UserError(fmt::format("{}: {}, expected at most {}, {}", option, number, what, limit));
}

std::string oneLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            line += "\\n";
        } else if (byte < 0x20 || byte == 0x7F) {
            line += fmt::format("\\x{:02x}", byte);
        } else {
            line += c;
        }
    }
    return line;
}

std::string quoted(std::string_view text) {
    constexpr std::size_t kLongest = 80;
    if (text.size() <= kLongest) return fmt::format("\"{}\"", oneLine(text));
    std::size_t end = kLongest;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
    return fmt::format("\"{}...\"", oneLine(text.substr(0, end)));
}

std::string counted(std::int64_t count, const std::string& noun) {
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

}  // namespace Veltrix::Tool
