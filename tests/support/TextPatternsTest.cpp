// The scanners of text against PCRE2 on random texts, and on long ones that cost a backtracking
// search the square of their length or its stack.
#include "support/text/Patterns.h"

#include <array>
#include <cstdint>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/text/Characters.h"

#define PCRE2_CODE_UNIT_WIDTH 32
#include <pcre2.h>

namespace Veltrix::Support {
namespace {

static_assert(sizeof(wchar_t) == 4, "link the library of this width");

/// What a scanner finds, and pieces from which texts are made that it is interested in.
struct Pattern {
    const char* name;
    FindPattern find;
    const wchar_t* expression;
    std::vector<std::wstring> pieces;
};

const std::array<Pattern, 5> kPatterns{{
    {"tag", findTag, L"<[^<>]+>", {L"<", L">", L"a", L"\n", L"<b>", L"<>"}},
    {"e-mail",
     findEmail,
     L"\\b[a-z0-9._%+-]+@[a-z0-9.-]+[^\\n\\r\\x{2028}\\x{2029}][a-z]{2,4}\\b",
     {L"a", L"bc", L"@", L".", L"-", L"+", L"_", L"%", L"A", L"7", L" ", L"\u00e4", L"\n",
      L"\u2028", L"com", L"a@b", L".info", L"a.b@c.d.org"}},
    {"money",
     findMoney,
     L"\\b[$]+number\\b",
     {L"$", L"$$", L"number", L"a", L"_", L" ", L"\u00e4", L"us$number", L"numbers"}},
    {"number",
     findNumber,
     L"\\b[+-]?(?=[.]?[0-9])[0-9]*(?:[.][0-9]*)?(?:[Ee][+-]?[0-9]+)?\\b",
     {L"1", L"23", L".", L"+", L"-", L"e", L"E", L"a", L"_", L" ", L"\u00e4", L"4.5", L"e+6",
      L"x7"}},
    {"URL",
     findUrl,
     L"\\b(http|https|ftp|telnet|file)://+[^\\n\\r\\x{2028}\\x{2029}]*\\b",
     {L"http", L"https", L"ftp", L"telnet", L"file", L":", L"/", L"//", L"://", L"a", L"_", L"!",
      L" ", L"\n", L"\r", L"\u2029", L"\u00e4", L"s"}},
}};

using Matches = std::vector<std::pair<std::size_t, std::size_t>>;

/// All matches of a compiled pattern. After an empty one a longer one is tried at its place first.
class Expression {
  public:
    explicit Expression(const wchar_t* text) {
        int error = 0;
        PCRE2_SIZE place = 0;
        code_.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(text), PCRE2_ZERO_TERMINATED, 0,
                                  &error, &place, nullptr));
        if (code_ == nullptr) throw std::runtime_error("The pattern does not compile");
        pcre2_jit_compile(code_.get(), PCRE2_JIT_COMPLETE);
        data_.reset(pcre2_match_data_create_from_pattern(code_.get(), nullptr));
    }

    Matches findAll(const std::wstring& text) const {
        Matches result;
        std::size_t from = 0;
        bool afterEmpty = false;
        while (from <= text.size()) {
            const std::uint32_t options = afterEmpty ? PCRE2_NOTEMPTY_ATSTART | PCRE2_ANCHORED : 0U;
            const int found = pcre2_match(code_.get(), reinterpret_cast<PCRE2_SPTR>(text.data()),
                                          text.size(), from, options, data_.get(), nullptr);
            if (found == PCRE2_ERROR_NOMATCH && !afterEmpty) break;
            if (found == PCRE2_ERROR_NOMATCH) {
                ++from;
                afterEmpty = false;
                continue;
            }
            if (found < 0) throw std::runtime_error("The search failed");
            const PCRE2_SIZE* const ends = pcre2_get_ovector_pointer(data_.get());
            result.emplace_back(ends[0], ends[1]);
            from = ends[1];
            afterEmpty = ends[0] == ends[1];
        }
        return result;
    }

  private:
    struct Free {
        void operator()(pcre2_code* code) const { pcre2_code_free(code); }
        void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
    };

    std::unique_ptr<pcre2_code, Free> code_;
    std::unique_ptr<pcre2_match_data, Free> data_;
};

