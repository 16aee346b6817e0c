#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

/// @file
/// From documents to terms, their counts and a weighted document-term matrix.

namespace Veltrix::Engine::TM {

/// 64-bit FNV-1a (Fowler, Noll, Vo) over the bytes of a wide text, the low byte of a unit first.
struct TermHash {
    using is_transparent = void;

    std::size_t operator()(std::wstring_view text) const noexcept {
        std::uint64_t hash = kBasis;
        for (const wchar_t unit : text) hash = add(hash, unit);
        return static_cast<std::size_t>(hash);
    }

    static constexpr std::uint64_t kBasis = 14695981039346656037U;
    static constexpr std::uint64_t kPrime = 1099511628211U;

    /// Takes in one unit. A byte of 0 only multiplies, so a unit of one byte takes one step.
    static constexpr std::uint64_t add(std::uint64_t hash, wchar_t unit) noexcept {
        auto value = static_cast<std::make_unsigned_t<wchar_t>>(unit);
        if (value < 256) return (hash ^ value) * kWholeUnit;
        for (std::size_t k = 0; k < sizeof(wchar_t); ++k) {
            hash = (hash ^ (value & 255U)) * kPrime;
            value = static_cast<std::make_unsigned_t<wchar_t>>(value >> 8U);
        }
        return hash;
    }

  private:
    static constexpr std::uint64_t kWholeUnit =
        sizeof(wchar_t) == 2 ? kPrime * kPrime : kPrime * kPrime * kPrime * kPrime;
};

using TermSet = std::unordered_set<std::wstring, TermHash, std::equal_to<>>;
using TermMap = std::unordered_map<std::wstring, std::wstring, TermHash, std::equal_to<>>;
using TermFrequencies = std::unordered_map<std::wstring, std::uint64_t, TermHash, std::equal_to<>>;

/// A term's count in a document; documents are counted from 0.
struct Posting {
    std::uint32_t document = 0;
    std::uint32_t count = 0;

    friend bool operator==(const Posting&, const Posting&) = default;
};

/// The terms in ascending order, each with its postings by ascending document.
using Vocabulary = std::map<std::wstring, std::vector<Posting>, std::less<>>;

/// What is done to documents and to the vocabulary, as sets of bits.
struct PreprocessingFlags {
    static constexpr std::uint32_t kRemoveExcluded = 1;    ///< excluded terms and stop words
    static constexpr std::uint32_t kMinTermFrequency = 2;  ///< drop terms that are too rare
    static constexpr std::uint32_t kMaxTermFrequency = 4;  ///< drop terms that are too common
    static constexpr std::uint32_t kLimitVocabulary = 8;   ///< keep the most common terms only
    static constexpr std::uint32_t kLowerCase = 1;
    static constexpr std::uint32_t kStem = 2;
    static constexpr std::uint32_t kMaxTermLength = 4;  ///< drop tokens that are too long
    static constexpr std::uint32_t kReplaceUrls = 8;
    static constexpr std::uint32_t kReplaceEmails = 16;
    static constexpr std::uint32_t kReplaceNumbers = 32;
    static constexpr std::uint32_t kReplaceMoney = 64;
    static constexpr std::uint32_t kStripMarkup = 128;
    static constexpr std::uint32_t kMinStemmedLength = 256;  ///< drop stems that are too short

    std::uint32_t vocabularyFlags = kRemoveExcluded;
    /// All but `kMinStemmedLength`.
    std::uint32_t documentFlags = 255;

    friend bool operator==(const PreprocessingFlags&, const PreprocessingFlags&) = default;
};

/// How counts become weights; see `TextMiner::buildTDM`.
struct TF_IDF_Scheme {  // NOLINT(readability-identifier-naming)
    /// 1 the count, 2 whether there is one, 3 ln(count + 1), 4 ½(count/largest of the document +
    /// 1).
    std::int32_t localWeight = 1;
    /// 1 none, 2 inverse document frequency, 3 reciprocal of the global frequency, 4 global over
    /// document frequency, 5 entropy, 6 probabilistic inverse document frequency.
    std::int32_t globalWeight = 2;
    /// 1 none, 2 each document of unit length.
    std::int32_t normalization = 1;
};

/// The entries other than 0 of a document-term matrix, by ascending term and document.
struct SparseTDM {
    std::int64_t numDocuments = 0;
    std::int64_t numTerms = 0;
    IntVector documents;
    IntVector terms;
    Vector weights;
};

struct TermFrequency {
    std::wstring term;
    std::uint64_t frequency = 0;

