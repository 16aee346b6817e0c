#include "data/frame/CellText.h"

#include <cmath>
#include <limits>
#include <string>

#include "support/BadCast.h"
#include "support/NumberText.h"

namespace Veltrix::CellText {

double toDouble(const WString& text) {
    if (text.empty()) return std::numeric_limits<double>::quiet_NaN();
    const auto value = Support::parseNumber(text.view());
    if (!value) Support::throwBadCast();
    return *value;
}

int toInt(double value) {
    const bool fits = value >= std::numeric_limits<int>::min() &&
                      value <= std::numeric_limits<int>::max() && value == std::trunc(value);
    if (!fits) Support::throwBadCast();
    return static_cast<int>(value);
}

WString toString(double value) { return {Support::wideNumberText(value)}; }

WString toString(int value) { return {std::to_wstring(value)}; }

}  // namespace Veltrix::CellText
