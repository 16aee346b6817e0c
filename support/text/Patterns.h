#pragma once

/// @file
/// The patterns of text preprocessing, searched by scanners: in time linear in the text whatever
/// it is, without recursion. Each finds what the ECMAScript pattern named finds, the leftmost
/// match by its order of alternatives, where word characters are ASCII letters, digits and "_" and
/// "." is anything but \n, \r, U+2028 and U+2029.

#include <cstddef>
#include <string>
#include <string_view>

namespace Veltrix::Support {

/// Where a match stands: [start, end).
struct TextMatch {
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    std::size_t start = kNone;
    std::size_t end = kNone;

    bool found() const noexcept { return start != kNone; }
    friend bool operator==(const TextMatch&, const TextMatch&) = default;
};

/// The first match that starts at `from` or behind; what stands before counts for word boundaries.
using FindPattern = TextMatch (*)(std::wstring_view text, std::size_t from);

/// <[^<>]+>
TextMatch findTag(std::wstring_view text, std::size_t from);
/// \b[a-z0-9._%+-]+@[a-z0-9.-]+.[a-z]{2,4}\b
TextMatch findEmail(std::wstring_view text, std::size_t from);
/// \b[$]+number\b
TextMatch findMoney(std::wstring_view text, std::size_t from);
/// \b[+-]?(?=[.]?[0-9])[0-9]*(?:[.][0-9]*)?(?:[Ee][+-]?[0-9]+)?\b
/// A match may be empty, before digits that run into a letter.
TextMatch findNumber(std::wstring_view text, std::size_t from);
/// \b(http|https|ftp|telnet|file)://+.*\b
TextMatch findUrl(std::wstring_view text, std::size_t from);

/// Writes the text with every match replaced to `out`, and returns whether there is one; `out` is
/// left alone otherwise. The replacement is taken literally. After an empty match the search goes
/// on one character further.
bool replaceMatches(std::wstring_view text, FindPattern find, std::wstring_view replacement,
                    std::wstring& out);

}  // namespace Veltrix::Support
