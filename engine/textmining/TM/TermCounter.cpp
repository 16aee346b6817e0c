#include "engine/textmining/TM/TermCounter.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "engine/textmining/TM/Stemmer.h"
#include "support/text/CharacterClasses.h"
#include "support/text/Characters.h"

namespace Veltrix::Engine::TM {
namespace {

using Flags = PreprocessingFlags;
using Support::numCharacters;

bool hasDigitsOnly(std::wstring_view token) {
    return std::ranges::all_of(token,
                               [](wchar_t unit) { return Support::isOf(unit, Support::kDigit); });
}

}  // namespace

TermCounter::TermCounter(const TextMiner::Settings& settings, const TermSet* excluded)
    : settings_(&settings),
      excluded_(excluded),
      maxLength_((settings.flags.documentFlags & Flags::kMaxTermLength) != 0
                     ? settings.maxTermLength
                     : std::numeric_limits<std::uint64_t>::max()) {}

TermCounter::TermCounter(const TermSet& included)
    : included_(&included), maxLength_(std::numeric_limits<std::uint64_t>::max()) {}

void TermCounter::admitOnly(const std::vector<std::wstring_view>& terms) {
    for (const std::wstring_view term : terms) intern(term);
    isClosed_ = true;
}

void TermCounter::count(std::wstring_view text, ProgressPhase& phase) {
    constexpr unsigned kTokensPerReport = 4096;
    unsigned tokens = 0;
    const wchar_t* place = text.data();
    const wchar_t* const end = place + text.size();
    while (true) {
        while (place != end && Support::isOf(*place, Support::kDelimiter)) ++place;
        if (place == end) break;
        const wchar_t* const start = place;
        std::uint64_t hash = TermHash::kBasis;
        for (; place != end && !Support::isOf(*place, Support::kDelimiter); ++place) {
            hash = TermHash::add(hash, *place);
        }
        add({start, static_cast<std::size_t>(place - start)}, hash);
        if (++tokens % kTokensPerReport == 0) phase.advance(0);
    }
    endDocument();
}

void TermCounter::add(std::wstring_view token, std::uint64_t hash) {
    if (token.size() > maxLength_ && numCharacters(token) > maxLength_) return;
    const std::uint32_t number = tokens_.intern(token, hash);
    if (number == termOfToken_.size()) termOfToken_.push_back(termOf(token));
    const std::uint32_t term = termOfToken_[number];
    if (term != kDropped && inDocument_[term]++ == 0) present_.push_back(term);
}

std::uint32_t TermCounter::termOf(std::wstring_view token) {
    if (included_ == nullptr) return processed(token);
    return included_->contains(token) ? intern(token) : kDropped;
}

std::uint32_t TermCounter::processed(std::wstring_view token) {
    if (hasDigitsOnly(token)) return kDropped;
    if (excluded_ != nullptr && excluded_->contains(token)) return kDropped;
    const std::uint32_t flags = settings_->flags.documentFlags;
    stem_.assign(token);
    if ((flags & Flags::kStem) != 0) stem_.resize(writeStem(token, stem_.data()));
    if ((flags & Flags::kMinStemmedLength) != 0 &&
        numCharacters<wchar_t>(stem_) < settings_->minStemmedTermLength) {
        return kDropped;
    }
    const auto synonym = settings_->synonyms.find(stem_);
    return intern(synonym == settings_->synonyms.end() ? stem_ : synonym->second);
}

std::uint32_t TermCounter::intern(std::wstring_view term) {
    const std::uint64_t hash = TermHash()(term);
    if (isClosed_) return terms_.find(term, hash);
    const std::uint32_t number = terms_.intern(term, hash);
    if (number == inDocument_.size()) {
        documentFrequencies_.push_back(0);
        globalFrequencies_.push_back(0);
        inDocument_.push_back(0);
    }
    return number;
}

void TermCounter::endDocument() {
    for (const std::uint32_t term : present_) {
        const std::uint32_t count = std::exchange(inDocument_[term], 0U);
        counts_.push_back({term, count});
        ++documentFrequencies_[term];
        globalFrequencies_[term] += count;
    }
    present_.clear();
    ends_.push_back(counts_.size());
}

}  // namespace Veltrix::Engine::TM
