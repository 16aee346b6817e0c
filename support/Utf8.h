#pragma once

/// @file
/// Conversion between UTF-8 and wide text, for 16-bit (UTF-16) and 32-bit (UTF-32) characters.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Veltrix::Support {

/// Text that is not valid Unicode in its encoding.
struct Utf8Error : std::runtime_error {
    Utf8Error(const std::string& text, std::uint64_t where)
        : std::runtime_error(text), offset(where) {}

    /// Zero-based position in the input where the bad sequence starts: bytes of UTF-8, characters
    /// of wide text.
    std::uint64_t offset;
};

/// Wide text from UTF-8. Throws `Utf8Error` on stray, missing or superfluous bytes, overlong forms,
/// surrogates and values above U+10FFFF. `Wide` is wchar_t, char16_t or char32_t.
template <class Wide>
std::basic_string<Wide> decodeUtf8(std::string_view text);

/// UTF-8 from wide text. Throws `Utf8Error` on a surrogate without its partner and values above
/// U+10FFFF. `Wide` is wchar_t, char16_t or char32_t.
template <class Wide>
std::string encodeUtf8(std::basic_string_view<Wide> text);

inline std::wstring fromUtf8(std::string_view text) { return decodeUtf8<wchar_t>(text); }
inline std::string toUtf8(std::wstring_view text) { return encodeUtf8<wchar_t>(text); }

extern template std::wstring decodeUtf8<wchar_t>(std::string_view);
extern template std::u16string decodeUtf8<char16_t>(std::string_view);
extern template std::u32string decodeUtf8<char32_t>(std::string_view);
extern template std::string encodeUtf8<wchar_t>(std::wstring_view);
extern template std::string encodeUtf8<char16_t>(std::u16string_view);
extern template std::string encodeUtf8<char32_t>(std::u32string_view);

}  // namespace Veltrix::Support
