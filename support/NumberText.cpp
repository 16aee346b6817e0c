#include "support/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <system_error>

namespace Veltrix::Support {

namespace {

template <class Char>
constexpr bool isBlank(Char c) {
    return c == Char(' ') || c == Char('\t');
}

template <class Char>
std::basic_string_view<Char> trimmed(std::basic_string_view<Char> text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

/// Saturated value of the exponent that follows "e" or "E"; the text is known to be well formed.
std::int64_t exponentOf(std::string_view text) {
    constexpr std::int64_t kHuge = std::numeric_limits<std::int64_t>::max() / 4;
    if (text.empty()) return 0;
    if (text.front() == '+') text.remove_prefix(1);
    std::int64_t exponent = 0;
    const auto status = std::from_chars(text.data(), text.data() + text.size(), exponent).ec;
    if (status == std::errc()) return std::clamp(exponent, -kHuge, kHuge);
    return text.front() == '-' ? -kHuge : kHuge;
}

/// For a well-formed unsigned number outside the range of a double: true when it is too small.
bool isUnderflow(std::string_view number) {
    const std::size_t mark = number.find_first_of("eE");
    const std::string_view digits = number.substr(0, mark);
    const auto point = static_cast<std::int64_t>(std::min(digits.find('.'), digits.size()));
    const auto first = static_cast<std::int64_t>(digits.find_first_of("123456789"));
    const std::string_view exponent =
        mark == std::string_view::npos ? std::string_view() : number.substr(mark + 1);
    // 10^(point - first + exponent) bounds the number to within a factor of 100.
    return point - first + exponentOf(exponent) < 0;
}

}  // namespace

std::string_view writeNumber(double value, std::span<char, kNumberTextSize> buffer) {
    char* const begin = buffer.data();
    if (std::isnan(value)) value = std::numeric_limits<double>::quiet_NaN();  // drops a sign
    const double size = std::fabs(value);
    const bool plain = size == 0.0 || (size >= 1e-4 && size < 1e15);
    const auto form = plain ? std::chars_format::fixed : std::chars_format::scientific;
    const char* const end = std::to_chars(begin, begin + buffer.size(), value, form).ptr;
    return {begin, static_cast<std::size_t>(end - begin)};
}

std::string numberText(double value) {
    char buffer[kNumberTextSize];
    return std::string(writeNumber(value, buffer));
}

std::wstring wideNumberText(double value) {
    char buffer[kNumberTextSize];
    const std::string_view text = writeNumber(value, buffer);
    return {text.begin(), text.end()};
}

std::optional<double> parseNumber(std::string_view cell) {
    std::string_view text = trimmed(cell);
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') return std::nullopt;
    }
    double value = 0.0;
    const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (end != text.data() + text.size() || text.empty()) return std::nullopt;
    if (status == std::errc::result_out_of_range) {
        const bool negative = text.front() == '-';
        if (!isUnderflow(text.substr(negative ? 1 : 0))) return std::nullopt;
        return negative ? -0.0 : 0.0;
    }
    if (status != std::errc() || text.back() == ')') return std::nullopt;  // no "nan(...)"
    return value;
}

std::optional<double> parseNumber(std::wstring_view cell) {
    const std::wstring_view text = trimmed(cell);
    if (std::any_of(text.begin(), text.end(), [](wchar_t c) { return c < L' ' || c > L'~'; })) {
        return std::nullopt;
    }
    // ASCII only from here on; few cells are longer than the small buffer.
    char small[64];
    std::string large;
    char* narrow = small;
    if (text.size() > sizeof small) {
        large.resize(text.size());
        narrow = large.data();
    }
    std::transform(text.begin(), text.end(), narrow,
                   [](wchar_t c) { return static_cast<char>(c); });
    return parseNumber(std::string_view(narrow, text.size()));
}

}  // namespace Veltrix::Support
