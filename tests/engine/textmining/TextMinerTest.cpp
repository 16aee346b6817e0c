// The text miner against an independent program's results (tests/reference/text), and what those
// do not show: odd texts, bad input, progress.
#include "Veltrix/Engine/TM/TextMiner.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/Exceptions.h"
#include "tests/engine/Refusals.h"
#include "tests/support/TextCases.h"

namespace Veltrix::Testing {
namespace {

using namespace Engine::TM;
using Flags = PreprocessingFlags;
using Texts = std::vector<std::wstring>;

DataFrame frameOf(const Texts& texts) {
    StringVector column;
    for (const std::wstring& text : texts) column.push_back(text);
    DataFrame frame;
    frame.append(column, L"text");
    return frame;
}

TextMiner& preprocess(TextMiner& miner, const Texts& texts) {
    const DataFrame frame = frameOf(texts);
    return miner.preprocess(frame(Selection::all, 0));
}

/// A miner without stop words, with these document flags.
TextMiner plain(std::uint32_t documentFlags = 255) { return TextMiner(Flags{0, documentFlags}); }

/// "term:count term:count" in ascending order; "empty" without terms.
std::wstring termsOf(TextMiner miner, const Texts& texts) {
    try {
        preprocess(miner, texts);
    } catch (const Engine::TMEmptyVocabulary&) {
        return L"empty";
    }
    std::wstring result;
    for (const auto& [term, postings] : miner.getVocabulary()) {
        result += (result.empty() ? L"" : L" ") + term + L":" +
                  std::to_wstring(miner.getGlobalFrequency(term));
    }
    return result;
}

using Settings = TextMiner::Settings;
const std::map<std::string, std::uint32_t Flags::*> kFlags{
    {"vocabulary_flags", &Flags::vocabularyFlags}, {"document_flags", &Flags::documentFlags}};
const std::map<std::string, double Settings::*> kShares{
    {"min_term_frequency", &Settings::minTermFrequency},
    {"max_term_frequency", &Settings::maxTermFrequency}};
const std::map<std::string, std::uint64_t Settings::*> kLimits{
    {"max_vocabulary", &Settings::maxVocabulary},
    {"max_term_length", &Settings::maxTermLength},
    {"min_stemmed_term_length", &Settings::minStemmedTermLength}};
const std::map<std::string, std::wstring Settings::*> kTokens{
    {"url_token", &Settings::urlToken},       {"email_token", &Settings::emailToken},
    {"number_token", &Settings::numberToken}, {"money_token", &Settings::moneyToken},
    {"start_phrase", &Settings::startPhrase}, {"end_phrase", &Settings::endPhrase}};
const std::map<std::string, TermSet Settings::*> kSets{
    {"included_terms", &Settings::includedTerms}, {"excluded_terms", &Settings::excludedTerms}};
const std::map<std::string, TermMap Settings::*> kMaps{{"synonyms", &Settings::synonyms},
                                                       {"phrases", &Settings::phrases}};

Settings settingsOf(const TextCases& cases, const std::string& prefix) {
    Settings result;
    for (const auto& [key, value] : cases.firstsBelow(prefix + "settings.")) {
        const std::string name = key.substr(0, key.find('.'));
        if (kMaps.contains(name)) {
            (result.*kMaps.at(name))[WString::fromUtf8(key.substr(name.size() + 1)).str()] = value;
        } else if (kSets.contains(name)) {
            const Texts& terms = cases.list(prefix + "settings." + name);
            result.*kSets.at(name) = TermSet(terms.begin(), terms.end());
        } else if (kTokens.contains(name)) {
            result.*kTokens.at(name) = value;
        } else if (kShares.contains(name)) {
            result.*kShares.at(name) = std::stod(value);
        } else if (kFlags.contains(name)) {
            result.flags.*kFlags.at(name) = static_cast<std::uint32_t>(std::stoul(value));
        } else {
            result.*kLimits.at(name) = std::stoull(value);
        }
    }
    return result;
}

Texts corpusOf(const TextCases& cases, const std::string& name, const TextCases& corpora) {
    const std::wstring corpus = cases.list(name + ".corpus").at(0);
    const std::string key(corpus.begin(), corpus.end());
    if (corpora.has(key)) return corpora.list(key);
    if (key != "articles_each_document_followed_by_blank_and_the_word_everywhere")
        throw std::runtime_error(key);
    Texts texts = corpora.list("articles");
    for (std::wstring& text : texts) text += L" everywhere";
    return texts;
}

template <class Numbers>
std::vector<double> asDoubles(const Numbers& numbers) {
    return {numbers.begin(), numbers.end()};
}

void expectCorpus(const TextMiner& miner, const TextCases& cases, const std::string& prefix) {
    EXPECT_EQ(static_cast<double>(miner.getNumDocuments()),
              cases.numbers(prefix + "number_of_documents").at(0));
    EXPECT_EQ(asDoubles(miner.getTokenCounts()), cases.numbers(prefix + "raw_token_counts"));
    EXPECT_EQ(asDoubles(miner.getDocumentLengths()), cases.numbers(prefix + "document_lengths"));
    Texts terms, postings;
    std::vector<double> documents, frequencies;
    for (const WString& term : miner.getTerms()) {
        terms.push_back(term.str());
        documents.push_back(static_cast<double>(miner.getDocumentFrequency(term.view())));
        frequencies.push_back(static_cast<double>(miner.getGlobalFrequency(term.view())));
        std::wstring listed;
        for (const auto& [document, count] : miner.getPostings(term.view())) {
            listed += (listed.empty() ? L"" : L" ") + std::to_wstring(document) + L":" +
                      std::to_wstring(count);
        }
        postings.push_back(term.str() + L"|" + listed);
    }
    EXPECT_EQ(terms, cases.list(prefix + "terms"));
    EXPECT_EQ(documents, cases.numbers(prefix + "document_frequency"));
    EXPECT_EQ(frequencies, cases.numbers(prefix + "global_frequency"));
    EXPECT_EQ(postings, cases.list(prefix + "postings"));
}

TEST(TextMiner, StemsPublishedVocabulary) {
    std::ifstream file(std::string(kTestData) + "/text/stems.txt");
    int words = 0;
    for (std::string line; std::getline(file, line); ++words) {
        const std::size_t tab = line.find('\t');
        ASSERT_NE(tab, std::string::npos) << line;
        EXPECT_EQ(WString(stem(WString::fromUtf8(line.substr(0, tab)).view())).toUtf8(),
                  line.substr(tab + 1))
            << line;
    }
    EXPECT_EQ(words, 25709);
}

TEST(TextMiner, StemsAwkwardWords) {
    // Capitals are no letters of a suffix;
    const std::map<std::wstring, std::wstring> expected{
        {L"", L""},
        {L"'s", L"'s"},
        {L"''s", L""},
        {L"'''", L"'"},
        {L"RUNNING", L"RUNNING"},
        {L"sayYing", L"sayi"},
        {L"na\u00efvely", L"na\u00efv"},
        {L"\u4e2d\u6587ing", L"\u4e2d\u6587ing"},
        {L"\U0001F600runnings", L"\U0001F600run"},
        {std::wstring(18, L'a') + L"bating", std::wstring(18, L'a') + L"bat"},
        {std::wstring(19, L'a') + L"bating", std::wstring(19, L'a') + L"bating"}};
    for (const auto& [word, result] : expected) {
        EXPECT_EQ(stem(word), result) << WString(word).toUtf8();
    }
}

TEST(TextMiner, PreparesSingleTexts) {
    const TextCases cases("text/single_text_cases.txt");
    for (const std::string& name : cases.casesWith(".texts")) {
        const Texts& texts = cases.list(name + ".texts");
        const TextMiner miner(settingsOf(cases, name + "."));
        for (std::size_t i = 0; i < texts.size(); ++i) {
            std::map<std::wstring, int> counts;
            for (const std::wstring& token : cases.list(name + ".tokens." + std::to_string(i))) {
                ++counts[token];
            }
            std::wstring expected;
            for (const auto& [term, count] : counts) {
                expected += (expected.empty() ? L"" : L" ") + term + L":" + std::to_wstring(count);
            }
            EXPECT_EQ(termsOf(miner, {texts[i]}), expected.empty() ? L"empty" : expected)
                << name << " " << i;
        }
    }
}

TEST(TextMiner, FindsReferenceVocabularies) {
    const TextCases cases("text/pipeline_cases.txt");
    const TextCases corpora("text/corpora.txt");
    for (const std::string& name : cases.casesWith(".corpus")) {
        SCOPED_TRACE(name);
        const Texts texts = corpusOf(cases, name, corpora);
        TextMiner miner(settingsOf(cases, name + "."));
        if (!cases.has(name + ".fitted_on_first")) {
            expectCorpus(preprocess(miner, texts), cases, name + ".");
            continue;
        }
        const auto first =
            texts.begin() + static_cast<int>(cases.numbers(name + ".fitted_on_first").at(0));
        expectCorpus(preprocess(miner, {texts.begin(), first}), cases, name + ".fitted.");
        const DataFrame further = frameOf({first, texts.end()});
        const StringVector terms = miner.getTerms();
        miner.preprocessNewCorpus(further(Selection::all, 0), terms);
        expectCorpus(miner, cases, name + ".scored.");
    }
}

TEST(TextMiner, RemovesStopWords) {
    const TextCases cases("text/stopword_cases.txt");
    for (const std::string& name : cases.casesWith(".texts")) {
        SCOPED_TRACE(name);
        TextMiner miner(settingsOf(cases, name + "."));
        if (cases.has(name + ".removed_default_stopwords")) {
            miner.setRemovedDefaultStopwords(cases.list(name + ".removed_default_stopwords"));
        }
        expectCorpus(preprocess(miner, cases.list(name + ".texts")), cases, name + ".");
    }
    const auto words = defaultStopwords();
    EXPECT_GT(std::ranges::count_if(words, [](auto word) { return word.size() >= 4; }), 320);

    // A word that is taken out of the list later is a term again.
    TextMiner miner;
    preprocess(miner, {L"about copper"});
    EXPECT_TRUE(miner.getExcludedTerms().contains(L"about"));
    preprocess(miner.setRemovedDefaultStopwords({L"about"}), {L"about copper"});
    EXPECT_EQ(miner.getTerms(), (StringVector{L"about", L"copper"}));
}

void expectMatrices(const TextMiner& miner, const TextCases& cases, const std::string& prefix) {
    const int rows = static_cast<int>(miner.getNumDocuments());
    const int cols = static_cast<int>(miner.getTerms().size());
    for (const auto& [name, first] : cases.firstsBelow(prefix + "scheme_")) {
        if (name.find("relative") != std::string::npos) continue;
        SCOPED_TRACE(prefix + name);
        const auto code = [&, text = &name](std::size_t at) { return (*text)[at] - '0'; };
        const TF_IDF_Scheme scheme{code(0), code(2), code(4)};
        const std::vector<double> expected = cases.numbers(prefix + "scheme_" + name);
        const Matrix dense = miner.buildTDM(scheme);
        Matrix sparse(rows, cols);
        const SparseTDM entries = miner.buildSparseTDM(scheme);
        for (std::uint64_t k = 0; k < entries.weights.size(); ++k) {
            EXPECT_NE(entries.weights[k], 0.0);
            sparse(entries.documents[k], entries.terms[k]) = entries.weights[k];
        }
        ASSERT_EQ(dense.getNumRows(), rows);
        ASSERT_EQ(dense.getNumCols(), cols);
        EXPECT_TRUE(dense.equalTo(sparse, 0.0));
        for (int i = 0; i < rows; ++i) {
            for (int j = 0; j < cols; ++j) {
                const double value = expected.at(static_cast<std::size_t>(i * cols + j));
                EXPECT_NEAR(dense(i, j), value, 1e-9) << i << " " << j;
            }
        }
    }
}

TEST(TextMiner, WeightsTerms) {
    const TextCases small("text/weighting_small.txt");
    TextMiner miner(settingsOf(small, ""));
    preprocess(miner, small.list("texts"));
    expectMatrices(miner, small, "");

    const TextCases cases("text/weighting_cases.txt");
    const TextCases corpora("text/corpora.txt");
    for (const std::string& name : cases.casesWith(".corpus")) {
        TextMiner fitted(settingsOf(cases, name + "."));
        preprocess(fitted, corpusOf(cases, name, corpora));
        expectMatrices(fitted, cases, name + ".");
    }
}

TEST(TextMiner, TakesOddTexts) {
    const std::wstring nul(1, L'\0');
    const std::wstring lone(1, static_cast<wchar_t>(0xDC00));
    const std::uint32_t tokens = Flags::kMaxTermLength;
    const std::wstring a20(20, L'a');
    const std::wstring clef = L"\U0001D11E";
    std::wstring clefs;
    for (int k = 0; k < 20; ++k) clefs += clef;
    const TextMiner all = plain();
    TextMiner phrases = plain(Flags::kLowerCase);
    phrases.setPhrases(
        {{L"", L"never"}, {L"new york", L"ny"}, {L"york city", L"yc"}, {L"aa", L"b"}});
    phrases.setSynonyms({{L"b", L"c"}, {L"c", L"b"}, {L"ny", L"c"}});
    TextMiner marked = plain(0);
    marked.setStartPhrase(L"<<").setEndPhrase(L"<<");
    const std::vector<std::tuple<TextMiner, std::wstring, std::wstring>> cases{
        {all, L"a" + nul + L"b 5" + nul, L"a" + nul + L"b:1 numberterm" + nul + L":1"},
        {all, lone + L" x" + lone + L"ing", L"x" + lone + L"ing:1 " + lone + L":1"},
        {all, L"one\r\ntwo <a\r\nhref=x>three</a>four", L"one:1 threefour:1 two:1"},
        {all, L"see http://x.org/a b c\r\nnext", L"next:1 see:1 urlterm:1"},
        {all, L"see http://x.org/a b c\u2028next", L"see:1 urlterm\u2028next:1"},
        {all, L"e\u0301te\u0301 \u00c9T\u00c9 \u4e2d\u6587\uff0c\u6587",
         L"e\u0301te\u0301:1 \u00e9t\u00e9:1 "
         L"\u4e2d\u6587\uff0c\u6587:1"},
        {plain(tokens), a20 + L" " + a20 + L"a " + clefs + L" " + clefs + clef,
         a20 + L":1 " + clefs + L":1"},
        {plain(0), L"12 1a \u0663 \u00b2", L"1a:1 \u00b2:1 \u0663:1"},
        {phrases, L"New York City aaa York city b ny", L"ba:1 c:2 new:1 yc:2"},
        {marked, L"a << b c << d", L"b:1 c:1"},
        {all, L" .,;!?  <p> <> 1 ", L"numberterm:1"},
        {plain(255 - Flags::kReplaceNumbers), L"<p>12 <br/> 7", L"empty"}};
    for (const auto& [miner, text, expected] : cases) {
        EXPECT_EQ(termsOf(miner, {text}), expected) << WString(text).toUtf8();
    }
    EXPECT_EQ(marked.extractPartofDocument(L"a<<b"), L"b");

    // Tokens of a megabyte, and a document that is empty after a mark.
    TextMiner large = plain(255 - Flags::kMaxTermLength);
    preprocess(large, {std::wstring(1 << 20, L'x'), L"", L"x"});
    EXPECT_EQ(large.getTerms().size(), 2U);
    EXPECT_EQ(large.getDocumentLengths()[0], 1 << 20);
    EXPECT_EQ(large.getTokenCounts()[1], 0);
}

TEST(TextMiner, ListsTopTerms) {
    TextMiner miner = plain(0);
    EXPECT_TRUE(miner.getTopTerms(3).getTopTermList().empty());
    preprocess(miner, {L"b a a c", L"b d", L"c"});
    miner.getTopTerms(3, true, 2);
    using List = std::vector<TermFrequency>;
    EXPECT_EQ(miner.getTopTermList(), (List{{L"a", 2}, {L"b", 2}, {L"c", 2}}));
    EXPECT_EQ(miner.getTopTermDocuments(), (List{{L"a", 1}, {L"b", 2}}));
    miner.getTopTerms(99, false, 9);
    EXPECT_EQ(miner.getTopTermList().size(), 4U);
    EXPECT_TRUE(miner.getTopTermDocuments().empty());
}

TEST(TextMiner, WeighsWhereAFormulaWouldDivideByZero) {
    TextMiner miner = plain(0);
    const std::vector<std::wstring> texts{L"a a"};
    miner.preprocessNewCorpus(texts, {L"b", L"a", L"b"});
    EXPECT_EQ(miner.getTerms(), (StringVector{L"a", L"b"}));
    const std::map<int, std::pair<double, double>> weights{{2, {std::log(0.5), 0.0}},
                                                           {3, {0.5, 0.0}},
                                                           {4, {2.0, 0.0}},
                                                           {5, {0.0, 1.0}},
                                                           {6, {0.0, 0.0}}};
    for (const auto& [global, expected] : weights) {
        const Matrix matrix = miner.buildTDM({4, global, 1});
        EXPECT_DOUBLE_EQ(matrix(0, 0), expected.first) << global;
        EXPECT_DOUBLE_EQ(matrix(0, 1), 0.5 * expected.second) << global;
    }
}

TEST(TextMiner, RefusesWhatItCannotDo) {
    TextMiner fitted = plain();
    preprocess(fitted, {L"some text", L"of a few words"});
    const std::string before = fitted.toJson().toUtf8();
    const auto expectEmpty = [&](TextMiner miner, const Texts& texts) {
        EXPECT_THROW(preprocess(miner, texts), Engine::TMEmptyVocabulary);
    };
    expectEmpty(fitted, {});
    expectEmpty(fitted, {L"", L""});
    expectEmpty(TextMiner(), {L"the and of", L"about"});
    expectEmpty(TextMiner(Flags{Flags::kLimitVocabulary, 255}).setMaxVocabulary(0), {L"a"});
    expectEmpty(TextMiner(Flags{Flags::kMaxTermFrequency, 255}).setMaxTermFrequency(-1),
                {L"a", L"b"});
    expectEmpty(TextMiner().setIncludedTerms({L"other"}), {L"a"});
    const Texts unknown{L"unknown"};
    EXPECT_THROW(fitted.preprocessNewCorpus(unknown, {L"text"}),
                 Engine::TMNewDocsDontMatchVocabulary);
    EXPECT_THROW(fitted.preprocessNewCorpus(unknown, {}), Engine::TMEmptyVocabulary);
    expectRefused({
        {"minimum stemmed term length", [&] { fitted.setMinStemmedTermLength(-1); }},
        {"maximum term length", [&] { fitted.setMaxTermLength(-5); }},
        {"maximum vocabulary", [&] { fitted.setMaxVocabulary(std::int64_t{-1}); }},
        {"number of terms", [&] { fitted.getTopTerms(-1); }},
        {"number of document frequencies", [&] { fitted.getTopTerms(1, true, -1); }},
    });
    EXPECT_THROW(fitted.getPostings(L"nowhere"), std::out_of_range);
    EXPECT_THROW(fitted.getDocumentFrequency(L"nowhere"), std::out_of_range);
    EXPECT_EQ(fitted.toJson().toUtf8(), before);

    // A word of its own in each of so many documents: 8 bytes for each pair are more than memory.
    Texts many;
    for (int k = 0; k < 200000; ++k) many.push_back(L"w" + std::to_wstring(k));
    TextMiner wide = plain(0);
    preprocess(wide, many);
    expectRefused({{"320000000000 bytes", [&] { (void)wide.buildTDM(); }}});
    EXPECT_EQ(wide.buildSparseTDM().weights.size(), many.size());
}

TEST(TextMiner, DamageToStoredFrequenciesIsRefused) {
    TextMiner miner = plain(0);
    preprocess(miner, {L"b a a", L"b"});
    expectDamageRefused(miner, {{"\"documents\":[0,0,1]", "\"documents\":[0,1,0]", "documents"},
                                {"\"documents\":[0,0,1]", "\"documents\":[0,0,2]", "documents"},
                                {"\"documentFrequencies\":[1,2]", "\"documentFrequencies\":[1,3]",
                                 "documentFrequencies"},
                                {"\"terms\":[\"a\",\"b\"]", "\"terms\":[\"b\",\"a\"]", "terms"}});
}

TEST(TextMiner, ReportsProgressAndStops) {
    const std::wstring line(4000, L'x');
    Texts texts;
    for (int k = 0; k < 4000; ++k)
        texts.push_back(line + L" a@b.org 12 words" + std::to_wstring(k));
    const DataFrame frame = frameOf(texts);
    TextMiner miner;
    preprocess(miner, {L"words before"});
    const std::string before = miner.toJson().toUtf8();
    double last = -1.0;
    {
        const ProgressScope scope([&](const Progress& progress) {
            EXPECT_EQ(progress.phase, "Reading documents");
            EXPECT_GE(progress.fraction, last);
            last = progress.fraction;
            return last < 0.3;
        });
        EXPECT_THROW(miner.preprocess(frame(Selection::all, 0)), Cancelled);
    }
    EXPECT_GE(last, 0.3);
    EXPECT_EQ(miner.toJson().toUtf8(), before);
}

}  // namespace
}  // namespace Veltrix::Testing
