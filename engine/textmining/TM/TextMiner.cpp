#include "Veltrix/Engine/TM/TextMiner.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/Exceptions.h"
#include "engine/core/Checks.h"
#include "engine/textmining/TM/DocumentText.h"
#include "engine/textmining/TM/Selection.h"
#include "engine/textmining/TM/TermCounter.h"

namespace Veltrix::Engine::TM {
namespace {

using Texts = std::vector<std::wstring_view>;

Texts viewsOf(const auto& texts) {
    Texts views;
    views.reserve(texts.size());
    for (const auto& text : texts) views.emplace_back(text);
    return views;
}

std::uint64_t totalSize(const Texts& documents) {
    return std::accumulate(
        documents.begin(), documents.end(), std::uint64_t{0},
        [](std::uint64_t sum, std::wstring_view text) { return sum + text.size(); });
}

/// A column's distinct texts, and what each cell has of them.
class ColumnTexts {
  public:
    explicit ColumnTexts(const ConstDataFrameColumn& column) : texts_(column.getTexts(codes_)) {}

    Texts views() const {
        Texts views;
        views.reserve(codes_.size());
        for (const int code : codes_) views.push_back(texts_[code].view());
        return views;
    }

  private:
    IntVector codes_;
    StringVector texts_;
};

/// A size of a document as a number of 32 bits.
int documentSize(std::size_t size) {
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        Checks::fail(ErrorCode::tooLarge, "Text mining",
                     "a document of " + std::to_string(size) + " characters, at most 2147483647");
    }
    return static_cast<int>(size);
}

/// Reads the documents one after the other; their sizes go to the corpus.
void readDocuments(const Texts& documents, DocumentText& text, TermCounter& counter,
                   TextMiner::Corpus& corpus, ProgressPhase& phase) {
    if (documents.size() >= std::numeric_limits<std::uint32_t>::max()) {
        Checks::fail(ErrorCode::tooLarge, "Text mining", "more documents than can be counted");
    }
    corpus.numDocuments = documents.size();
    corpus.tokenCounts.reserve(documents.size());
    corpus.documentLengths.reserve(documents.size());
    for (const std::wstring_view document : documents) {
        counter.count(text.normalise(document, phase), phase);
        corpus.tokenCounts.push_back(documentSize(text.numTokens()));
        corpus.documentLengths.push_back(documentSize(text.numCharacters()));
        phase.advance(document.size());
    }
}

constexpr std::string_view kReading = "Reading documents";

TermSet toSet(const std::vector<std::wstring>& texts) { return {texts.begin(), texts.end()}; }

}  // namespace

TextMiner::~TextMiner() = default;

TextMiner& TextMiner::preprocess(const ConstDataFrameColumn& documents) {
    const ColumnTexts texts(documents);
    return preprocess(texts.views());
}

TextMiner& TextMiner::preprocess(const Texts& documents) {
    TermSet excluded = collectExcluded();
    take(settings_.includedTerms.empty() ? preprocessAll(documents, excluded)
                                         : preprocessIncludedTermsOnly(documents));
    appliedExcluded_ = std::move(excluded);
    return *this;
}

TermSet TextMiner::collectExcluded() const {
    TermSet excluded;
    if ((settings_.flags.vocabularyFlags & PreprocessingFlags::kRemoveExcluded) == 0) {
        return excluded;
    }
    excluded = settings_.excludedTerms;
    for (const std::wstring_view word : defaultStopwords()) {
        if (!settings_.removedDefaultStopwords.contains(word)) excluded.emplace(word);
    }
    return excluded;
}

TextMiner::Corpus TextMiner::preprocessAll(const Texts& documents, const TermSet& excluded) const {
    Corpus corpus;
    DocumentText text(settings_, true);
    TermCounter counter(settings_, &excluded);
    ProgressPhase phase(kReading, totalSize(documents));
    readDocuments(documents, text, counter, corpus, phase);
    fillVocabulary(counter, selectTerms(counter, settings_), corpus, phase);
    return corpus;
}

TextMiner::Corpus TextMiner::preprocessIncludedTermsOnly(const Texts& documents) const {
    Corpus corpus;
    DocumentText text(settings_, false);
    TermCounter counter(settings_.includedTerms);
    ProgressPhase phase(kReading, totalSize(documents));
    readDocuments(documents, text, counter, corpus, phase);
    std::vector<std::uint32_t> all(counter.numTerms());
    std::iota(all.begin(), all.end(), 0U);
    fillVocabulary(counter, std::move(all), corpus, phase);
    return corpus;
}

TextMiner& TextMiner::preprocessNewCorpus(const std::vector<std::wstring>& documents,
                                          const std::vector<std::wstring>& vocabulary) {
    return preprocessNewCorpus(viewsOf(documents), viewsOf(vocabulary));
}

TextMiner& TextMiner::preprocessNewCorpus(const ConstDataFrameColumn& documents,
                                          const StringVector& vocabulary) {
    const ColumnTexts texts(documents);
    Texts terms;
    terms.reserve(vocabulary.size());
    for (const WString& term : vocabulary) terms.push_back(term.view());
    return preprocessNewCorpus(texts.views(), terms);
}

TextMiner& TextMiner::preprocessNewCorpus(const Texts& documents, const Texts& vocabulary) {
    TermSet excluded = collectExcluded();
    Corpus corpus;
    DocumentText text(settings_, true);
    TermCounter counter(settings_, &excluded);
    counter.admitOnly(vocabulary);
    if (counter.numTerms() == 0) throw TMEmptyVocabulary();
    ProgressPhase phase(kReading, totalSize(documents));
    readDocuments(documents, text, counter, corpus, phase);
    std::vector<std::uint32_t> all(counter.numTerms());
    std::iota(all.begin(), all.end(), 0U);
    if (std::ranges::all_of(counter.globalFrequencies(), [](auto n) { return n == 0; })) {
        throw TMNewDocsDontMatchVocabulary();
    }
    fillVocabulary(counter, std::move(all), corpus, phase);
    take(std::move(corpus));
    appliedExcluded_ = std::move(excluded);
    return *this;
}

