#include "engine/textmining/TM/Stemmer.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>

#include "Veltrix/Engine/TM/TextMiner.h"
#include "support/text/Characters.h"

namespace Veltrix::Engine::TM {
namespace {

using namespace std::string_view_literals;

/// A suffix and what a step puts in its place.
struct Rule {
    std::string_view suffix;
    std::string_view replacement;
    /// Letters of which one must stand before it; any may when there are none.
    std::string_view before{};
    bool needsRegion2 = false;
};

/// `ends_with` without a call, which would cost more than the few comparisons.
constexpr bool endsIn(std::string_view word, std::string_view suffix) {
    if (word.size() < suffix.size()) return false;
    const std::size_t start = word.size() - suffix.size();
    for (std::size_t i = suffix.size(); i > 0; --i) {
        if (word[start + i - 1] != suffix[i - 1]) return false;
    }
    return true;
}

/// The rules of a step by the last letter of their suffix, longer suffixes first.
template <std::size_t N>
class Rules {
  public:
    explicit constexpr Rules(std::array<Rule, N> rules) : rules_(rules) {
        // By insertion, as the standard library sorts nothing stably at compile time.
        for (std::size_t i = 1; i < N; ++i) {
            for (std::size_t k = i; k > 0 && isBefore(rules_[k], rules_[k - 1]); --k) {
                const Rule moved = rules_[k];
                rules_[k] = rules_[k - 1];
                rules_[k - 1] = moved;
            }
        }
        for (const Rule& rule : rules_) ++starts_[place(rule.suffix.back()) + 1];
        for (std::size_t letter = 1; letter < starts_.size(); ++letter) {
            starts_[letter] = static_cast<std::uint8_t>(starts_[letter] + starts_[letter - 1]);
        }
    }

    /// The rule of the longest suffix of the word, or none.
    constexpr const Rule* find(std::string_view word) const {
        if (word.empty() || place(word.back()) >= 26) return nullptr;
        const std::size_t letter = place(word.back());
        for (std::size_t k = starts_[letter]; k < starts_[letter + 1]; ++k) {
            const std::string_view suffix = rules_[k].suffix;
            if (endsIn(word, suffix)) return &rules_[k];
        }
        return nullptr;
    }

  private:
    static constexpr std::size_t place(char letter) {
        return static_cast<std::size_t>(static_cast<unsigned char>(letter)) - 'a';
    }
    static constexpr bool isBefore(const Rule& a, const Rule& b) {
        if (a.suffix.back() != b.suffix.back()) return a.suffix.back() < b.suffix.back();
        return a.suffix.size() > b.suffix.size();
    }

    std::array<Rule, N> rules_;
    std::array<std::uint8_t, 27> starts_{};
};

constexpr Rules kStep2(std::to_array<Rule>(
    {{"tional", "tion"}, {"enci", "ence"},   {"anci", "ance"},   {"abli", "able"},
     {"entli", "ent"},   {"izer", "ize"},    {"ization", "ize"}, {"ational", "ate"},
     {"ation", "ate"},   {"ator", "ate"},    {"alism", "al"},    {"aliti", "al"},
     {"alli", "al"},     {"fulness", "ful"}, {"ousli", "ous"},   {"ousness", "ous"},
     {"iveness", "ive"}, {"iviti", "ive"},   {"biliti", "ble"},  {"bli", "ble"},
     {"ogi", "og", "l"}, {"fulli", "ful"},   {"lessli", "less"}, {"li", "", "cdeghkmnrt"}}));

constexpr Rules kStep3(std::to_array<Rule>({{"tional", "tion"},
                                            {"ational", "ate"},
                                            {"alize", "al"},
                                            {"icate", "ic"},
                                            {"iciti", "ic"},
                                            {"ical", "ic"},
                                            {"ful", ""},
                                            {"ness", ""},
                                            {"ative", "", "", true}}));

constexpr Rules kStep4(std::to_array<Rule>({{"al", ""},
                                            {"ance", ""},
                                            {"ence", ""},
                                            {"er", ""},
                                            {"ic", ""},
                                            {"able", ""},
                                            {"ible", ""},
                                            {"ant", ""},
                                            {"ement", ""},
                                            {"ment", ""},
                                            {"ent", ""},
                                            {"ism", ""},
                                            {"ate", ""},
                                            {"iti", ""},
                                            {"ous", ""},
                                            {"ive", ""},
                                            {"ize", ""},
                                            {"ion", "", "st"}}));

/// Up to eight letters as a number, so that short words compare in one step.
constexpr std::uint64_t packed(std::string_view word) {
    std::uint64_t number = 0;
    for (std::size_t i = word.size(); i > 0; --i) {
        number = number << 8U | static_cast<unsigned char>(word[i - 1]);
    }
    return number;
}

/// A word with a stem of its own.
struct OwnStem {
    constexpr OwnStem(std::string_view word, std::string_view itsStem)
        : key(packed(word)), stem(itsStem) {}

