#include "tools/veltrix/io/Encoding.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "support/Utf8.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/CsvSettings.h"
#include "tools/veltrix/io/TextLines.h"

namespace Veltrix::Tool {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kLittleEndianMark = "\xFF\xFE";
constexpr std::string_view kBigEndianMark = "\xFE\xFF";

/// What stands before a fault, counted in lines: "FILE: line 3: ".
std::string placeOf(const std::string& file, std::string_view before) {
    std::int64_t line = 1;
    TextLines lines(before);
    for (std::string_view next = lines.next(); !next.empty(); next = lines.next()) {
        line += next.ends_with('\n') || next.ends_with('\r') ? 1 : 0;
    }
    return fmt::format("{}: line {}: ", file, line);
}

void checkUtf8(const std::string& file, std::string_view text) {
    try {
        static_cast<void>(Support::fromUtf8(text));
    } catch (const Support::Utf8Error& error) {
        const std::string_view before = text.substr(0, error.offset);
        throw UserError(fmt::format("{}byte 0x{:02X}, expected UTF-8, or another --encoding",
                                    placeOf(file, before),
                                    static_cast<unsigned char>(text[error.offset])));
    }
}

std::string fromLatin1(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 8);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xC0 | byte >> 6U);
            text += static_cast<char>(0x80 | (byte & 0x3FU));
        }
    }
    return text;
}

std::string fromUtf16(const std::string& file, std::string_view bytes) {
    const bool bigEndian = bytes.starts_with(kBigEndianMark);
    if (bigEndian || bytes.starts_with(kLittleEndianMark)) bytes.remove_prefix(2);
    std::u16string units(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i) {
        const auto first = static_cast<unsigned char>(bytes[2 * i]);
        const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
        units[i] = static_cast<char16_t>(bigEndian ? first << 8U | second : second << 8U | first);
    }
    try {
        std::string text = Support::encodeUtf8<char16_t>(units);
        if (bytes.size() % 2 == 0) return text;
        throw UserError(placeOf(file, text) + "half a character at the end, expected UTF-16");
    } catch (const Support::Utf8Error& error) {
        const std::u16string_view before = std::u16string_view(units).substr(0, error.offset);
        throw UserError(placeOf(file, Support::encodeUtf8<char16_t>(before)) +
                        "half of a surrogate pair, expected UTF-16");
    }
}

bool isUtf16(std::string_view bytes) {
    return bytes.starts_with(kLittleEndianMark) || bytes.starts_with(kBigEndianMark);
}

}  // namespace

std::string readCells(const std::string& path) {
    std::string bytes = readText(path);
    const Encoding encoding = csvSettings().encoding;
    if (encoding == Encoding::Utf8 && !isUtf16(bytes)) return bytes;
    return toUtf8Text(oneLine(path), std::move(bytes), encoding);
}

std::string toUtf8Text(const std::string& file, std::string bytes, Encoding encoding) {
    const std::string_view all = bytes;
    if (encoding == Encoding::Utf16 || (encoding == Encoding::Utf8 && isUtf16(all))) {
        bytes = fromUtf16(file, bytes);
    } else if (encoding == Encoding::Latin1) {
        bytes = fromLatin1(bytes);
    } else {
        if (all.starts_with(kUtf8Mark)) bytes.erase(0, kUtf8Mark.size());
        checkUtf8(file, bytes);
    }
    const std::size_t nul = bytes.find('\0');
    if (nul == std::string::npos) return bytes;
    throw UserError(placeOf(file, std::string_view(bytes).substr(0, nul)) +
                    "NUL, which no text file holds" +
                    (encoding == Encoding::Utf16 ? "" : "; expected another --encoding"));
}

}  // namespace Veltrix::Tool
