#include "tools/veltrix/report/NumberFormat.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

namespace {

constexpr int kDigits = 6;
constexpr double kSmallestPlain = 1e-5;
constexpr double kLargestPlain = 1e9;

std::string withoutNegativeZero(std::string text) {
    const bool isZero = text.find_first_of("123456789") == std::string::npos;
    if (isZero && text.starts_with('-')) text.erase(0, 1);
    return text;
}

}  // namespace

int decimalsFor(double largest) {
    const double size = std::fabs(largest);
    if (size == 0.0 || !std::isfinite(size)) return 0;
    if (size < kSmallestPlain || size >= kLargestPlain) return -1;
    // The exponent after rounding: 9.9999996 is shown as 10.0000.
    const std::string rounded = fmt::format("{:.{}e}", size, kDigits - 1);
    const int exponent = std::stoi(rounded.substr(rounded.find('e') + 1));
    return std::max(0, kDigits - 1 - exponent);
}

std::string formatDecimals(double number, int decimals) {
    if (!std::isfinite(number)) return std::string(nonFiniteText(number));
    if (decimals < 0) return withoutNegativeZero(fmt::format("{:.{}e}", number, kDigits - 1));
    return withoutNegativeZero(fmt::format("{:.{}f}", number, decimals));
}

std::string formatSingle(double number) {
    if (std::trunc(number) == number && std::fabs(number) < kLargestPlain) {
        return formatDecimals(number, 0);
    }
    return formatDecimals(number, decimalsFor(number));
}

std::string withoutTrailingZeros(std::string number) {
    const bool plain = number.find_first_not_of("-.0123456789") == std::string::npos;
    if (!plain || number.find('.') == std::string::npos) return number;
    number.erase(number.find_last_not_of('0') + 1);
    if (number.ends_with('.')) number.pop_back();
    return number;
}

std::string percentText(double level) { return fmt::format("{:.10g}%", 100.0 * level); }

std::string formatProbability(double probability) {
    constexpr double kSmallestFixed = 1e-4;
    constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
    if (probability < kEpsilon) return fmt::format("<{:.1e}", kEpsilon);
    if (probability < kSmallestFixed) return fmt::format("{:.2e}", probability);
    return formatDecimals(probability, kDigits);
}

}  // namespace Veltrix::Tool
