#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/TM/TextMiner.h"
#include "engine/textmining/TM/WordTable.h"

namespace Veltrix::Engine::TM {

/// Cuts normalised documents into tokens and counts their terms, document after document. What
/// becomes of a token is found out once for each distinct one.
class TermCounter {
  public:
    /// What a token that is dropped is to the rule below.
    static constexpr std::uint32_t kDropped = WordTable::kNone;

    struct TermCount {
        std::uint32_t term;
        std::uint32_t count;
    };

    /// The terms of tokens after the whole pipeline; those of `excluded`, if any, are dropped.
    TermCounter(const TextMiner::Settings& settings, const TermSet* excluded);
    /// Only the tokens of `included` count, as they are.
    explicit TermCounter(const TermSet& included);

    /// Makes these the terms, numbered in their order, and admits no others.
    void admitOnly(const std::vector<std::wstring_view>& terms);

    /// The next document.
    void count(std::wstring_view text, ProgressPhase& phase);

    std::uint32_t numTerms() const noexcept { return terms_.size(); }
    std::wstring_view term(std::uint32_t term) const noexcept { return terms_[term]; }
    /// By term: in how many documents it is, and how often in all.
    const std::vector<std::uint32_t>& documentFrequencies() const noexcept {
        return documentFrequencies_;
    }
    const std::vector<std::uint64_t>& globalFrequencies() const noexcept {
        return globalFrequencies_;
    }
    std::size_t numDocuments() const noexcept { return ends_.size(); }
    /// Calls visit(document, term, count) for all counts, document after document.
    template <class Visit>
    void forEach(const Visit& visit) const {
        std::size_t place = 0;
        for (std::size_t document = 0; document < ends_.size(); ++document) {
            for (; place < ends_[document]; ++place) {
                visit(static_cast<std::uint32_t>(document), counts_[place].term,
                      counts_[place].count);
            }
        }
    }

  private:
    void add(std::wstring_view token, std::uint64_t hash);
    /// The term of a distinct token, or `kDropped`.
    std::uint32_t termOf(std::wstring_view token);
    std::uint32_t processed(std::wstring_view token);
    std::uint32_t intern(std::wstring_view term);
    void endDocument();

    const TextMiner::Settings* settings_ = nullptr;
    const TermSet* excluded_ = nullptr;
    const TermSet* included_ = nullptr;
    bool isClosed_ = false;
    std::uint64_t maxLength_;

    WordTable tokens_;
    std::vector<std::uint32_t> termOfToken_;
    WordTable terms_;
    std::vector<std::uint32_t> inDocument_;  ///< by term, in the document under way
    std::vector<std::uint32_t> present_;     ///< terms of the document under way
    std::vector<TermCount> counts_;
    std::vector<std::size_t> ends_;  ///< of the documents among the counts
    std::vector<std::uint32_t> documentFrequencies_;
    std::vector<std::uint64_t> globalFrequencies_;
    std::wstring stem_;
};

}  // namespace Veltrix::Engine::TM
