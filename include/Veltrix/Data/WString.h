#pragma once

#include <cassert>
#include <concepts>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "Veltrix/Export.h"

namespace Veltrix {

/// A wide-character string with value semantics: names, labels and text cells. A unit is a
/// `wchar_t` (UTF-16 or UTF-32, as the platform has it). Ordered unit by unit, so the order does
/// not depend on a locale; hashable, so it can key ordered and unordered maps.
class VELTRIX_DATA_API WString {
  public:
    WString() = default;
    /// Throws `Exception` for a null pointer.
    WString(const wchar_t* text);  // NOLINT(google-explicit-constructor)
    WString(std::nullptr_t) = delete;
    WString(std::wstring text) : text_(std::move(text)) {}  // NOLINT(google-explicit-constructor)
    explicit WString(std::wstring_view text) : text_(text) {}

    /// Text from UTF-8. Throws `Exception`, naming the byte offset, when it is not valid UTF-8.
    [[nodiscard]] static WString fromUtf8(std::string_view utf8);
    /// The text in UTF-8. A lone surrogate becomes U+FFFD.
    [[nodiscard]] std::string toUtf8() const;

    const wchar_t* data() const noexcept { return text_.c_str(); }
    [[nodiscard]] std::size_t size() const noexcept { return text_.size(); }
    [[nodiscard]] bool empty() const noexcept { return text_.empty(); }
    /// The unit at an index of any integral type up to `size()`, where it is 0.
    template <std::integral Index>
    wchar_t operator[](Index index) const {
        assert(static_cast<std::size_t>(index) <= size());
        return text_[static_cast<std::size_t>(index)];
    }
    [[nodiscard]] std::wstring_view view() const noexcept { return text_; }
    [[nodiscard]] const std::wstring& str() const noexcept { return text_; }

    WString& operator+=(const WString& other) {
        text_ += other.text_;
        return *this;
    }
    friend WString operator+(const WString& a, const WString& b) { return {a.text_ + b.text_}; }
    friend WString operator+(const WString& a, const wchar_t* b) { return {a.text_ + b}; }
    friend WString operator+(const wchar_t* a, const WString& b) { return {a + b.text_}; }

    friend bool operator==(const WString& a, const WString& b) { return a.text_ == b.text_; }
    friend bool operator==(const WString& a, const wchar_t* b) { return a.text_ == b; }
    friend bool operator<(const WString& a, const WString& b) { return a.text_ < b.text_; }
    friend bool operator>(const WString& a, const WString& b) { return b < a; }
    friend bool operator<=(const WString& a, const WString& b) { return !(b < a); }
    friend bool operator>=(const WString& a, const WString& b) { return !(a < b); }

  private:
    std::wstring text_;
};

}  // namespace Veltrix

template <>
struct std::hash<Veltrix::WString> {
    std::size_t operator()(const Veltrix::WString& text) const noexcept {
        return std::hash<std::wstring_view>{}(text.view());
    }
};
