#include "tools/veltrix/families/TextTables.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <numeric>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "tools/veltrix/io/FrameCsv.h"

namespace Veltrix::Tool {
namespace {

using Engine::TM::ConceptExtractor;
using Engine::TM::Posting;
using Engine::TM::SparseTDM;
using Engine::TM::TermFrequency;
using Engine::TM::TextMiner;

constexpr const char* kTopTerms = "Top terms";
constexpr const char* kZipf = "Counts and ranks";
constexpr const char* kSingularValues = "Singular values";

std::int64_t sumOf(const IntVector& counts) {
    return std::accumulate(counts.begin(), counts.end(), std::int64_t{0});
}

/// For each document, how many terms it holds and how often these occur in it.
struct Holdings {
    std::vector<std::int64_t> terms;
    std::vector<std::int64_t> occurrences;

    explicit Holdings(const TextMiner& miner)
        : terms(static_cast<std::size_t>(miner.getNumDocuments())), occurrences(terms.size()) {
        for (const auto& [term, postings] : miner.getVocabulary()) {
            for (const Posting& posting : postings) {
                ++terms[posting.document];
                occurrences[posting.document] += posting.count;
            }
        }
    }
};

std::int64_t asInteger(std::uint64_t count) { return static_cast<std::int64_t>(count); }

double percentOf(std::uint64_t count, std::uint64_t total) {
    return 100.0 * static_cast<double>(count) / static_cast<double>(total);
}

std::vector<std::string> conceptNames(int count) {
    std::vector<std::string> names;
    for (int k = 1; k <= count; ++k) names.push_back(fmt::format("Concept {}", k));
    return names;
}

/// A chart of the first two concepts, if there are two.
void addPlaces(ReportBuilder& report, const std::string& table, const Matrix& places) {
    if (places.getNumCols() < 2) return;
    report.chart(table).x(table, "Concept 1").y(table, "Concept 2");
}

std::string rendered(const DataFrame& documents, const DataFrame& values) {
    FrameCsv csv;
    csv.add(documents);
    csv.add(values);
    return csv.render(Veltrix::Util::range(0, values.getNumRows()));
}

/// Counts in descending order on logarithmic scales.
void addZipf(ReportBuilder& report, const TextMiner& miner) {
    std::vector<std::uint64_t> counts;
    for (const auto& [term, count] : miner.getGlobalFrequencies()) {
        if (count > 0) counts.push_back(count);
    }
    std::ranges::sort(counts, std::greater<>());
    Vector ranks;
    Vector logarithms;
    for (std::size_t k = 0; k < counts.size(); ++k) {
        ranks.push_back(std::log10(static_cast<double>(k + 1)));
        logarithms.push_back(std::log10(static_cast<double>(counts[k])));
    }
    report.chartTable(kZipf).series("log10 of rank", ranks).series("log10 of count", logarithms);
    report.chart("Counts against ranks (Zipf)")
        .x(kZipf, "log10 of rank")
        .y(kZipf, "log10 of count");
}

}  // namespace

void summarizeCorpus(Table& summary, const TextMiner& miner) {
    const Holdings holdings(miner);
    summary.entry("Documents", asInteger(miner.getNumDocuments()))
        .entry("Documents without terms",
               static_cast<std::int64_t>(std::ranges::count(holdings.terms, 0)))
        .entry("Characters", sumOf(miner.getDocumentLengths()))
        .entry("Words", sumOf(miner.getTokenCounts()))
        .entry("Terms", asInteger(miner.getTerms().size()))
        .entry("Occurrences of terms",
               std::accumulate(holdings.occurrences.begin(), holdings.occurrences.end(),
                               std::int64_t{0}));
}

void addTopTerms(ReportBuilder& report, TextMiner miner, std::int64_t count) {
    miner.getTopTerms(count, true, count);
    std::vector<std::string> terms;
    Vector counts;
    std::vector<std::int64_t> documents;
    Vector percents;
    for (const auto& [term, frequency] : miner.getTopTermList()) {
        terms.push_back(WString(term).toUtf8());
        counts.push_back(static_cast<double>(frequency));
    }
    for (const auto& [term, frequency] : miner.getTopTermDocuments()) {
        documents.push_back(asInteger(frequency));
        percents.push_back(percentOf(frequency, miner.getNumDocuments()));
    }
    Table& table = report.table(kTopTerms).counted("Rank", terms.size());
    table.text("Term", std::move(terms))
        .series("Count", std::move(counts))
        .integers("Documents", std::move(documents))
        .series("Documents, %", std::move(percents));
    report.chart("Term frequencies").x(kTopTerms, "Rank").y(kTopTerms, "Count").stems();
    addZipf(report, miner);
}

void addVocabulary(Table& table, const TextMiner& miner, const std::vector<double>& weights) {
    std::vector<std::int64_t> counts;
    std::vector<std::int64_t> documents;
    Vector percents;
    for (const WString& term : miner.getTerms()) {
        const std::uint64_t holding = miner.getDocumentFrequency(term.view());
        counts.push_back(asInteger(miner.getGlobalFrequency(term.view())));
        documents.push_back(asInteger(holding));
        percents.push_back(percentOf(holding, miner.getNumDocuments()));
    }
    table.text("Term", miner.getTerms())
        .integers("Count", std::move(counts))
        .integers("Documents", std::move(documents))
        .series("Documents, %", std::move(percents))
        .series("Global weight", Vector(weights.begin(), weights.end()));
}

void addDocuments(Table& table, const Documents& documents, const TextMiner& miner) {
    Holdings holdings(miner);
    documents.addTo(table);
    table.integers("Characters", miner.getDocumentLengths())
        .integers("Words", miner.getTokenCounts())
        .integers("Terms", std::move(holdings.terms))
        .integers("Occurrences of terms", std::move(holdings.occurrences));
}

void addWeights(Table& table, const Documents& documents, const TextMiner& miner,
                const Matrix& weights) {
    struct Entry {
        std::size_t document;
        int term;
        std::int64_t count;
    };
    std::vector<Entry> entries;
    int place = 0;
    for (const WString& term : miner.getTerms()) {
        for (const Posting& posting : miner.getPostings(term.view())) {
            entries.push_back({posting.document, place, posting.count});
        }
        ++place;
    }
    std::ranges::stable_sort(entries, {}, &Entry::document);
    std::vector<std::size_t> places;
    std::vector<std::string> terms;
    std::vector<std::int64_t> counts;
    Vector values;
    for (const auto& [document, term, count] : entries) {
        places.push_back(document);
        terms.push_back(miner.getTerms()[term].toUtf8());
        counts.push_back(count);
        values.push_back(weights(static_cast<int>(document), term));
    }
    documents.addTo(table, places);
    table.text("Term", std::move(terms))
        .integers("Count", std::move(counts))
        .series("Weight", std::move(values));
}

void addDocumentConcepts(ReportBuilder& report, const Documents& documents, const Matrix& places) {
    const std::string title = "Documents in the concepts";
    Table& table = report.records(title);
    documents.addTo(table);
    table.matrix(conceptNames(places.getNumCols()), places);
    addPlaces(report, title, places);
}

void addConcepts(ReportBuilder& report, const ConceptExtractor& concepts, const TextMiner& miner,
                 const Matrix& weights, bool unitRows) {
    Table& values = report.records(kSingularValues);
    const Vector& shares = concepts.getShares();
    values.counted("Concept", concepts.getSingularValues().size())
        .series("Singular value", concepts.getSingularValues())
        .series("Share, %", shares)
        .series("Cumulative share, %", Veltrix::Util::partialSum(shares))
        .series("Running sum", concepts.getRunningSums());
    if (std::isnan(shares[0])) {
        values.note(
            "Only the leading singular values were computed, so that shares of all are not "
            "known; --all-singular-values has them.");
    }
    report.chart("Scree of the singular values")
        .x(kSingularValues, "Concept")
        .y(kSingularValues, "Singular value")
        .line();
    const std::string title = "Terms in the concepts";
    const Matrix places = concepts.tcm(weights, false);
    Table& terms = report.records(title);
    terms.text("Term", miner.getTerms())
        .matrix(conceptNames(places.getNumCols()), unitRows ? concepts.tcm(weights, true) : places)
        .series("Importance", ConceptExtractor::termImportance(places));
    addPlaces(report, title, places);
}

std::string denseCsv(const Documents& documents, const StringVector& terms, const Matrix& weights) {
    std::vector<std::size_t> all(documents.size());
    std::iota(all.begin(), all.end(), std::size_t{0});
    return rendered(documents.frame(all), Convert::toDataFrame(weights, terms));
}

std::string sparseCsv(const Documents& documents, const StringVector& terms,
                      const SparseTDM& weights) {
    std::vector<std::size_t> places(weights.documents.begin(), weights.documents.end());
    StringVector names;
    names.reserve(weights.terms.size());
    for (const int term : weights.terms) names.push_back(terms[term]);
    DataFrame values;
    values.append(names, L"Term");
    Vector numbers = weights.weights;
    numbers.setName(L"Weight");
    values.append(numbers);
    return rendered(documents.frame(places), values);
}

}  // namespace Veltrix::Tool
