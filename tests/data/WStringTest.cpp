#include "Veltrix/Data/WString.h"

#include <string>
#include <unordered_map>

#include <gtest/gtest.h>

#include "tests/support/Refusals.h"

using namespace Veltrix;
using namespace Veltrix::Testing;

namespace {

TEST(WString, comparisonIsByUnitAndNotByLanguage) {
    WString twice = L"a" + WString(L"b");
    twice += twice;
    EXPECT_EQ(twice, L"abab");
    // In a dictionary "a" comes before "B" and "é" before "f".
    EXPECT_LT(WString(L"B"), WString(L"a"));
    EXPECT_LT(WString(L"f"), WString(L"\u00e9"));
    EXPECT_LT(WString(L"a"), WString(L"aa"));
    std::unordered_map<WString, int> hashed;
    hashed[L"key"] = 5;
    EXPECT_EQ(hashed.at(WString(L"k") + L"ey"), 5);
    const wchar_t* none = nullptr;
    EXPECT_TRUE(refuses([&] { WString text(none); }, "WString: a null pointer"));
}

TEST(WString, utf8BothWays) {
    for (const char* text :
         {"", "plain", "gr\u00f6\u00dfe", "\u6f22\u5b57", "\U0001F600 \U0001F680"}) {
        EXPECT_EQ(WString::fromUtf8(text).toUtf8(), text);
    }
    EXPECT_EQ(WString::fromUtf8("\U0001F600").size(), sizeof(wchar_t) == 2 ? 2u : 1u);
    EXPECT_TRUE(refuses([] { (void)WString::fromUtf8("ab\xff"); },
                        "Text from UTF-8: no valid UTF-8 at byte 2"));
}

TEST(WString, unitsThatAreNoCharactersBecomeTheReplacement) {
    const auto unit = [](int value) { return std::wstring(1, static_cast<wchar_t>(value)); };
    const std::wstring high = unit(0xD83D);
    const std::wstring low = unit(0xDE00);
    EXPECT_EQ(WString(L"a" + high + L"b").toUtf8(), "a\uFFFDb");
    EXPECT_EQ(WString(low + L"\u00e9" + high).toUtf8(), "\uFFFD\u00e9\uFFFD");
    if (sizeof(wchar_t) == 2) {
        EXPECT_EQ(WString(high + high + low).toUtf8(), "\uFFFD\U0001F600");
    } else {
        EXPECT_EQ(WString(unit(0x110000)).toUtf8(), "\uFFFD");
    }
}

}  // namespace
