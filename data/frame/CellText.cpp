#include "data/frame/CellText.h"

#include <cmath>
#include <limits>
#include <string>

#include "support/BadCast.h"
#include "support/NumberText.h"

namespace Veltrix::CellText {

std::optional<double> toDouble(const WString& text) {
    if (text.empty()) return std::numeric_limits<double>::quiet_NaN();
    return Support::parseNumber(text.view());
}

std::optional<int> toInt(double value) {
    const bool fits = value >= std::numeric_limits<int>::min() &&
                      value <= std::numeric_limits<int>::max() && value == std::trunc(value);
    if (!fits) return std::nullopt;
    return static_cast<int>(value);
}

void fail(const std::string& where, const WString& text, const char* expected) {
    constexpr std::size_t kLongest = 60;
    const WString shown =
        text.size() <= kLongest ? text : WString(text.view().substr(0, kLongest)) + L"\u2026";
    Support::throwBadCast(where + '"' + shown.toUtf8() + "\" is not " + expected);
}

WString toString(double value) { return {Support::wideNumberText(value)}; }

WString toString(int value) { return {std::to_wstring(value)}; }

}  // namespace Veltrix::CellText
