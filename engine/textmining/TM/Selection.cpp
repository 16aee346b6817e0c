#include "engine/textmining/TM/Selection.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <utility>

#include "Veltrix/Engine/Exceptions.h"

namespace Veltrix::Engine::TM {
namespace {

using Flags = PreprocessingFlags;
using Terms = std::vector<std::uint32_t>;

/// Keeps the `most` terms that are in the most documents; of equal ones those that sort last.
void limitTerms(const TermCounter& counter, std::uint64_t most, Terms& terms) {
    if (terms.size() <= most) return;
    const auto& documents = counter.documentFrequencies();
    const auto isKeptBefore = [&](std::uint32_t a, std::uint32_t b) {
        if (documents[a] != documents[b]) return documents[a] > documents[b];
        return counter.term(a) > counter.term(b);
    };
    std::ranges::nth_element(terms, terms.begin() + static_cast<std::ptrdiff_t>(most),
                             isKeptBefore);
    terms.resize(most);
}

/// The postings of the chosen terms, in their order.
std::vector<std::vector<Posting>> collectPostings(const TermCounter& counter, const Terms& chosen,
                                                  ProgressPhase& phase) {
    std::vector<std::uint32_t> rankOf(counter.numTerms(), TermCounter::kDropped);
    std::vector<std::vector<Posting>> postings(chosen.size());
    for (std::uint32_t rank = 0; rank < chosen.size(); ++rank) {
        rankOf[chosen[rank]] = rank;
        postings[rank].reserve(counter.documentFrequencies()[chosen[rank]]);
    }
    std::uint32_t last = 0;
    counter.forEach([&](std::uint32_t document, std::uint32_t term, std::uint32_t count) {
        if (std::exchange(last, document) != document) phase.advance(0);
        const std::uint32_t rank = rankOf[term];
        if (rank != TermCounter::kDropped) postings[rank].push_back({document, count});
    });
    return postings;
}

}  // namespace

std::vector<std::uint32_t> selectTerms(const TermCounter& counter,
                                       const TextMiner::Settings& settings) {
    const std::uint32_t flags = settings.flags.vocabularyFlags;
    const auto& documents = counter.documentFrequencies();
    const auto all = static_cast<double>(counter.numDocuments());
    Terms terms(counter.numTerms());
    std::iota(terms.begin(), terms.end(), 0U);
    std::erase_if(terms, [&](std::uint32_t term) {
        const double percent = static_cast<double>(documents[term]) / all * 100.0;
        return ((flags & Flags::kMinTermFrequency) != 0 && percent < settings.minTermFrequency) ||
               ((flags & Flags::kMaxTermFrequency) != 0 && percent >= settings.maxTermFrequency);
    });
    if ((flags & Flags::kLimitVocabulary) != 0) limitTerms(counter, settings.maxVocabulary, terms);
    return terms;
}

void fillVocabulary(const TermCounter& counter, std::vector<std::uint32_t> chosen,
                    TextMiner::Corpus& corpus, ProgressPhase& phase) {
    if (chosen.empty()) throw TMEmptyVocabulary();
    std::ranges::sort(chosen, [&](std::uint32_t a, std::uint32_t b) {
        return counter.term(a) < counter.term(b);
    });
    std::vector<std::vector<Posting>> postings = collectPostings(counter, chosen, phase);
    corpus.terms.reserve(chosen.size());
    corpus.documentFrequencies.reserve(chosen.size());
    corpus.globalFrequencies.reserve(chosen.size());
    for (std::size_t rank = 0; rank < chosen.size(); ++rank) {
        const std::uint32_t term = chosen[rank];
        const std::wstring text(counter.term(term));
        corpus.terms.push_back(text);
        corpus.documentFrequencies.emplace(text, counter.documentFrequencies()[term]);
        corpus.globalFrequencies.emplace(text, counter.globalFrequencies()[term]);
        corpus.vocabulary.emplace_hint(corpus.vocabulary.end(), text, std::move(postings[rank]));
        if (rank % 1024 == 0) phase.advance(0);
    }
}

}  // namespace Veltrix::Engine::TM
