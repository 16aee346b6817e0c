#include "Veltrix/Evaluator/Metrics.h"

#include <cmath>

#include <gtest/gtest.h>

#include "tests/data/MatrixTesting.h"
#include "tests/support/Refusals.h"

using namespace Veltrix;
using namespace Veltrix::Testing;

namespace {

TEST(Metrics, rootMeanSquaredError) {
    EXPECT_TRUE(
        isNear(Metrics::RMSE(Vector{1, 2, 3}, Vector{1, 4, 7}), std::sqrt(20.0 / 3.0), {1e-15}));
    EXPECT_EQ(Metrics::RMSE(Vector{5}, Vector{5}), 0.0);
    EXPECT_TRUE(std::isnan(Metrics::RMSE(Vector(), Vector())));
    EXPECT_TRUE(std::isnan(Metrics::RMSE(Vector{NAN, 1}, Vector{1, 1})));
    EXPECT_TRUE(refuses([] { (void)Metrics::RMSE(Vector{1}, Vector()); },
                        "RMSE: 1 actual values, 0 predicted", 1));
}

TEST(Metrics, accuracyWithAndWithoutCase) {
    const StringVector actual{L"Yes", L"no", L"\u00c4rger", L"\u039f\u0394\u039f\u03a3", L"\u0416"};
    const StringVector predicted{L"yes", L"no", L"\u00e4rger", L"\u03bf\u03b4\u03bf\u03c2",
                                 L"\u0437"};
    EXPECT_TRUE(isNear(Metrics::accuracy(actual, predicted, true), 0.2, {1e-15}));
    EXPECT_TRUE(isNear(Metrics::accuracy(actual, predicted, false), 0.8, {1e-15}));
    EXPECT_TRUE(std::isnan(Metrics::accuracy({}, {}, true)));
    EXPECT_THROW((void)Metrics::accuracy({L"a"}, {}, true), Exception);
}

TEST(Metrics, foldingJoinsTheTwoCasesOfALetterOnly) {
    const auto same = [](const wchar_t* a, const wchar_t* b) {
        return Metrics::accuracy({a}, {b}, false) == 1.0;
    };
    const wchar_t* const pairs[][2] = {
        {L"A", L"a"},           {L"Z", L"z"},           {L"\u00c0", L"\u00e0"},
        {L"\u00de", L"\u00fe"}, {L"\u0160", L"\u0161"}, {L"\u0141", L"\u0142"},
        {L"\u0178", L"\u00ff"}, {L"\u017d", L"\u017e"}, {L"\u0386", L"\u03ac"},
        {L"\u038c", L"\u03cc"}, {L"\u038f", L"\u03ce"}, {L"\u03a9", L"\u03c9"},
        {L"\u03a3", L"\u03c2"}, {L"\u0401", L"\u0451"}, {L"\u042f", L"\u044f"},
        {L"\u0490", L"\u0491"}, {L"\u04c0", L"\u04cf"}};
    for (const auto& pair : pairs) EXPECT_TRUE(same(pair[0], pair[1])) << int(pair[0][0]);
    const wchar_t* const different[][2] = {
        {L"@", L"`"},           {L"[", L"{"},      {L"\u00d7", L"\u00f7"}, {L"\u00df", L"ss"},
        {L"\u0138", L"\u0139"}, {L"\u0131", L"I"}, {L"\u0101", L"\u0102"}, {L"a", L"aa"}};
    for (const auto& pair : different) EXPECT_FALSE(same(pair[0], pair[1])) << int(pair[0][0]);
}

}  // namespace
