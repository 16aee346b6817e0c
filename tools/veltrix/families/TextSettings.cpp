#include "tools/veltrix/families/TextSettings.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "support/Files.h"
#include "support/Json.h"
#include "tools/veltrix/host/TextParts.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/TextLines.h"

namespace Veltrix::Tool {
namespace {

using Engine::TM::PreprocessingFlags;
using Engine::TM::TermMap;
using Engine::TM::TermSet;
using Engine::TM::TF_IDF_Scheme;
using Settings = Engine::TM::TextMiner::Settings;
using Flags = PreprocessingFlags;

constexpr const char* kWeights = "--weights";
constexpr const char* kSynonym = "--synonym";
constexpr const char* kPhrase = "--phrase";

const Choices<std::int32_t> kLocal{{"count", 1}, {"binary", 2}, {"log", 3}, {"augmented", 4}};
const Choices<std::int32_t> kGlobal{{"none", 1},  {"idf", 2},     {"reciprocal", 3},
                                    {"ratio", 4}, {"entropy", 5}, {"probabilistic", 6}};
const Choices<std::int32_t> kNormalization{{"none", 1}, {"unit", 2}};

std::wstring wide(std::string_view text) {
    return decode(text, [&] { return "Setting " + Tool::quoted(text); }).str();
}

std::string namesOf(const Choices<std::int32_t>& choices) {
    std::string names;
    for (const auto& [name, code] : choices) {
        names += fmt::format("{}{} ({})", names.empty() ? "" : ", ", name, code);
    }
    return names;
}

std::int32_t codeOf(const std::string& part, const Choices<std::int32_t>& choices) {
    for (const auto& [name, code] : choices) {
        if (part == name || part == std::to_string(code)) return code;
    }
    throw UserError(
        fmt::format("{}: {}, expected one of {}", kWeights, Tool::quoted(part), namesOf(choices)));
}

/// The sides of "what=by".
std::pair<std::wstring, std::wstring> sidesOf(const char* option, const std::string& text) {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || sign == 0) {
        throw UserError(fmt::format("{}: {}, expected a text, = and what it becomes", option,
                                    Tool::quoted(text)));
    }
    return {wide(text.substr(0, sign)), wide(text.substr(sign + 1))};
}

TermMap mapOf(const char* option, const std::vector<std::string>& texts) {
    TermMap map;
    for (const std::string& text : texts) {
        auto [from, to] = sidesOf(option, text);
        map[std::move(from)] = std::move(to);
    }
    return map;
}

TermSet setOf(const std::vector<std::string>& values) {
    TermSet set;
    for (const std::string& value : values) {
        for (const std::string& part : splitAtCommas(value)) set.insert(wide(part));
    }
    return set;
}

TermSet readSet(const Support::JsonView& list) {
    TermSet set;
    for (const std::string& text : list.asStrings()) set.insert(wide(text));
    return set;
}

TermMap readMap(const Support::JsonView& object) {
    TermMap map;
    for (const std::string& key : object.keys()) {
        map[wide(key)] = wide(object.at(key).asString());
    }
    return map;
}

using ReadSetting = std::function<void(const Support::JsonView&)>;

/// How each key of a settings file is read.
std::map<std::string, ReadSetting> readers(Settings& s) {
    const auto text = [](std::wstring& target) -> ReadSetting {
        return [&](const auto& view) { target = wide(view.asString()); };
    };
    const auto limit = [](std::uint64_t& target) -> ReadSetting {
        return [&](const auto& view) { target = view.asUint64(); };
    };
    const auto flags = [](std::uint32_t& target) -> ReadSetting {
        return [&](const auto& view) {
            const std::uint64_t bits = view.asUint64();
            if (bits > 511) view.fail("a sum of flags expected, at most 511");
            target = static_cast<std::uint32_t>(bits);
        };
    };
    const auto percent = [](double& target) -> ReadSetting {
        return [&](const auto& view) { target = view.asDouble(); };
    };
    const auto set = [](TermSet& target) -> ReadSetting {
        return [&](const auto& view) { target = readSet(view); };
    };
    const auto map = [](TermMap& target) -> ReadSetting {
        return [&](const auto& view) { target = readMap(view); };
    };
    return {{"vocabularyFlags", flags(s.flags.vocabularyFlags)},
            {"documentFlags", flags(s.flags.documentFlags)},
            {"minStemmedTermLength", limit(s.minStemmedTermLength)},
            {"maxTermLength", limit(s.maxTermLength)},
            {"minTermFrequency", percent(s.minTermFrequency)},
            {"maxTermFrequency", percent(s.maxTermFrequency)},
            {"maxVocabulary", limit(s.maxVocabulary)},
            {"urlToken", text(s.urlToken)},
            {"emailToken", text(s.emailToken)},
            {"numberToken", text(s.numberToken)},
            {"moneyToken", text(s.moneyToken)},
            {"startPhrase", text(s.startPhrase)},
            {"endPhrase", text(s.endPhrase)},
            {"synonyms", map(s.synonyms)},
            {"phrases", map(s.phrases)},
            {"includedTerms", set(s.includedTerms)},
            {"excludedTerms", set(s.excludedTerms)},
            {"removedDefaultStopwords", set(s.removedDefaultStopwords)}};
}

Settings readFile(const FileOption& file) {
    Settings settings;
    if (file.path.empty()) return settings;
    try {
        const auto document = Support::JsonDocument::parse(Support::readFile(file.path));
        const auto known = readers(settings);
        for (const std::string& key : document.root().keys()) {
            const auto reader = known.find(key);
            if (reader == known.end()) {
                std::string names;
                for (const auto& entry : known) names += (names.empty() ? "" : ", ") + entry.first;
                document.root().at(key).fail("unknown, expected one of " + names);
            }
            reader->second(document.root().at(key));
        }
    } catch (const Support::JsonError& error) {
        throw UserError(
            fmt::format("{}: {}: {}", file.option, Tool::quoted(file.path), error.what()));
    } catch (const Support::FileError& error) {
        throw UserError(fmt::format("{}: {}", file.option, error.what()));
    }
    return settings;
}

void replaceGiven(std::wstring& target, const std::string& given) {
    if (!given.empty()) target = wide(given);
}

template <class Terms>
void addGiven(Terms& target, Terms given) {
    for (auto& term : given) {
        if constexpr (std::is_same_v<Terms, TermMap>) {
            target[term.first] = term.second;
        } else {
            target.insert(term);
        }
    }
}

}  // namespace