    friend bool operator==(const TermFrequency&, const TermFrequency&) = default;
};

/// The stem of an English word in lower case by the Porter2 algorithm (M. Porter, Snowball English
/// stemmer, as published from 2006 to 2023). Words of fewer than 3 or more than 24 characters stay
/// as they are; characters other than a to z count as consonants.
[[nodiscard]] VELTRIX_ENGINE_API std::wstring stem(std::wstring_view word);

/// The words that carry no meaning of their own, ascending: the default stop words.
[[nodiscard]] VELTRIX_ENGINE_API std::span<const std::wstring_view> defaultStopwords() noexcept;

/// Turns documents into a vocabulary of normalised terms and counts the terms of every document.
///
/// Each document goes through these steps, those with a flag when it is set:
///   1. its length in characters and its tokens are counted (as step 10 makes them);
///   2. `extractPartofDocument`;
///   3. `kLowerCase`: every character by the simple mapping of Unicode;
///   4. phrases are replaced wherever they occur, longer ones first, then in ascending order;
///   5. `kStripMarkup`: deletes `<[^<>]+>`;
///   6. `kReplaceEmails`: `\b[a-z0-9._%+-]+@[a-z0-9.-]+.[a-z]{2,4}\b`;
///   7. `kReplaceMoney`: `\b[$]+number\b`;
///   8. `kReplaceNumbers`:
///      `\b[+-]?(?=[.]?[0-9])[0-9]*(?:[.][0-9]*)?(?:[Ee][+-]?[0-9]+)?\b`, empty matches too, so
///      that "5abc" becomes "numberterm5abc";
///   9. `kReplaceUrls`: `\b(http|https|ftp|telnet|file)://+.*\b`, to the last word of its line;
///  10. it is cut into tokens at blanks, tabs, line ends, back-quotes and
///      `",?.'~|:/!@#$%^&*()[]{}<>_;=-+\`;
///  11. `kMaxTermLength`: tokens of more than `maxTermLength` characters are dropped;
///  12. tokens of the digits 0 to 9 only are dropped;
///  13. `kRemoveExcluded`: excluded terms are dropped, as are the default stop words but those
///      removed from them;
///  14. `kStem`: tokens become their stems (`stem`);
///  15. `kMinStemmedLength`: tokens of fewer than `minStemmedTermLength` characters are dropped;
///  16. tokens that are a key of `synonyms` become its value, once;
///  17. the tokens are counted.
/// The patterns are ECMAScript's, case-sensitive: word characters are ASCII letters, digits and
/// "_"; "." is anything but `\n`, `\r`, U+2028 and U+2029. Replacements are taken literally.
/// Phrases are looked for in the lower-cased text; empty ones are passed over.
///
/// Then, with p the documents that hold a term in per cent of all, terms are dropped:
/// `kMinTermFrequency` those of p < `minTermFrequency`, `kMaxTermFrequency` those of p ≥
/// `maxTermFrequency` (at 100 those in every document), `kLimitVocabulary` all but `maxVocabulary`
/// terms, those in the fewest documents first and of them the first in order.
///
/// When included terms are set, steps 1, 2, 3 and 10 are done only, and only included terms are
/// counted; nothing is dropped afterwards.
///
/// A character is a Unicode code point, whatever the width of `wchar_t`; a lone surrogate counts as
/// one. Documents may be empty. Time is linear in the text for any text; memory beside texts and
/// results is that of the distinct tokens and 8 bytes for each term of a document. Operations that
/// fail leave the miner as it was; long ones report progress. A miner may be read from several
/// threads.
class VELTRIX_ENGINE_API TextMiner : public JSON::Storable {
  public:
    /// The settings in one piece.
    struct Settings {
        PreprocessingFlags flags;
        std::uint64_t minStemmedTermLength = 2;
        std::uint64_t maxTermLength = 20;
        double minTermFrequency = 0.0;    ///< per cent of the documents
        double maxTermFrequency = 100.0;  ///< per cent of the documents
        std::uint64_t maxVocabulary = 1000;
        std::wstring urlToken = L"urlterm";
        std::wstring emailToken = L"emailterm";
        std::wstring numberToken = L"numberterm";
        std::wstring moneyToken = L"moneyamountterm";
        std::wstring startPhrase;
        std::wstring endPhrase;
        TermMap synonyms;
        TermMap phrases;
        TermSet includedTerms;
        TermSet excludedTerms;
        TermSet removedDefaultStopwords;
    };
    /// What was found in the documents.
    struct Corpus {
        std::uint64_t numDocuments = 0;
        IntVector tokenCounts;
        IntVector documentLengths;
        StringVector terms;
        Vocabulary vocabulary;
        TermFrequencies documentFrequencies;
        TermFrequencies globalFrequencies;
    };