    std::uint64_t key;
    std::string_view stem;
};

constexpr std::size_t kLongestException = 6;
constexpr std::array<OwnStem, 18> kExceptions{{{"skis", "ski"},
                                               {"skies", "sky"},
                                               {"dying", "die"},
                                               {"lying", "lie"},
                                               {"tying", "tie"},
                                               {"idly", "idl"},
                                               {"gently", "gentl"},
                                               {"ugly", "ugli"},
                                               {"early", "earli"},
                                               {"only", "onli"},
                                               {"singly", "singl"},
                                               {"sky", "sky"},
                                               {"news", "news"},
                                               {"howe", "howe"},
                                               {"atlas", "atlas"},
                                               {"cosmos", "cosmos"},
                                               {"bias", "bias"},
                                               {"andes", "andes"}}};

/// Words that are left alone after step 1a.
constexpr std::size_t kLongestDone = 7;
constexpr std::array kDoneAfterStep1a{packed("inning"),  packed("outing"),  packed("canning"),
                                      packed("herring"), packed("earring"), packed("proceed"),
                                      packed("exceed"),  packed("succeed")};

/// Beginnings behind which the first region starts.
constexpr std::array kRegionPrefixes{"gener"sv, "commun"sv, "arsen"sv};

/// What a character other than ASCII is to the steps: a consonant that no suffix has.
constexpr char kForeign = '\x01';

constexpr bool isVowel(char c) {
    constexpr std::uint32_t kVowels = 1U | 1U << 4U | 1U << 8U | 1U << 14U | 1U << 20U | 1U << 24U;
    const unsigned letter = static_cast<unsigned char>(c) - unsigned{'a'};
    return letter < 26 && (kVowels >> letter & 1U) != 0;
}
static_assert(isVowel('a') && isVowel('e') && isVowel('i') && isVowel('o') && isVowel('u') &&
              isVowel('y') && !isVowel('Y'));

/// Works on a word of up to `kLongestStemmed` characters. Only its end changes; "Y" stands for a y
/// that is a consonant.
class Porter2 {
  public:
    explicit Porter2(std::span<char> word) : word_(word.data()), size_(word.size()) {}

    /// Returns the length of the stem.
    std::size_t run() {
        markConsonants();
        markRegions();
        step1a();
        if (!isDone()) {
            step1b();
            step1c();
            step2();
            step3();
            step4();
            step5();
        }
        if (marked_) std::replace(word_, word_ + size_, 'Y', 'y');
        return size_;
    }

  private:
    std::string_view view() const { return {word_, size_}; }
    bool ends(std::string_view suffix) const { return endsIn(view(), suffix); }
    bool isVowelAt(std::size_t i) const { return isVowel(word_[i]); }
    bool hasVowelBefore(std::size_t end) const {
        return std::any_of(word_, word_ + end, [](char c) { return isVowel(c); });
    }
    /// Puts `replacement` for what stands behind the first `kept` characters.
    void replaceFrom(std::size_t kept, std::string_view replacement) {
        std::copy(replacement.begin(), replacement.end(), word_ + kept);
        size_ = kept + replacement.size();
    }
    bool isDone() const {
        if (size_ > kLongestDone) return false;
        return std::ranges::find(kDoneAfterStep1a, packed(view())) != kDoneAfterStep1a.end();
    }
    bool isInRegion1(std::size_t start) const { return start >= region1_; }
    bool isInRegion2(std::size_t start) const { return start >= region2_; }

    /// A y at the start or behind a vowel.
    void markConsonants() {
        for (std::size_t i = 0; i < size_; ++i) {
            if (word_[i] == 'y' && (i == 0 || isVowelAt(i - 1))) {
                word_[i] = 'Y';
                marked_ = true;
            }
        }
    }
    /// Behind the first consonant after a vowel from `i` on.
    std::size_t regionFrom(std::size_t i) const {
        while (i < size_ && !isVowelAt(i)) ++i;
        while (i < size_ && isVowelAt(i)) ++i;
        return std::min(i + 1, size_);
    }
    void markRegions() {
        region1_ = 0;
        for (const std::string_view prefix : kRegionPrefixes) {
            const bool begins = word_[0] == prefix[0] && view().starts_with(prefix);
            if (begins) region1_ = prefix.size();
        }
        if (region1_ == 0) region1_ = regionFrom(0);
        region2_ = regionFrom(region1_);
    }
    /// Whether the first `end` characters end in a short syllable.
    bool endsInShortSyllable(std::size_t end) const {
        if (end < 2 || isVowelAt(end - 1) || !isVowelAt(end - 2)) return false;
        if (end == 2) return true;
        const char last = word_[end - 1];
        return last != 'w' && last != 'x' && last != 'Y' && !isVowelAt(end - 3);
    }

