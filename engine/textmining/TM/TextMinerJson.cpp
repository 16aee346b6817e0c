#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Veltrix/Engine/TM/TextMiner.h"
#include "engine/core/Stored.h"
#include "support/Utf8.h"
#include "support/text/Characters.h"

namespace Veltrix {

using Engine::TM::Posting;
using Engine::TM::PreprocessingFlags;
using Engine::TM::TermFrequency;
using Engine::TM::TermMap;
using Engine::TM::TermSet;
using Engine::TM::TextMiner;
using Support::Length;

namespace {

/// A text as it may come in documents: a string, or the list of its units where it is no Unicode
/// text (lone surrogates), so that it reads back as it was.
struct AnyText {
    std::wstring text;

    friend bool operator<(const AnyText& a, const AnyText& b) { return a.text < b.text; }
};

}  // namespace

template <>
struct Stored<AnyText> {
    static void write(Support::JsonWriter& json, const AnyText& any) {
        try {
            json.value(std::string_view(Support::toUtf8(any.text)));
            return;
        } catch (const Support::Utf8Error&) {
            json.beginArray();
        }
        for (const wchar_t unit : any.text) {
            json.value(static_cast<std::uint64_t>(Support::valueOf(unit)));
        }
        json.endArray();
    }
    static AnyText read(const Support::JsonView& view) {
        if (view.isString()) return {Support::fromUtf8(view.asString())};
        AnyText any;
        for (std::int64_t i = 0; i < view.size(); ++i) {
            const std::uint64_t unit = view.at(i).asUint64();
            const auto stored = static_cast<wchar_t>(unit);
            if (Support::valueOf(stored) != unit) view.at(i).fail("expected a unit of text");
            any.text.push_back(stored);
        }
        return any;
    }
};

namespace {

using AnyTexts = std::vector<AnyText>;

void expectAscending(const Support::JsonView& list, const AnyTexts& texts) {
    const auto isNotBefore = [](const AnyText& a, const AnyText& b) { return !(a < b); };
    if (std::ranges::adjacent_find(texts, isNotBefore) != texts.end()) {
        list.fail("expected texts in ascending order, each once");
    }
}

/// Ascending, as the order of a hash map must not show.
template <class Archive>
void storedSet(Archive& a, std::string_view key, auto& set) {
    AnyTexts texts;
    if constexpr (!Archive::kReads) {
        for (const std::wstring& text : set) texts.push_back({text});
        std::ranges::sort(texts, std::less<>());
    }
    a(key, texts);
    if constexpr (Archive::kReads) {
        for (AnyText& any : texts) set.insert(std::move(any.text));
    }
}

/// Keys and values in turn.
template <class Archive>
void storedMap(Archive& a, std::string_view key, auto& map) {
    AnyTexts texts;
    if constexpr (!Archive::kReads) {
        std::vector<std::pair<AnyText, AnyText>> pairs;
        pairs.reserve(map.size());
        for (const auto& [from, to] : map) pairs.push_back({{from}, {to}});
        std::ranges::sort(pairs, [](const auto& x, const auto& y) { return x.first < y.first; });
        for (auto& [from, to] : pairs) {
            texts.push_back(std::move(from));
            texts.push_back(std::move(to));
        }
    }
    a(key, texts);
    if constexpr (Archive::kReads) {
        if (texts.size() % 2 != 0) a.view().at(key).fail("expected texts and what replaces them");
        for (std::size_t i = 0; i < texts.size(); i += 2) {
            map.emplace(std::move(texts[i].text), std::move(texts[i + 1].text));
        }
    }
}

template <class Archive>
void storedText(Archive& a, std::string_view key, auto& text) {
    AnyText any;
    if constexpr (!Archive::kReads) any.text = text;
    a(key, any);
    if constexpr (Archive::kReads) text = std::move(any.text);
}

}  // namespace

template <>
struct Stored<TextMiner::Settings> {
    static void fields(auto& a, auto& settings) {
        a("vocabularyFlags", settings.flags.vocabularyFlags);
        a("documentFlags", settings.flags.documentFlags);
        a("minStemmedTermLength", settings.minStemmedTermLength);
        a("maxTermLength", settings.maxTermLength);
        a("minTermFrequency", settings.minTermFrequency);
        a("maxTermFrequency", settings.maxTermFrequency);
        a("maxVocabulary", settings.maxVocabulary);
        storedText(a, "urlToken", settings.urlToken);
        storedText(a, "emailToken", settings.emailToken);
        storedText(a, "numberToken", settings.numberToken);
        storedText(a, "moneyToken", settings.moneyToken);
        storedText(a, "startPhrase", settings.startPhrase);
        storedText(a, "endPhrase", settings.endPhrase);
        storedMap(a, "synonyms", settings.synonyms);
        storedMap(a, "phrases", settings.phrases);
        storedSet(a, "includedTerms", settings.includedTerms);
        storedSet(a, "excludedTerms", settings.excludedTerms);
        storedSet(a, "removedDefaultStopwords", settings.removedDefaultStopwords);
    }
};

/// Terms with their postings one after the other; the document frequency of a term is the number of
/// its postings, the global one the sum of their counts.
template <>
struct Stored<TextMiner::Corpus> {
    static void fields(Support::StoredWriter& a, const TextMiner::Corpus& corpus) {
        sizes(a, corpus);
        AnyTexts terms;
        std::vector<std::uint64_t> documentFrequencies;
        std::vector<std::uint32_t> documents;
        std::vector<std::uint32_t> counts;
        for (const auto& [term, postings] : corpus.vocabulary) {
            terms.push_back({term});
            documentFrequencies.push_back(postings.size());
            for (const Posting& posting : postings) {
                documents.push_back(posting.document);
                counts.push_back(posting.count);
            }
        }
        a("terms", terms)("documentFrequencies", documentFrequencies);
        a("documents", documents)("counts", counts);
    }
    static void fields(Support::StoredReader& a, TextMiner::Corpus& corpus) {
        sizes(a, corpus);
        AnyTexts terms;
        std::vector<std::uint64_t> documentFrequencies;
        std::vector<std::uint32_t> documents;
        std::vector<std::uint32_t> counts;
        a("terms", terms);
        expectAscending(a.view().at("terms"), terms);
        const auto numTerms = static_cast<std::int64_t>(terms.size());
        a("documentFrequencies", documentFrequencies, Length{numTerms});
        a("documents", documents);
        a("counts", counts, Length{static_cast<std::int64_t>(documents.size())});
        std::size_t place = 0;
        for (std::size_t j = 0; j < terms.size(); ++j) {
            const std::uint64_t size = documentFrequencies[j];
            if (size > documents.size() - place) {
                a.view().at("documentFrequencies").fail("expected as many documents as listed");
            }
            std::vector<Posting> postings;
            for (std::uint64_t k = 0; k < size; ++k, ++place) {
                postings.push_back({documents[place], counts[place]});
            }
            append(a.view(), corpus, std::move(terms[j].text), std::move(postings));
        }
        if (place != documents.size()) a.view().at("documents").fail("expected those of the terms");
    }