Matches scanAll(const std::wstring& text, FindPattern find) {
    Matches result;
    TextMatch match = find(text, 0);
    while (match.found()) {
        result.emplace_back(match.start, match.end);
        const std::size_t next = match.end + (match.start == match.end ? 1 : 0);
        match = next <= text.size() ? find(text, next) : TextMatch{};
    }
    return result;
}

TEST(TextPatterns, FindWhatTheirExpressionsFind) {
    constexpr int kTexts = 40000;
    for (const Pattern& pattern : kPatterns) {
        SCOPED_TRACE(pattern.name);
        const Expression expression(pattern.expression);
        std::mt19937 random(20);
        std::size_t matches = 0;
        for (int n = 0; n < kTexts && !testing::Test::HasFailure(); ++n) {
            std::wstring text;
            for (auto k = 1 + random() % 14; k > 0; --k) {
                text += pattern.pieces[random() % pattern.pieces.size()];
            }
            const Matches expected = expression.findAll(text);
            matches += expected.size();
            EXPECT_EQ(scanAll(text, pattern.find), expected)
                << testing::PrintToString(text) << " of text " << n;
        }
        EXPECT_GT(matches, 1000U) << "texts without a match test little";
    }
}

std::wstring repeated(const wchar_t* piece, std::size_t times) {
    std::wstring result;
    for (std::size_t k = 0; k < times; ++k) result += piece;
    return result;
}

TEST(TextPatterns, TakeLinearTimeAndNoStack) {
    // Squared, any of these takes hours.
    constexpr std::size_t kLong = 1 << 20;
    std::vector<std::wstring> texts;
    for (const wchar_t* piece :
         {L"<", L"1", L"a.", L"a@", L"a.b@", L"-1", L"1.", L"1e+", L"1e1.", L"$", L"a$number",
          L"http://", L"http://!", L":/", L"a", L" ", L"+"}) {
        texts.push_back(repeated(piece, kLong));
        texts.push_back(L"x@http://" + texts.back() + L"a!\n");
    }
    texts.push_back(repeated(L"a.", kLong) + L"@!");
    texts.push_back(L"<" + std::wstring(10 * kLong, L'x') + L">");
    for (const std::wstring& text : texts) {
        for (const Pattern& pattern : kPatterns) {
            std::wstring out;
            const bool replaced = replaceMatches(text, pattern.find, L"", out);
            EXPECT_TRUE(!replaced || out.size() <= text.size());
        }
    }
}

TEST(TextPatterns, ReplaceLiterally) {
    std::wstring out = L"kept";
    EXPECT_FALSE(replaceMatches(L"a <> b", findTag, L"x", out));
    EXPECT_EQ(out, L"kept");
    EXPECT_TRUE(replaceMatches(L"5abc 1+2a 1.2abc", findNumber, L"$&\\1", out));
    EXPECT_EQ(out, L"$&\\15abc $&\\1$&\\1$&\\12a $&\\1$&\\12abc");
}

template <class Unit>
std::basic_string<Unit> lowered(std::basic_string<Unit> text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isIn16Bits(text[i])) {
            text[i] = static_cast<Unit>(lowerCaseTable()[valueOf(text[i])]);
        } else {
            lowerBeyond16Bits(text.data(), i);
        }
    }
    return text;
}

TEST(Characters, CountAndLowerInBothWidths) {
    // Capitals of Latin, Greek and Deseret, signs that are letters, and what has no other form.
    const std::u16string upper =
        u"\u00c4\u0130\u03a3\u2126\u1e9e\U00010400\U0001E921\U0001F600Z\u4e2d";
    const std::u32string wide =
        U"\u00c4\u0130\u03a3\u2126\u1e9e\U00010400\U0001E921\U0001F600Z\u4e2d";
    EXPECT_TRUE(lowered(upper) ==
                u"\u00e4i\u03c3\u03c9\u00df\U00010428\U0001E943\U0001F600z\u4e2d");
    EXPECT_TRUE(lowered(wide) == U"\u00e4i\u03c3\u03c9\u00df\U00010428\U0001E943\U0001F600z\u4e2d");
    EXPECT_EQ(numCharacters<char16_t>(upper), wide.size());
    EXPECT_EQ(numCharacters<char32_t>(wide), wide.size());
    const std::u16string lone{0xDC00, 0xD83D, u'a', 0xD83D};
    EXPECT_EQ(numCharacters<char16_t>(lone), 4U);
    EXPECT_TRUE(lowered(lone) == lone);
}

}  // namespace
}  // namespace Veltrix::Support