    TextMiner() = default;
    explicit TextMiner(const PreprocessingFlags& flags) { settings_.flags = flags; }
    explicit TextMiner(Settings settings) : settings_(std::move(settings)) {}
    TextMiner(const TextMiner&) = default;
    TextMiner(TextMiner&&) noexcept = default;
    TextMiner& operator=(const TextMiner& other) { return *this = TextMiner(other); }
    TextMiner& operator=(TextMiner&&) noexcept = default;
    ~TextMiner() override;

    /// Makes the vocabulary and the counts of a column's texts. Throws `TMEmptyVocabulary` when no
    /// term is left. While `kRemoveExcluded` is set, `getExcludedTerms` holds the stop words that
    /// were applied too from then on.
    TextMiner& preprocess(const ConstDataFrameColumn& documents);
    /// Counts the terms of a fitted vocabulary in further documents: all steps from 1 to 16, then
    /// only those terms count. They are the columns in ascending order, whether a document holds
    /// them or not. The corpus at hand is replaced. Included terms play no part: a vocabulary of
    /// theirs is found again with `kLowerCase` as the only document flag and without
    /// `kRemoveExcluded`. Throws `TMNewDocsDontMatchVocabulary` when the documents hold none of the
    /// terms, `TMEmptyVocabulary` when there are none.
    TextMiner& preprocessNewCorpus(const std::vector<std::wstring>& documents,
                                   const std::vector<std::wstring>& vocabulary);
    TextMiner& preprocessNewCorpus(const ConstDataFrameColumn& documents,
                                   const StringVector& vocabulary);
    /// Forgets the documents; the settings stay.
    TextMiner& reset() noexcept;

    /// The text between the first `startPhrase` and the first `endPhrase` after it, both left out.
    /// A phrase that is empty or does not occur leaves its side uncut.
    [[nodiscard]] std::wstring extractPartofDocument(std::wstring_view text) const;

    /// The documents × terms matrix of weights l·g. With N documents, term j in df of them and gf
    /// times in all, c times in document i, whose largest count is m:
    ///   - local weight 1: l = c; 2: l = 1 for c > 0, else 0; 3: l = ln(c + 1); 4: l = ½(c/m + 1),
    ///     and ½ for m = 0; any other: 0;
    ///   - global weight 1: g = 1; 2: g = ln(N/(df + 1)); 3: g = 1/gf; 4: g = gf/df;
    ///     5: g = 1 − Σᵢ c ln c/ln N; 6: g = max(ln((N − df)/df), 0); any other: 0. A term that
    ///     would divide by 0 has g = 0: one without occurrences for 3, 4 and 6, one that occurs in
    ///     the only document for 5;
    ///   - normalisation 2: rows are divided by their Euclidean length; rows of zeros stay.
    /// Before `preprocess` the matrix is empty. Throws `Exception` that names the bytes needed when
    /// the matrix is larger than the machine's memory or its documents or terms exceed 2³¹ − 1.
    [[nodiscard]] Matrix buildTDM(const TF_IDF_Scheme& scheme = {}) const;
    /// The same without the zeros; with local weight 4 there are as good as none. Throws as
    /// `buildTDM`.
    [[nodiscard]] SparseTDM buildSparseTDM(const TF_IDF_Scheme& scheme = {}) const;

    /// Lists the `count` terms of the greatest global frequency, equal ones in ascending order; of
    /// the first `limit` of them, if `withDocuments`, the document frequencies as well. The lists
    /// replace those made before. Without terms nothing is done. Throws `Exception` for negative
    /// numbers.
    TextMiner& getTopTerms(std::int64_t count, bool withDocuments = false, std::int64_t limit = 0);
    /// The lists made by `getTopTerms`.
    const std::vector<TermFrequency>& getTopTermList() const noexcept { return topTerms_; }
    const std::vector<TermFrequency>& getTopTermDocuments() const noexcept {
        return topTermDocuments_;
    }

    std::uint64_t getNumDocuments() const noexcept { return corpus_.numDocuments; }
    /// Tokens of each document as it was given.
    const IntVector& getTokenCounts() const noexcept { return corpus_.tokenCounts; }
    /// Characters of each document as it was given.
    const IntVector& getDocumentLengths() const noexcept { return corpus_.documentLengths; }
    /// The terms, ascending: the columns of the matrix.
    const StringVector& getTerms() const noexcept { return corpus_.terms; }
    const Vocabulary& getVocabulary() const noexcept { return corpus_.vocabulary; }
    const TermFrequencies& getDocumentFrequencies() const noexcept {
        return corpus_.documentFrequencies;
    }
    const TermFrequencies& getGlobalFrequencies() const noexcept {
        return corpus_.globalFrequencies;
    }
    /// Of one term. They throw `std::out_of_range` for a text that is no term, the first with the
    /// text "invalid map<K, T> key", the others with "invalid unordered_map<K, T> key".
    const std::vector<Posting>& getPostings(std::wstring_view term) const;
    std::uint64_t getDocumentFrequency(std::wstring_view term) const;
    std::uint64_t getGlobalFrequency(std::wstring_view term) const;

