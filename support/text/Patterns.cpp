#include "support/text/Patterns.h"

#include <algorithm>
#include <array>

#include "support/text/CharacterClasses.h"

namespace Veltrix::Support {
namespace {

constexpr std::size_t kNone = TextMatch::kNone;

bool isAt(std::wstring_view text, std::size_t i, unsigned classes) {
    return i < text.size() && isOf(text[i], classes);
}

bool isBoundary(std::wstring_view text, std::size_t i) {
    const bool before = i > 0 && isOf(text[i - 1], kWord);
    return before != isAt(text, i, kWord);
}

bool isLineEnd(wchar_t unit) {
    return unit == L'\n' || unit == L'\r' || unit == 0x2028 || unit == 0x2029;
}

/// The first position from `i` on whose character is not of the classes.
std::size_t skip(std::wstring_view text, std::size_t i, unsigned classes) {
    while (isAt(text, i, classes)) ++i;
    return i;
}

/// The end of ".[a-z]{2,4}\b" behind the characters [domain, end) of a domain, at least one of
/// which stays in it; from the last possible "." down.
std::size_t endOfDomain(std::wstring_view text, std::size_t domain, std::size_t end) {
    const auto lettersFrom = [&](std::size_t i) {
        std::size_t letters = 0;
        while (letters <= 4 && isAt(text, i + letters, kSmallLetter)) ++letters;
        const bool ends = letters >= 2 && letters <= 4 && !isAt(text, i + letters, kWord);
        return ends ? i + letters : kNone;
    };
    for (std::size_t dot = end; dot > domain; --dot) {
        if (dot >= text.size() || isLineEnd(text[dot])) continue;
        const std::size_t found = lettersFrom(dot + 1);
        if (found != kNone) return found;
    }
    return kNone;
}

/// The end of the digits of an exponent at `i`, if it ends at a boundary.
std::size_t endOfExponent(std::wstring_view text, std::size_t i) {
    if (i >= text.size() || (text[i] != L'e' && text[i] != L'E')) return kNone;
    ++i;
    if (i < text.size() && (text[i] == L'+' || text[i] == L'-')) ++i;
    const std::size_t end = skip(text, i, kDigit);
    return end > i && !isAt(text, end, kWord) ? end : kNone;
}

/// The end of a number whose sign is behind it, at `start`: digits, or "." and a digit. As digits
/// have no boundary between them, either all of a run are taken or none.
std::size_t endOfNumber(std::wstring_view text, std::size_t start) {
    const std::size_t whole = skip(text, start, kDigit);
    if (whole < text.size() && text[whole] == L'.') {
        const std::size_t fraction = skip(text, whole + 1, kDigit);
        const std::size_t exponent = endOfExponent(text, fraction);
        if (exponent != kNone) return exponent;
        if (isBoundary(text, fraction)) return fraction;
        if (isBoundary(text, whole + 1)) return whole + 1;
    } else {
        const std::size_t exponent = endOfExponent(text, whole);
        if (exponent != kNone) return exponent;
    }
    return isBoundary(text, whole) ? whole : start;
}

/// Where a number starts whose first digit, with no digit before it, is at `digit`: at a boundary,
/// with a sign and a "." if there are. At `from` or behind, or nowhere.
std::size_t startOfNumber(std::wstring_view text, std::size_t digit, std::size_t from) {
    const auto isSign = [&](std::size_t i) { return text[i] == L'+' || text[i] == L'-'; };
    const std::size_t room = digit - from;
    if (room >= 1) {
        const bool isPoint = text[digit - 1] == L'.';
        if (isPoint && room >= 2 && isSign(digit - 2) && isBoundary(text, digit - 2)) {
            return digit - 2;
        }
        if ((isPoint || isSign(digit - 1)) && isBoundary(text, digit - 1)) return digit - 1;
    }
    return isBoundary(text, digit) ? digit : kNone;
}

/// Where the name of a protocol starts that ends at `end`.
std::size_t startOfProtocol(std::wstring_view text, std::size_t end, std::size_t from) {
    constexpr std::array<std::wstring_view, 5> kProtocols{L"http", L"https", L"ftp", L"telnet",
                                                          L"file"};
    for (const std::wstring_view protocol : kProtocols) {
        if (end - from < protocol.size()) continue;
        const std::size_t start = end - protocol.size();
        if (text.substr(start, protocol.size()) == protocol && isBoundary(text, start)) {
            return start;
        }
    }
    return kNone;
}

}  // namespace

TextMatch findTag(std::wstring_view text, std::size_t from) {
    std::size_t open = text.find(L'<', from);
    while (open != kNone) {
        std::size_t close = open + 1;
        while (close < text.size() && !isOf(text[close], kAngle)) ++close;
        if (close == text.size()) break;
        if (text[close] == L'>' && close > open + 1) return {open, close + 1};
        open = text[close] == L'<' ? close : text.find(L'<', close);
    }
    return {};
}

TextMatch findEmail(std::wstring_view text, std::size_t from) {
    std::size_t at = from;
    while ((at = text.find(L'@', at)) != kNone) {
        std::size_t start = at;
        while (start > from && isOf(text[start - 1], kMailLocal)) --start;
        while (start < at && !isBoundary(text, start)) ++start;
        const std::size_t domain = at + 1;
        if (start < at && isAt(text, domain, kMailDomain)) {
            const std::size_t end = endOfDomain(text, domain, skip(text, domain, kMailDomain));
            if (end != kNone) return {start, end};
        }
        at = domain;
    }
    return {};
}

TextMatch findMoney(std::wstring_view text, std::size_t from) {
    constexpr std::wstring_view kAmount = L"number";
    std::size_t start = from;
    while ((start = text.find(L'$', start)) != kNone) {
        const std::size_t amount = skip(text, start, kDollar);
        const std::size_t end = amount + kAmount.size();
        if (isBoundary(text, start) && text.substr(amount, kAmount.size()) == kAmount &&
            isBoundary(text, end)) {
            return {start, end};
        }
        start = amount;
    }
    return {};
}

TextMatch findNumber(std::wstring_view text, std::size_t from) {
    std::size_t digit = from;
    while (true) {
        while (digit < text.size() && !isOf(text[digit], kDigit)) ++digit;
        if (digit >= text.size()) return {};
        const bool first = digit == 0 || !isOf(text[digit - 1], kDigit);
        const std::size_t start = first ? startOfNumber(text, digit, from) : kNone;
        if (start != kNone) {
            const bool isSigned = text[start] == L'+' || text[start] == L'-';
            return {start, endOfNumber(text, start + (isSigned ? 1 : 0))};
        }
        digit = skip(text, digit, kDigit);
    }
}

TextMatch findUrl(std::wstring_view text, std::size_t from) {
    std::size_t colon = from;
    while ((colon = text.find(L':', colon)) != kNone) {
        const std::size_t name = colon++;
        if (text.substr(colon, 2) != L"//") continue;
        const std::size_t start = startOfProtocol(text, name, from);
        if (start == kNone) continue;
        std::size_t lineEnd = colon + 2;
        while (lineEnd < text.size() && !isLineEnd(text[lineEnd])) ++lineEnd;
        // A boundary is behind the last word of the line.
        std::size_t end = lineEnd;
        while (end > colon + 2 && !isOf(text[end - 1], kWord)) --end;
        if (end > colon + 2) return {start, end};
        colon = lineEnd;
    }
    return {};
}

bool replaceMatches(std::wstring_view text, FindPattern find, std::wstring_view replacement,
                    std::wstring& out) {
    TextMatch match = find(text, 0);
    if (!match.found()) return false;
    out.clear();
    std::size_t copied = 0;
    while (match.found()) {
        out.append(text, copied, match.start - copied);
        out.append(replacement);
        copied = match.end;
        const std::size_t next = match.end + (match.end == match.start ? 1 : 0);
        match = next <= text.size() ? find(text, next) : TextMatch{};
    }
    out.append(text, copied);
    return true;
}

}  // namespace Veltrix::Support
