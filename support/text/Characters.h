#pragma once

/// @file
/// Characters (Unicode code points) of text in 16-bit units (UTF-16) or 32-bit ones. `Unit` is
/// wchar_t, char16_t or char32_t.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace Veltrix::Support {

template <class Unit>
constexpr std::uint32_t valueOf(Unit unit) noexcept {
    using Value = std::conditional_t<sizeof(Unit) == 2, std::uint16_t, std::uint32_t>;
    return static_cast<Value>(unit);
}

constexpr bool isHighSurrogate(std::uint32_t value) noexcept { return (value >> 10U) == 0x36; }
constexpr bool isLowSurrogate(std::uint32_t value) noexcept { return (value >> 10U) == 0x37; }

/// Number of characters; a surrogate without its partner counts as one.
template <class Unit>
std::size_t numCharacters(std::basic_string_view<Unit> text) noexcept {
    std::size_t count = text.size();
    if constexpr (sizeof(Unit) == 2) {
        for (std::size_t i = 1; i < text.size(); ++i) {
            const bool pair =
                isHighSurrogate(valueOf(text[i - 1])) && isLowSurrogate(valueOf(text[i]));
            count -= pair ? 1 : 0;
        }
    }
    return count;
}

/// The lower-case forms of all characters of 16 bits, and of any one, by the simple mapping of
/// Unicode 14. It does not depend on a locale.
const std::array<char16_t, 65536>& lowerCaseTable();
char32_t lowerCaseBeyond16Bits(char32_t character) noexcept;

/// Lower case of the character whose last unit is `target[i]`, when the units up to there are
/// in place: what the table of 16-bit characters does not cover.
template <class Unit>
void lowerBeyond16Bits(Unit* target, std::size_t i) noexcept {
    const std::uint32_t value = valueOf(target[i]);
    if constexpr (sizeof(Unit) == 2) {
        if (i == 0 || !isLowSurrogate(value) || !isHighSurrogate(valueOf(target[i - 1]))) return;
        const std::uint32_t high = valueOf(target[i - 1]);
        const char32_t pair = 0x10000 + ((high & 0x3FFU) << 10U) + (value & 0x3FFU);
        // No mapping leaves the high surrogate's block.
        target[i] = static_cast<Unit>(0xDC00 | (lowerCaseBeyond16Bits(pair) & 0x3FFU));
    } else {
        target[i] = static_cast<Unit>(lowerCaseBeyond16Bits(value));
    }
}

/// Whether the table of 16-bit characters says all about a unit.
template <class Unit>
constexpr bool isIn16Bits(Unit unit) noexcept {
    return sizeof(Unit) == 2 ? !isLowSurrogate(valueOf(unit)) : valueOf(unit) < 0x10000;
}

}  // namespace Veltrix::Support
