#include "support/Utf8.h"

#include <cstddef>
#include <type_traits>

namespace Veltrix::Support {

namespace {

constexpr std::uint32_t kLastCodePoint = 0x10FFFF;

constexpr bool isSurrogate(std::uint32_t value) { return value >= 0xD800 && value <= 0xDFFF; }
constexpr bool isHighSurrogate(std::uint32_t value) { return value >= 0xD800 && value <= 0xDBFF; }
constexpr bool isLowSurrogate(std::uint32_t value) { return value >= 0xDC00 && value <= 0xDFFF; }

[[noreturn]] void failUtf8(std::size_t offset) {
    throw Utf8Error("Invalid UTF-8 at byte " + std::to_string(offset), offset);
}

[[noreturn]] void failWide(std::size_t offset) {
    throw Utf8Error("Invalid Unicode text at character " + std::to_string(offset), offset);
}

std::uint32_t byteAt(std::string_view text, std::size_t i) {
    return static_cast<unsigned char>(text[i]);
}

/// Length of a sequence by its first byte; 0 for a byte that starts none.
std::size_t sequenceLength(std::uint32_t first) {
    if (first < 0x80) return 1;
    if (first < 0xC2) return 0;  // continuation bytes, and overlong forms of ASCII
    if (first < 0xE0) return 2;
    if (first < 0xF0) return 3;
    return first < 0xF5 ? 4 : 0;
}

/// Decodes the sequence at `i` and moves `i` behind it.
std::uint32_t decodeAt(std::string_view text, std::size_t& i) {
    static constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const std::uint32_t first = byteAt(text, i);
    const std::size_t length = sequenceLength(first);
    if (length == 0 || length > text.size() - i) failUtf8(i);
    std::uint32_t value = length == 1 ? first : first & (0xFFu >> (length + 1));
    for (std::size_t k = 1; k < length; ++k) {
        const std::uint32_t next = byteAt(text, i + k);
        if ((next & 0xC0) != 0x80) failUtf8(i);
        value = value << 6 | (next & 0x3F);
    }
    if (value < kSmallest[length] || value > kLastCodePoint || isSurrogate(value)) failUtf8(i);
    i += length;
    return value;
}

/// Code point at `i` of wide text; moves `i` behind it.
template <class Wide>
std::uint32_t wideAt(std::basic_string_view<Wide> text, std::size_t& i) {
    using Unit = std::conditional_t<sizeof(Wide) == 2, std::uint16_t, std::uint32_t>;
    const auto unit = std::uint32_t{static_cast<Unit>(text[i])};
    if (sizeof(Wide) == 2 && isHighSurrogate(unit) && i + 1 < text.size()) {
        const auto low = std::uint32_t{static_cast<Unit>(text[i + 1])};
        if (isLowSurrogate(low)) {
            i += 2;
            return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
        }
    }
    if (isSurrogate(unit) || unit > kLastCodePoint) failWide(i);
    ++i;
    return unit;
}

template <class Wide>
void appendWide(std::basic_string<Wide>& result, std::uint32_t value) {
    if (sizeof(Wide) == 2 && value > 0xFFFF) {
        result.push_back(static_cast<Wide>(0xD800 + ((value - 0x10000) >> 10)));
        result.push_back(static_cast<Wide>(0xDC00 + ((value - 0x10000) & 0x3FF)));
    } else {
        result.push_back(static_cast<Wide>(value));
    }
}

void appendUtf8(std::string& result, std::uint32_t value) {
    const auto push = [&result](std::uint32_t byte) { result.push_back(static_cast<char>(byte)); };
    if (value < 0x80) {
        push(value);
        return;
    }
    if (value < 0x800) {
        push(0xC0 | value >> 6);
    } else {
        if (value < 0x10000) {
            push(0xE0 | value >> 12);
        } else {
            push(0xF0 | value >> 18);
            push(0x80 | (value >> 12 & 0x3F));
        }
        push(0x80 | (value >> 6 & 0x3F));
    }
    push(0x80 | (value & 0x3F));
}

}  // namespace

template <class Wide>
std::basic_string<Wide> decodeUtf8(std::string_view text) {
    std::basic_string<Wide> result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t start = i;
        while (i < text.size() && byteAt(text, i) < 0x80) ++i;
        result.append(text.begin() + static_cast<std::ptrdiff_t>(start),
                      text.begin() + static_cast<std::ptrdiff_t>(i));
        if (i < text.size()) appendWide(result, decodeAt(text, i));
    }
    return result;
}

template <class Wide>
std::string encodeUtf8(std::basic_string_view<Wide> text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) appendUtf8(result, wideAt(text, i));
    return result;
}

template std::wstring decodeUtf8<wchar_t>(std::string_view);
template std::u16string decodeUtf8<char16_t>(std::string_view);
template std::u32string decodeUtf8<char32_t>(std::string_view);
template std::string encodeUtf8<wchar_t>(std::wstring_view);
template std::string encodeUtf8<char16_t>(std::u16string_view);
template std::string encodeUtf8<char32_t>(std::u32string_view);

}  // namespace Veltrix::Support
