#include "engine/textmining/TM/DocumentText.h"

#include <algorithm>

#include "support/text/CharacterClasses.h"
#include "support/text/Characters.h"

namespace Veltrix::Engine::TM {
namespace {

using Flags = PreprocessingFlags;

std::size_t countTokens(std::wstring_view text) {
    std::size_t count = 0;
    unsigned before = Support::kDelimiter;
    for (const wchar_t unit : text) {
        const unsigned classes = Support::classesOf(unit) & Support::kDelimiter;
        count += before & ~classes;
        before = classes;
    }
    return count;
}

/// Writes a text with every occurrence of a phrase replaced; false, and nothing, without any.
bool replacePhrase(std::wstring_view text, std::wstring_view phrase, std::wstring_view replacement,
                   std::wstring& out) {
    std::size_t found = text.find(phrase);
    if (found == std::wstring_view::npos) return false;
    out.clear();
    std::size_t copied = 0;
    for (; found != std::wstring_view::npos; found = text.find(phrase, copied)) {
        out.append(text, copied, found - copied).append(replacement);
        copied = found + phrase.size();
    }
    out.append(text, copied);
    return true;
}

}  // namespace

std::wstring_view partBetween(std::wstring_view text, std::wstring_view start,
                              std::wstring_view end) {
    if (!start.empty()) {
        const std::size_t found = text.find(start);
        if (found != std::wstring_view::npos) text.remove_prefix(found + start.size());
    }
    if (!end.empty()) text = text.substr(0, text.find(end));
    return text;
}

DocumentText::DocumentText(const TextMiner::Settings& settings, bool whole)
    : settings_(settings), isLowerCased_((settings.flags.documentFlags & Flags::kLowerCase) != 0) {
    if (!whole) return;
    for (const auto& phrase : settings.phrases) {
        if (!phrase.first.empty()) phrases_.push_back(&phrase);
    }
    std::ranges::sort(phrases_, [](const auto* a, const auto* b) {
        if (a->first.size() != b->first.size()) return a->first.size() > b->first.size();
        return a->first < b->first;
    });
    const auto add = [&](std::uint32_t flag, const Replacement& replacement) {
        if ((settings.flags.documentFlags & flag) != 0) replacements_.push_back(replacement);
    };
    add(Flags::kStripMarkup, {Support::findTag, Support::kAngle, {}});
    add(Flags::kReplaceEmails, {Support::findEmail, Support::kAt, settings.emailToken});
    add(Flags::kReplaceMoney, {Support::findMoney, Support::kDollar, settings.moneyToken});
    add(Flags::kReplaceNumbers, {Support::findNumber, Support::kDigit, settings.numberToken});
    add(Flags::kReplaceUrls, {Support::findUrl, Support::kColon, settings.urlToken});
}

std::wstring_view DocumentText::normalise(std::wstring_view document, ProgressPhase& phase) {
    numCharacters_ = Support::numCharacters(document);
    numTokens_ = countTokens(document);
    phase.advance(0);
    copyPart(partBetween(document, settings_.startPhrase, settings_.endPhrase));
    replacePhrases(phase);
    for (const Replacement& each : replacements_) {
        if ((classes_ & each.classes) == 0) continue;
        phase.advance(0);
        if (!Support::replaceMatches(text_, each.find, each.token, other_)) continue;
        text_.swap(other_);
        classes_ |= Support::classesIn(each.token);
    }
    phase.advance(0);
    return text_;
}

void DocumentText::copyPart(std::wstring_view part) {
    if (!isLowerCased_) {
        text_.assign(part);
        classes_ = Support::classesIn(part);
        return;
    }
    text_.resize(part.size());
    const auto& table = Support::lowerCaseTable();
    unsigned classes = 0;
    for (std::size_t i = 0; i < part.size(); ++i) {
        const wchar_t unit = part[i];
        if (Support::isIn16Bits(unit)) [[likely]] {
            text_[i] = static_cast<wchar_t>(table[Support::valueOf(unit)]);
        } else {
            text_[i] = unit;
            Support::lowerBeyond16Bits(text_.data(), i);
        }
        classes |= Support::classesOf(text_[i]);
    }
    classes_ = classes;
}

void DocumentText::replacePhrases(ProgressPhase& phase) {
    for (const auto* each : phrases_) {
        phase.advance(0);
        if (!replacePhrase(text_, each->first, each->second, other_)) continue;
        text_.swap(other_);
        classes_ |= Support::classesIn(each->second);
    }
}

}  // namespace Veltrix::Engine::TM