void TextMiner::take(Corpus&& corpus) noexcept {
    corpus_ = std::move(corpus);
    topTerms_.clear();
    topTermDocuments_.clear();
}

TextMiner& TextMiner::reset() noexcept {
    take(Corpus());
    appliedExcluded_.clear();
    return *this;
}

std::wstring TextMiner::extractPartofDocument(std::wstring_view text) const {
    return std::wstring(partBetween(text, settings_.startPhrase, settings_.endPhrase));
}

TextMiner& TextMiner::getTopTerms(std::int64_t count, bool withDocuments, std::int64_t limit) {
    Veltrix::Checks::notNegative("Top terms", "number of terms", count);
    Veltrix::Checks::notNegative("Top terms", "number of document frequencies", limit);
    if (corpus_.globalFrequencies.empty()) return *this;
    const auto listed = [](std::int64_t wanted, std::size_t available) {
        return std::min(static_cast<std::size_t>(wanted), available);
    };
    std::vector<TermFrequency> top;
    top.reserve(corpus_.globalFrequencies.size());
    for (const auto& [term, frequency] : corpus_.globalFrequencies) {
        top.push_back({term, frequency});
    }
    const std::size_t size = listed(count, top.size());
    std::ranges::partial_sort(top, top.begin() + static_cast<std::ptrdiff_t>(size),
                              [](const TermFrequency& a, const TermFrequency& b) {
                                  if (a.frequency != b.frequency) return a.frequency > b.frequency;
                                  return a.term < b.term;
                              });
    top.resize(size);
    std::vector<TermFrequency> documents;
    for (std::size_t k = 0; withDocuments && k < listed(limit, size); ++k) {
        documents.push_back({top[k].term, getDocumentFrequency(top[k].term)});
    }
    topTerms_ = std::move(top);
    topTermDocuments_ = std::move(documents);
    return *this;
}

const std::vector<Posting>& TextMiner::getPostings(std::wstring_view term) const {
    const auto found = corpus_.vocabulary.find(term);
    if (found == corpus_.vocabulary.end()) throw std::out_of_range("invalid map<K, T> key");
    return found->second;
}

namespace {

std::uint64_t frequencyOf(const TermFrequencies& frequencies, std::wstring_view term) {
    const auto found = frequencies.find(term);
    if (found == frequencies.end()) throw std::out_of_range("invalid unordered_map<K, T> key");
    return found->second;
}

}  // namespace

std::uint64_t TextMiner::getDocumentFrequency(std::wstring_view term) const {
    return frequencyOf(corpus_.documentFrequencies, term);
}

std::uint64_t TextMiner::getGlobalFrequency(std::wstring_view term) const {
    return frequencyOf(corpus_.globalFrequencies, term);
}

void TextMiner::failLimit(std::string_view what, std::int64_t found) {
    Veltrix::Checks::failNegative("Text mining", what, found);
}

TextMiner& TextMiner::setSettings(Settings settings) noexcept {
    settings_ = std::move(settings);
    appliedExcluded_.clear();
    return *this;
}

TextMiner& TextMiner::setPreprocessingFlags(const PreprocessingFlags& flags) noexcept {
    settings_.flags = flags;
    return *this;
}

TextMiner& TextMiner::setUrlToken(std::wstring token) noexcept {
    settings_.urlToken = std::move(token);
    return *this;
}

TextMiner& TextMiner::setEmailToken(std::wstring token) noexcept {
    settings_.emailToken = std::move(token);
    return *this;
}

TextMiner& TextMiner::setNumberToken(std::wstring token) noexcept {
    settings_.numberToken = std::move(token);
    return *this;
}

TextMiner& TextMiner::setMoneyToken(std::wstring token) noexcept {
    settings_.moneyToken = std::move(token);
    return *this;
}

TextMiner& TextMiner::setStartPhrase(std::wstring phrase) noexcept {
    settings_.startPhrase = std::move(phrase);
    return *this;
}

TextMiner& TextMiner::setEndPhrase(std::wstring phrase) noexcept {
    settings_.endPhrase = std::move(phrase);
    return *this;
}

TextMiner& TextMiner::setMinTermFrequency(double percent) noexcept {
    settings_.minTermFrequency = percent;
    return *this;
}

TextMiner& TextMiner::setMaxTermFrequency(double percent) noexcept {
    settings_.maxTermFrequency = percent;
    return *this;
}

TextMiner& TextMiner::setSynonyms(TermMap synonyms) noexcept {
    settings_.synonyms = std::move(synonyms);
    return *this;
}

TextMiner& TextMiner::setPhrases(TermMap phrases) noexcept {
    settings_.phrases = std::move(phrases);
    return *this;
}

TextMiner& TextMiner::setIncludedTerms(const std::vector<std::wstring>& terms) {
    settings_.includedTerms = toSet(terms);
    return *this;
}

TextMiner& TextMiner::setExcludedTerms(const std::vector<std::wstring>& terms) {
    settings_.excludedTerms = toSet(terms);
    appliedExcluded_.clear();
    return *this;
}

TextMiner& TextMiner::setRemovedDefaultStopwords(const std::vector<std::wstring>& words) {
    settings_.removedDefaultStopwords = toSet(words);
    return *this;
}

}  // namespace Veltrix::Engine::TM
