#include "Veltrix/Evaluator/Metrics.h"

#include <algorithm>
#include <cmath>

#include "data/containers/Checks.h"

namespace Veltrix {
namespace {

/// Letters whose lower case stands at a fixed distance: all of a run, or every second one where
/// upper and lower case alternate.
struct Letters {
    char32_t first;
    char32_t last;
    int distance;
    char32_t step = 1;
};

constexpr Letters kUpperCase[] = {
    {U'A', U'Z', 32},                            // ASCII
    {0xC0, 0xD6, 32},     {0xD8, 0xDE, 32},      // Latin-1
    {0x100, 0x12E, 1, 2}, {0x132, 0x136, 1, 2},  // Latin Extended-A
    {0x139, 0x147, 1, 2}, {0x14A, 0x176, 1, 2}, {0x178, 0x178, -121}, {0x179, 0x17D, 1, 2},
    {0x386, 0x386, 38},   {0x388, 0x38A, 37},  // Greek with accents
    {0x38C, 0x38C, 64},   {0x38E, 0x38F, 63},   {0x391, 0x3A1, 32},   {0x3A3, 0x3AB, 32},  // Greek
    {0x3C2, 0x3C2, 1},                         // final sigma
    {0x400, 0x40F, 80},   {0x410, 0x42F, 32},  // Cyrillic
    {0x460, 0x480, 1, 2}, {0x48A, 0x4BE, 1, 2}, {0x4C0, 0x4C0, 15},   {0x4C1, 0x4CD, 1, 2},
    {0x4D0, 0x52E, 1, 2},
};

wchar_t folded(wchar_t unit) {
    const auto code = static_cast<char32_t>(unit);
    for (const Letters& letters : kUpperCase) {
        if (code < letters.first) break;
        if (code <= letters.last && (code - letters.first) % letters.step == 0) {
            return static_cast<wchar_t>(unit + letters.distance);
        }
    }
    return unit;
}

bool equalWithoutCase(const WString& a, const WString& b) {
    return std::equal(a.str().begin(), a.str().end(), b.str().begin(), b.str().end(),
                      [](wchar_t x, wchar_t y) { return folded(x) == folded(y); });
}

}  // namespace

double Metrics::RMSE(const Vector& actual, const Vector& predicted) {
    Checks::counts("RMSE", actual.size(), "actual values", predicted.size(), "predicted");
    double sum = 0.0;
    for (std::uint64_t i = 0; i < actual.size(); ++i) {
        const double difference = actual[i] - predicted[i];
        sum += difference * difference;
    }
    // 0/0 is NaN.
    return std::sqrt(sum / static_cast<double>(actual.size()));
}

double Metrics::accuracy(const StringVector& actual, const StringVector& predicted,
                         bool caseSensitive) {
    Checks::counts("Accuracy", actual.size(), "actual values", predicted.size(), "predicted");
    std::uint64_t equal = 0;
    for (std::uint64_t i = 0; i < actual.size(); ++i) {
        const bool same =
            caseSensitive ? actual[i] == predicted[i] : equalWithoutCase(actual[i], predicted[i]);
        if (same) ++equal;
    }
    return static_cast<double>(equal) / static_cast<double>(actual.size());
}

}  // namespace Veltrix