void TextSettings::declare(OptionGroup& options) {
    options.file(file_, "JSON file with settings; options come before it");
    options
        .text(kWeights, weights_,
              fmt::format("Weights of terms in documents: local, one of {}; global, one of {}; "
                          "rows, one of {}; by names or numbers",
                          namesOf(kLocal), namesOf(kGlobal), namesOf(kNormalization)))
        .placeholder("LOCAL,GLOBAL,ROWS")
        .shown(weights_);
    options.flag("--keep-stop-words", keepStopWords_, "Keeps words as \"the\" and excluded terms");
    options.list("--not-stop-words", keptStopWords_, "Stop words that are terms after all");
    options.list("--exclude-terms", excludedTerms_, "Words that are no terms, before stemming");
    options.list("--terms", terms_, "Counts these words only, as they stand in the documents");
    options.flag("--keep-case", keepCase_, "Takes capital and small letters as different");
    options.flag("--no-stemming", keepEndings_, "Keeps the endings of words");
    options.flag("--keep-tags", keepTags_, "Keeps markup tags");
    options.flag("--keep-urls", keepUrls_, "Keeps web addresses in place of a word for all");
    options.flag("--keep-emails", keepEmails_, "Keeps e-mail addresses likewise");
    options.flag("--keep-numbers", keepNumbers_, "Keeps numbers likewise");
    options.flag("--keep-money", keepMoney_, "Keeps amounts of money likewise");
    options.text("--url-token", urlToken_, "The word for web addresses").shown("urlterm");
    options.text("--email-token", emailToken_, "The word for e-mail addresses").shown("emailterm");
    options.text("--number-token", numberToken_, "The word for numbers").shown("numberterm");
    options.text("--money-token", moneyToken_, "The word for amounts").shown("moneyamountterm");
    options.count("--max-term-length", maxTermLength_, "Drops longer words", 1).shown("20");
    options.count("--min-stem-length", minStemLength_, "Drops shorter stems", 1);
    options.percentage("--min-frequency", minFrequency_,
                       "Drops terms in fewer documents, per cent");
    options.percentage("--max-frequency", maxFrequency_,
                       "Drops terms in as many documents, per cent: with 100 those in all");
    options.count("--max-terms", maxTerms_, "Keeps the terms in the most documents only", 1);
    options.text("--start-phrase", startPhrase_, "Reads documents from behind this text on");
    options.text("--end-phrase", endPhrase_, "Reads them up to this text");
    options.repeated(kPhrase, phrases_, "Replaces a text, as \"new york=newyork\"; repeated")
        .placeholder("TEXT=BY");
    options.repeated(kSynonym, synonyms_, "Replaces a term, as \"car=auto\"; repeated")
        .placeholder("TERM=BY");
}

void TextSettings::check() const {
    static_cast<void>(scheme());
    static_cast<void>(mapOf(kPhrase, phrases_));
    static_cast<void>(mapOf(kSynonym, synonyms_));
}

