#include "Veltrix/Data/WString.h"

#include "data/containers/Checks.h"
#include "support/Utf8.h"

namespace Veltrix {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }
bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

/// The text with every unit that stands for no character replaced.
std::wstring withoutInvalidUnits(std::wstring text) {
    constexpr bool kPairs = sizeof(wchar_t) == 2;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto unit = static_cast<char32_t>(text[i]);
        const bool paired = kPairs && isHighSurrogate(unit) && i + 1 < text.size() &&
                            isLowSurrogate(static_cast<char32_t>(text[i + 1]));
        if (paired) {
            ++i;
        } else if (isSurrogate(unit) || unit > 0x10FFFF) {
            text[i] = static_cast<wchar_t>(kReplacement);
        }
    }
    return text;
}

}  // namespace

WString::WString(const wchar_t* text) {
    if (text == nullptr) Checks::fail(ErrorCode::invalidArgument, "WString", "a null pointer");
    text_ = text;
}

WString WString::fromUtf8(std::string_view utf8) {
    try {
        return Support::fromUtf8(utf8);
    } catch (const Support::Utf8Error& error) {
        Checks::fail(ErrorCode::invalidText, "Text from UTF-8",
                     "no valid UTF-8 at byte " + std::to_string(error.offset));
    }
}

std::string WString::toUtf8() const {
    try {
        return Support::toUtf8(text_);
    } catch (const Support::Utf8Error&) {
        return Support::toUtf8(withoutInvalidUnits(text_));
    }
}

}  // namespace Veltrix
