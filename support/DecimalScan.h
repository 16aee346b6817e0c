#pragma once

/// @file
/// Plain decimal numbers at the cursor of a text, as long tables of them are read.

#include <array>
#include <cstdint>

namespace Veltrix::Support {

/// Reads an optional sign, digits and an optional fraction behind `point`, at least one digit in
/// all, from `text` on. Returns where it ends, or null for what is no such number and for those
/// that have no exact result in two correctly rounded steps: an integer of at most 2^53 and a power
/// of ten of at most 10^22 are exact doubles, and so their product or quotient is the double
/// nearest to the number (Clinger 1990). Those are left to a full conversion.
inline const char* scanDecimal(const char* text, const char* end, char point, double& value) {
    constexpr int kMostDigits = 19;  // what 64 bits hold whatever the digits are
    constexpr std::uint64_t kMostInteger = std::uint64_t{1} << 53U;
    static constexpr std::array<double, 23> kPowers = {
        1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
        1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    if (text == end) return nullptr;
    const bool negative = *text == '-';
    if (negative || *text == '+') ++text;
    std::uint64_t integer = 0;
    const auto digits = [&integer, end](const char* from) {
        for (; from != end; ++from) {
            const auto digit = static_cast<unsigned char>(*from - '0');
            if (digit > 9) break;
            integer = 10 * integer + digit;
        }
        return from;
    };
    const char* next = digits(text);
    std::int64_t count = next - text;
    std::int64_t fraction = 0;
    if (next != end && *next == point) {
        const char* const first = next + 1;
        next = digits(first);
        fraction = next - first;
        count += fraction;
    }
    if (count == 0 || count > kMostDigits || integer > kMostInteger) return nullptr;
    value = static_cast<double>(integer) / kPowers[static_cast<std::size_t>(fraction)];
    if (negative) value = -value;
    return next;
}

}  // namespace Veltrix::Support
