#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <type_traits>

/// @file
/// What ASCII characters are to the scanners of text. All others are of no class.

namespace Veltrix::Support {

enum CharacterClass : std::uint16_t {
    kDelimiter = 1,    ///< between tokens
    kDigit = 2,        ///< 0-9
    kWord = 4,         ///< 0-9 A-Z a-z _
    kSmallLetter = 8,  ///< a-z
    kMailLocal = 16,   ///< a-z 0-9 . _ % + -
    kMailDomain = 32,  ///< a-z 0-9 . -
    kAngle = 64,       ///< < >
    kAt = 128,         ///< @
    kDollar = 256,     ///< $
    kColon = 512,      ///< :
    kLineEnd = 1024,   ///< \n \r
};

namespace Detail {

constexpr std::array<std::uint16_t, 128> makeClasses() {
    std::array<std::uint16_t, 128> table{};
    const auto mark = [&table](std::string_view characters, unsigned classes) {
        for (const char c : characters) {
            auto& entry = table[static_cast<unsigned char>(c)];
            entry = static_cast<std::uint16_t>(entry | classes);
        }
    };
    mark("\",? .'`~|\r\n\t:/!@#$%^&*()[]{}<>_;=-+\\", kDelimiter);
    mark("0123456789", kDigit | kWord | kMailLocal | kMailDomain);
    mark("abcdefghijklmnopqrstuvwxyz", kSmallLetter | kWord | kMailLocal | kMailDomain);
    mark("ABCDEFGHIJKLMNOPQRSTUVWXYZ", kWord);
    mark("_", kWord | kMailLocal);
    mark(".-", kMailLocal | kMailDomain);
    mark("%+", kMailLocal);
    mark("<>", kAngle);
    mark("@", kAt);
    mark("$", kDollar);
    mark(":", kColon);
    mark("\n\r", kLineEnd);
    return table;
}

inline constexpr std::array<std::uint16_t, 128> kClasses = makeClasses();

}  // namespace Detail

constexpr unsigned classesOf(wchar_t unit) noexcept {
    const auto value = static_cast<std::make_unsigned_t<wchar_t>>(unit);
    return value < 128 ? Detail::kClasses[value] : 0U;
}

constexpr bool isOf(wchar_t unit, unsigned classes) noexcept {
    return (classesOf(unit) & classes) != 0;
}

/// What occurs in a text.
constexpr unsigned classesIn(std::wstring_view text) noexcept {
    unsigned classes = 0;
    for (const wchar_t unit : text) classes |= classesOf(unit);
    return classes;
}

}  // namespace Veltrix::Support
