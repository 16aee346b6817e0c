#include "support/NumberText.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "support/RuntimeRandom.h"

using namespace Veltrix::Support;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

bool sameBits(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

}  // namespace

TEST(NumberText, ChoosesTheShortestFormOfEachMagnitude) {
    for (const std::string text :
         {"1", "0.1", "1e-07", "1.234e-05", "999999999999999", "1e+15", "-1234567.5", "0", "-0",
          "5e-324", "1.7976931348623157e+308", "nan", "inf", "-inf"}) {
        const double value = parseNumber(std::string_view(text)).value();
        EXPECT_EQ(numberText(value), text);
        EXPECT_EQ(wideNumberText(value), std::wstring(text.begin(), text.end()));
    }
    EXPECT_EQ(numberText(-std::nan("")), "nan");
}

TEST(NumberText, RandomDoublesSurviveTheRoundTripInBothWidths) {
    RuntimeRandom random(7);
    for (int i = 0; i < 200000; ++i) {
        const std::uint64_t high = random.nextJoined();
        const std::uint64_t middle = random.nextJoined();
        const auto value = std::bit_cast<double>(high << 34 ^ middle << 15 ^ random.next());
        if (std::isnan(value)) continue;
        const auto narrow = parseNumber(std::string_view(numberText(value)));
        const auto wide = parseNumber(std::wstring_view(wideNumberText(value)));
        ASSERT_TRUE(narrow && sameBits(*narrow, value)) << numberText(value);
        ASSERT_TRUE(wide && sameBits(*wide, value)) << numberText(value);
    }
}

TEST(ParseNumber, ReadsWholeCells) {
    const struct {
        std::string text;
        double value;
    } cases[] = {{"12", 12},
                 {" \t-1.5e3\t ", -1500},
                 {"+.5", 0.5},
                 {"InFiNiTy", kInf},
                 {"-inf", -kInf},
                 {"-0.00001e-350", -0.0},
                 {"1e-99999999999999999999", 0.0},
                 {"3e-324", 5e-324},
                 {"0e99999999999999999999", 0.0},
                 {"0." + std::string(400, '0') + "1e401", 1.0},
                 {"1" + std::string(400, '0') + "e-400", 1.0}};
    for (const auto& c : cases) {
        const auto narrow = parseNumber(std::string_view(c.text));
        const auto wide = parseNumber(std::wstring(c.text.begin(), c.text.end()));
        EXPECT_TRUE(narrow && sameBits(*narrow, c.value)) << c.text;
        EXPECT_TRUE(wide && sameBits(*wide, c.value)) << c.text;
    }
    const auto nan = parseNumber(std::string_view("NaN"));
    EXPECT_TRUE(nan && std::isnan(*nan));
}

TEST(ParseNumber, RefusesEverythingElse) {
    const std::string cases[] = {
        "",        " ",     "+",    "-+1",   "--1",   "1 2",       "1,5",
        "1e",      "1e+",   "0x10", "1_000", "1e400", "abc",       "nan()",
        "nan(ab)", "infin", ".",    "1.2.3", "12\n",  "5\xc2\xa0", std::string(400, '9')};
    for (const std::string& text : cases) {
        EXPECT_FALSE(parseNumber(std::string_view(text))) << text;
        EXPECT_FALSE(parseNumber(std::wstring(text.begin(), text.end()))) << text;
    }
    // A wide character must not be cut down to a digit, nor a NUL end the cell.
    EXPECT_FALSE(parseNumber(std::wstring_view(L"1\u0132")));
    EXPECT_FALSE(parseNumber(std::string_view("1\0", 2)));
    EXPECT_FALSE(parseNumber(std::wstring_view(L"1\0", 2)));
}