  private:
    static void sizes(auto& a, auto& corpus) {
        a("numDocuments", corpus.numDocuments);
        const Length one{static_cast<std::int64_t>(corpus.numDocuments)};
        a("tokenCounts", corpus.tokenCounts, one);
        a("documentLengths", corpus.documentLengths, one);
    }
    static void append(const Support::JsonView& view, TextMiner::Corpus& corpus, std::wstring term,
                       std::vector<Posting> postings) {
        std::uint64_t sum = 0;
        for (std::size_t k = 0; k < postings.size(); ++k) {
            const bool isNext = k == 0 || postings[k - 1].document < postings[k].document;
            if (!isNext || postings[k].document >= corpus.numDocuments) {
                view.at("documents").fail("expected ascending documents of the corpus");
            }
            if (postings[k].count == 0) view.at("counts").fail("expected counts above 0");
            sum += postings[k].count;
        }
        corpus.terms.push_back(term);
        corpus.documentFrequencies.emplace(term, postings.size());
        corpus.globalFrequencies.emplace(term, sum);
        corpus.vocabulary.emplace_hint(corpus.vocabulary.end(), std::move(term),
                                       std::move(postings));
    }
};

template <>
struct Stored<TermFrequency> {
    static void fields(auto& a, auto& entry) {
        storedText(a, "term", entry.term);
        a("frequency", entry.frequency);
    }
};

template <>
struct Stored<TextMiner> {
    static void fields(auto& a, auto& miner) {
        a("settings", miner.settings_)("corpus", miner.corpus_);
        storedSet(a, "appliedExcludedTerms", miner.appliedExcluded_);
        a("topTerms", miner.topTerms_)("topTermDocuments", miner.topTermDocuments_);
    }
};

namespace Engine::TM {
namespace {

constexpr const char* kType = "TM::TextMiner";

}  // namespace

void TextMiner::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, kType, *this); }

void TextMiner::readJson(std::string_view utf8) { *this = readStoredText<TextMiner>(kType, utf8); }

}  // namespace Engine::TM
}  // namespace Veltrix