    /// Settings take effect with the next `preprocess`.
    const Settings& getSettings() const noexcept { return settings_; }
    TextMiner& setSettings(Settings settings) noexcept;
    const PreprocessingFlags& getPreprocessingFlags() const noexcept { return settings_.flags; }
    TextMiner& setPreprocessingFlags(const PreprocessingFlags& flags) noexcept;
    const std::wstring& getUrlToken() const noexcept { return settings_.urlToken; }
    TextMiner& setUrlToken(std::wstring token) noexcept;
    const std::wstring& getEmailToken() const noexcept { return settings_.emailToken; }
    TextMiner& setEmailToken(std::wstring token) noexcept;
    const std::wstring& getNumberToken() const noexcept { return settings_.numberToken; }
    TextMiner& setNumberToken(std::wstring token) noexcept;
    const std::wstring& getMoneyToken() const noexcept { return settings_.moneyToken; }
    TextMiner& setMoneyToken(std::wstring token) noexcept;
    const std::wstring& getStartPhrase() const noexcept { return settings_.startPhrase; }
    TextMiner& setStartPhrase(std::wstring phrase) noexcept;
    const std::wstring& getEndPhrase() const noexcept { return settings_.endPhrase; }
    TextMiner& setEndPhrase(std::wstring phrase) noexcept;
    /// Limits below 0 throw `Exception`.
    std::uint64_t getMinStemmedTermLength() const noexcept {
        return settings_.minStemmedTermLength;
    }
    template <std::integral Number>
    TextMiner& setMinStemmedTermLength(Number length) {
        settings_.minStemmedTermLength = limit("minimum stemmed term length", length);
        return *this;
    }
    std::uint64_t getMaxTermLength() const noexcept { return settings_.maxTermLength; }
    template <std::integral Number>
    TextMiner& setMaxTermLength(Number length) {
        settings_.maxTermLength = limit("maximum term length", length);
        return *this;
    }
    std::uint64_t getMaxVocabulary() const noexcept { return settings_.maxVocabulary; }
    template <std::integral Number>
    TextMiner& setMaxVocabulary(Number terms) {
        settings_.maxVocabulary = limit("maximum vocabulary", terms);
        return *this;
    }
    /// Per cent; any number goes, NaN drops nothing.
    double getMinTermFrequency() const noexcept { return settings_.minTermFrequency; }
    TextMiner& setMinTermFrequency(double percent) noexcept;
    double getMaxTermFrequency() const noexcept { return settings_.maxTermFrequency; }
    TextMiner& setMaxTermFrequency(double percent) noexcept;
    const TermMap& getSynonyms() const noexcept { return settings_.synonyms; }
    TextMiner& setSynonyms(TermMap synonyms) noexcept;
    const TermMap& getPhrases() const noexcept { return settings_.phrases; }
    TextMiner& setPhrases(TermMap phrases) noexcept;
    const TermSet& getIncludedTerms() const noexcept { return settings_.includedTerms; }
    TextMiner& setIncludedTerms(const std::vector<std::wstring>& terms);
    /// Those that were set, and the stop words that the last `preprocess` added to them.
    const TermSet& getExcludedTerms() const noexcept {
        return appliedExcluded_.empty() ? settings_.excludedTerms : appliedExcluded_;
    }
    TextMiner& setExcludedTerms(const std::vector<std::wstring>& terms);
    const TermSet& getRemovedDefaultStopwords() const noexcept {
        return settings_.removedDefaultStopwords;
    }
    TextMiner& setRemovedDefaultStopwords(const std::vector<std::wstring>& words);

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<TextMiner>;

    using Texts = std::vector<std::wstring_view>;

    template <std::integral Number>
    static std::uint64_t limit(std::string_view what, Number number) {
        if constexpr (std::is_signed_v<Number>) {
            if (number < 0) failLimit(what, number);
        }
        return static_cast<std::uint64_t>(number);
    }
    [[noreturn]] static void failLimit(std::string_view what, std::int64_t found);

    TextMiner& preprocess(const Texts& documents);
    TextMiner& preprocessNewCorpus(const Texts& documents, const Texts& vocabulary);
    Corpus preprocessAll(const Texts& documents, const TermSet& excluded) const;
    Corpus preprocessIncludedTermsOnly(const Texts& documents) const;
    /// The excluded terms with the default stop words.
    TermSet collectExcluded() const;
    void take(Corpus&& corpus) noexcept;

    Settings settings_;
    Corpus corpus_;
    TermSet appliedExcluded_;
    std::vector<TermFrequency> topTerms_;
    std::vector<TermFrequency> topTermDocuments_;
};

}  // namespace Veltrix::Engine::TM