    void step1a() {
        const char last = word_[size_ - 1];
        if (last != 's' && last != 'd' && last != '\'') return;
        for (const std::string_view possessive : {"'s'"sv, "'s"sv, "'"sv}) {
            if (!ends(possessive)) continue;
            size_ -= possessive.size();
            break;
        }
        if (ends("sses")) {
            size_ -= 2;
        } else if (ends("ied") || ends("ies")) {
            size_ -= size_ > 4 ? 2 : 1;
        } else if (ends("s") && !ends("us") && !ends("ss") && size_ > 2 &&
                   hasVowelBefore(size_ - 2)) {
            --size_;
        }
    }
    void step1b() {
        if (size_ == 0) return;
        const char last = word_[size_ - 1];
        if (last != 'd' && last != 'g' && last != 'y') return;
        for (const std::string_view suffix : {"eedly"sv, "eed"sv}) {
            if (!ends(suffix)) continue;
            const std::size_t start = size_ - suffix.size();
            if (isInRegion1(start)) replaceFrom(start, "ee");
            return;
        }
        for (const std::string_view suffix : {"ingly"sv, "edly"sv, "ing"sv, "ed"sv}) {
            if (!ends(suffix)) continue;
            if (hasVowelBefore(size_ - suffix.size())) {
                size_ -= suffix.size();
                repairEnd();
            }
            return;
        }
    }
    /// Behind what step 1b takes off.
    void repairEnd() {
        const bool isDouble = size_ >= 2 && word_[size_ - 1] == word_[size_ - 2];
        if (isDouble && "bdfgmnprt"sv.find(word_[size_ - 1]) != std::string_view::npos) {
            --size_;
            return;
        }
        const bool isShort = size_ == region1_ && endsInShortSyllable(size_);
        if (isShort || ends("at") || ends("bl") || ends("iz")) replaceFrom(size_, "e");
    }
    void step1c() {
        if (size_ > 2 && (word_[size_ - 1] == 'y' || word_[size_ - 1] == 'Y') &&
            !isVowelAt(size_ - 2)) {
            word_[size_ - 1] = 'i';
        }
    }
    /// Replaces the suffix of a rule found where it stands in the region and behind the right
    /// letter.
    void apply(const Rule* rule, std::size_t region) {
        if (rule == nullptr) return;
        const std::size_t start = size_ - rule->suffix.size();
        if (start < region || (rule->needsRegion2 && start < region2_)) return;
        const bool isFree = rule->before.empty();
        if (isFree ||
            (start > 0 && rule->before.find(word_[start - 1]) != std::string_view::npos)) {
            replaceFrom(start, rule->replacement);
        }
    }
    void step2() { apply(kStep2.find(view()), region1_); }
    void step3() { apply(kStep3.find(view()), region1_); }
    void step4() { apply(kStep4.find(view()), region2_); }
    void step5() {
        if (size_ == 0) return;
        const std::size_t start = size_ - 1;
        if (word_[start] == 'e') {
            if (isInRegion2(start) || (isInRegion1(start) && !endsInShortSyllable(start))) {
                size_ = start;
            }
        } else if (word_[start] == 'l' && start > 0 && word_[start - 1] == 'l' &&
                   isInRegion2(start)) {
            size_ = start;
        }
    }

    char* word_;
    std::size_t size_;
    std::size_t region1_ = 0;
    std::size_t region2_ = 0;
    bool marked_ = false;
};

/// The stem that a word has of its own; empty for others.
std::string_view findException(std::string_view word) {
    if (word.size() > kLongestException) return {};
    const std::uint64_t key = packed(word);
    for (const OwnStem& each : kExceptions) {
        if (each.key == key) return each.stem;
    }
    return {};
}

}  // namespace

std::size_t writeStem(std::wstring_view word, wchar_t* target) {
    const auto copyUnchanged = [&] {
        std::copy(word.begin(), word.end(), target);
        return word.size();
    };
    const std::size_t characters = Support::numCharacters(word);
    if (characters < kShortestStemmed || characters > kLongestStemmed) return copyUnchanged();
    std::array<char, 2 * kLongestStemmed> letters;
    for (std::size_t i = 0; i < word.size(); ++i) {
        const std::uint32_t value = Support::valueOf(word[i]);
        letters[i] = value != 0 && value < 128 ? static_cast<char>(value) : kForeign;
    }
    const std::string_view exception = findException({letters.data(), word.size()});
    if (!exception.empty()) {
        std::copy(exception.begin(), exception.end(), target);
        return exception.size();
    }
    const std::size_t dropped = letters[0] == '\'' ? 1 : 0;
    const std::span<char> kept = std::span(letters).subspan(dropped, word.size() - dropped);
    const std::size_t size = Porter2(kept).run();
    for (std::size_t i = 0; i < size; ++i) {
        target[i] = kept[i] == kForeign ? word[i + dropped] : static_cast<wchar_t>(kept[i]);
    }
    return size;
}

std::wstring stem(std::wstring_view word) {
    // Of 16-bit units a character may take two.
    std::array<wchar_t, 2 * kLongestStemmed> buffer;
    if (word.size() > buffer.size()) return std::wstring(word);
    return {buffer.data(), writeStem(word, buffer.data())};
}

}  // namespace Veltrix::Engine::TM