TF_IDF_Scheme TextSettings::scheme() const {
    const std::vector<std::string> parts = splitAtCommas(weights_);
    if (parts.size() != 3) {
        throw UserError(fmt::format("{}: {}, expected three weights between commas as in {}",
                                    kWeights, Tool::quoted(weights_), "count,idf,none"));
    }
    return {codeOf(parts[0], kLocal), codeOf(parts[1], kGlobal), codeOf(parts[2], kNormalization)};
}

Settings TextSettings::settings() const {
    Settings s = readFile(file_);
    const std::pair<bool, std::uint32_t> kept[] = {
        {keepCase_, Flags::kLowerCase},       {keepEndings_, Flags::kStem},
        {keepTags_, Flags::kStripMarkup},     {keepUrls_, Flags::kReplaceUrls},
        {keepEmails_, Flags::kReplaceEmails}, {keepNumbers_, Flags::kReplaceNumbers},
        {keepMoney_, Flags::kReplaceMoney}};
    for (const auto& [isKept, flag] : kept) {
        if (isKept) s.flags.documentFlags &= ~flag;
    }
    if (keepStopWords_) s.flags.vocabularyFlags &= ~Flags::kRemoveExcluded;
    const auto limit = [](std::int64_t given, std::uint64_t& value, std::uint32_t& flags,
                          std::uint32_t flag) {
        if (given < 0) return;
        value = static_cast<std::uint64_t>(given);
        flags |= flag;
    };
    limit(maxTermLength_, s.maxTermLength, s.flags.documentFlags, Flags::kMaxTermLength);
    limit(minStemLength_, s.minStemmedTermLength, s.flags.documentFlags, Flags::kMinStemmedLength);
    limit(maxTerms_, s.maxVocabulary, s.flags.vocabularyFlags, Flags::kLimitVocabulary);
    const auto share = [&s](double given, double& value, std::uint32_t flag) {
        if (given < 0.0) return;
        value = given;
        s.flags.vocabularyFlags |= flag;
    };
    share(minFrequency_, s.minTermFrequency, Flags::kMinTermFrequency);
    share(maxFrequency_, s.maxTermFrequency, Flags::kMaxTermFrequency);
    replaceGiven(s.startPhrase, startPhrase_);
    replaceGiven(s.endPhrase, endPhrase_);
    replaceGiven(s.urlToken, urlToken_);
    replaceGiven(s.emailToken, emailToken_);
    replaceGiven(s.numberToken, numberToken_);
    replaceGiven(s.moneyToken, moneyToken_);
    addGiven(s.synonyms, mapOf(kSynonym, synonyms_));
    addGiven(s.phrases, mapOf(kPhrase, phrases_));
    addGiven(s.includedTerms, setOf(terms_));
    addGiven(s.excludedTerms, setOf(excludedTerms_));
    addGiven(s.removedDefaultStopwords, setOf(keptStopWords_));
    return s;
}

std::string nameOfWeights(const TF_IDF_Scheme& scheme) {
    return fmt::format("{},{},{}", nameOf(scheme.localWeight, kLocal),
                       nameOf(scheme.globalWeight, kGlobal),
                       nameOf(scheme.normalization, kNormalization));
}

void addSettings(Table& summary, const Settings& s) {
    if (!s.includedTerms.empty()) {
        summary.entry("Terms counted", static_cast<std::int64_t>(s.includedTerms.size()));
        return;
    }
    std::string steps;
    const auto step = [&](std::uint32_t flags, std::uint32_t flag, const std::string& text) {
        if ((flags & flag) != 0) steps += (steps.empty() ? "" : ", ") + text;
    };
    const std::uint32_t document = s.flags.documentFlags;
    const std::uint32_t vocabulary = s.flags.vocabularyFlags;
    step(document, Flags::kLowerCase, "lower case");
    step(document, Flags::kStripMarkup, "tags out");
    step(document, Flags::kReplaceEmails, "e-mail addresses replaced");
    step(document, Flags::kReplaceMoney, "money replaced");
    step(document, Flags::kReplaceNumbers, "numbers replaced");
    step(document, Flags::kReplaceUrls, "web addresses replaced");
    step(document, Flags::kMaxTermLength,
         fmt::format("words of more than {} characters out", s.maxTermLength));
    step(vocabulary, Flags::kRemoveExcluded, "stop words out");
    step(document, Flags::kStem, "stems");
    step(document, Flags::kMinStemmedLength,
         fmt::format("stems of fewer than {} characters out", s.minStemmedTermLength));
    step(vocabulary, Flags::kMinTermFrequency,
         fmt::format("terms in less than {}% of the documents out", s.minTermFrequency));
    step(vocabulary, Flags::kMaxTermFrequency,
         fmt::format("terms in {}% of the documents or more out", s.maxTermFrequency));
    step(vocabulary, Flags::kLimitVocabulary,
         fmt::format("the {} terms in most documents", s.maxVocabulary));
    summary.entry("Steps", steps.empty() ? "none" : steps);
}

}  // namespace Veltrix::Tool
