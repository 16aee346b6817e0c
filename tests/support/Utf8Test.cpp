#include "support/Utf8.h"

#include <gtest/gtest.h>

using namespace Veltrix::Support;

TEST(Utf8, EveryCodePointSurvivesTheRoundTrip) {
    for (char32_t value = 0; value <= 0x10FFFF; ++value) {
        if (value >= 0xD800 && value <= 0xDFFF) continue;
        const std::u32string wide(1, value);
        const std::string text = encodeUtf8<char32_t>(wide);
        ASSERT_EQ(decodeUtf8<char32_t>(text), wide);
        ASSERT_EQ(encodeUtf8<char16_t>(decodeUtf8<char16_t>(text)), text);
    }
}

TEST(Utf8, KnownTextInAllWidths) {
    const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9Ez";
    EXPECT_EQ(decodeUtf8<char16_t>(text), u"a\u00E9\u20AC\xD834\xDD1Ez");
    EXPECT_EQ(decodeUtf8<char32_t>(text), U"a\u00E9\u20AC\U0001D11Ez");
    EXPECT_EQ(fromUtf8(text), L"a\u00E9\u20AC\U0001D11Ez");
    EXPECT_EQ(toUtf8(L"a\u00E9\u20AC\U0001D11Ez"), text);
    EXPECT_EQ(encodeUtf8<char16_t>(u"a\u00E9\u20AC\xD834\xDD1Ez"), text);
    EXPECT_EQ(toUtf8(fromUtf8(std::string_view("x\0y", 3))), std::string_view("x\0y", 3));
}

TEST(Utf8, RefusesInvalidBytesAtTheirOffset) {
    const struct {
        const char* name;
        std::string text;
        std::uint64_t offset;
    } cases[] = {{"stray continuation", "ab\x80", 2},
                 {"overlong, two bytes", "\xC1\xBF", 0},
                 {"overlong, three bytes", "x\xE0\x9F\xBF", 1},
                 {"overlong, four bytes", "\xF0\x8F\xBF\xBF", 0},
                 {"high surrogate", "abc\xED\xA0\x80", 3},
                 {"low surrogate", "\xED\xBF\xBF", 0},
                 {"above U+10FFFF", "\xF4\x90\x80\x80", 0},
                 {"five-byte form", "\xF8\x88\x80\x80\x80", 0},
                 {"cut off", "abc\xE2\x82", 3},
                 {"next character too early", "\xE2\x82z", 0}};
    for (const auto& c : cases) {
        try {
            fromUtf8(c.text);
            ADD_FAILURE() << c.name << " was accepted";
        } catch (const Utf8Error& error) {
            EXPECT_EQ(error.offset, c.offset) << c.name;
        }
        EXPECT_THROW(decodeUtf8<char16_t>(c.text), Utf8Error) << c.name;
    }
}

TEST(Utf8, RefusesInvalidWideText) {
    const std::u16string halves[] = {{0xD834}, {0xD834, u'x'}, {0xDD1E}, {0xD834, 0xD834, 0xDD1E}};
    for (const std::u16string& text : halves) EXPECT_THROW(encodeUtf8<char16_t>(text), Utf8Error);
    const std::u32string values[] = {{0xD834, 0xDD1E}, {0x110000}, {0xFFFFFFFF}};
    for (const std::u32string& text : values) EXPECT_THROW(encodeUtf8<char32_t>(text), Utf8Error);
    try {
        encodeUtf8<char16_t>(std::u16string{u'a', u'b', 0xDC00});
        ADD_FAILURE() << "a lone surrogate was accepted";
    } catch (const Utf8Error& error) {
        EXPECT_EQ(error.offset, 2u);
    }
}
