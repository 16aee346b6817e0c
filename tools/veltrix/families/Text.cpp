#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Exceptions.h"
#include "Veltrix/Engine/TM/ConceptExtractor.h"
#include "Veltrix/Engine/TM/TextMiner.h"
#include "support/NumberText.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/families/TextSettings.h"
#include "tools/veltrix/families/TextTables.h"
#include "tools/veltrix/host/InputOptions.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using Engine::TM::ConceptExtractor;
using Engine::TM::PreprocessingFlags;
using Engine::TM::TextMiner;
using Engine::TM::TF_IDF_Scheme;

constexpr const char* kConcepts = "--concepts";
constexpr const char* kVariance = "--variance";
constexpr const char* kMatrix = "--matrix";
constexpr const char* kElbow = "elbow";

/// The global weight of every term: what a term weighs in a document that holds it, its count
/// aside.
std::vector<double> globalWeights(const TextMiner& miner, std::int32_t globalWeight) {
    constexpr std::int32_t kBinary = 2;
    std::vector<double> weights(miner.getTerms().size(), 0.0);
    const auto entries = miner.buildSparseTDM({kBinary, globalWeight, 1});
    for (std::uint64_t i = 0; i < entries.terms.size(); ++i) {
        weights[static_cast<std::size_t>(entries.terms[i])] = entries.weights[i];
    }
    return weights;
}

class Text : public StoredFamily<Text, Family>, public DocumentFamily {
  public:
    FamilyNames names() const override {
        return {"text", "Finds the terms of documents, their weights and concepts", "text mining",
                "", "--column TEXT"};
    }
    Needs needs() const override { return {}; }

    void options(OptionGroup& own) override {
        own.file(source_.data, "CSV file with a document in every row");
        source_.declare(own);
        settings_.declare(own);
        own.count("--top", top_, "Terms of the list of the most frequent ones", 1).shown("20");
        own.text(kConcepts, numConcepts_,
                 "Finds concepts: how many, or elbow for those before the largest step between "
                 "singular values")
            .placeholder("K|elbow");
        own.percentage(kVariance, variance_,
                       "Finds as many concepts as reach this share of the singular values")
            .excludes(kConcepts);
        own.flag("--unit-rows", unitRows_, "Scales places in the concepts to unit length");
        own.flag("--all-singular-values", allSingularValues_,
                 "Finds all singular values and their shares where a few concepts take fewer");
        own.file(matrix_, "Writes the weights of the terms in the documents into this file");
        own.flag("--sparse", sparse_, "Writes the weights other than 0 only, one a row")
            .needs(kMatrix);
        declareRowChoice(own);
    }

    void checkOptions() const override {
        settings_.check();
        static_cast<void>(params());
    }

    const FileOption& file() const override { return source_.given(); }
    const char* inputName() const override {
        return source_.data.path.empty() ? "Folder" : "Data file";
    }

    void read() override {
        miner_.setSettings(settings_.settings());
        scheme_ = settings_.scheme();
        column_ = source_.column;
        documents_ = readDocuments(source_);
    }

    void fit() override {
        try {
            miner_.preprocess(documents_.column());
        } catch (const Engine::TMEmptyVocabulary&) {
            throw UserError(
                fmt::format("{}: no term is left of {}, expected words that the settings keep",
                            source_.given().option,
                            counted(static_cast<std::int64_t>(documents_.size()), "document")));
        }
        weights_ = globalWeights(miner_, scheme_.globalWeight);
        const std::optional<ConceptExtractor::Params> wanted = params();
        const bool dense = !matrix_.path.empty() && !sparse_;
        if (wanted || dense) tdm_ = miner_.buildTDM(scheme_);
        if (wanted) concepts_.setParams(*wanted).fit(tdm_);
        if (dense) {
            written_ = denseCsv(documents_, miner_.getTerms(), tdm_);
        } else if (sparse_) {
            written_ = sparseCsv(documents_, miner_.getTerms(), miner_.buildSparseTDM(scheme_));
        }
    }

    std::string title(const std::string& /*target*/) const override { return "Text mining"; }

    void summarize(Table& summary) const override {
        if (!column_.empty()) summary.entry("Column", column_);
        addDialect(summary, documents_.dialect);
        summarizeCorpus(summary, miner_);
        addSettings(summary, miner_.getSettings());
        summary.entry("Weights", nameOfWeights(scheme_));
        if (hasConcepts()) summary.entry("Concepts", std::int64_t{concepts_.getNumConcepts()});
    }

    void describe(ReportBuilder& report) const override {
        addTopTerms(report, miner_, top_);
        addVocabulary(report.records("Vocabulary"), miner_, weights_);
        addDocuments(report.records("Documents"), documents_, miner_);
        if (!hasConcepts()) return;
        addConcepts(report, concepts_, miner_, tdm_, unitRows_);
        addDocumentConcepts(report, documents_, concepts_.cdm(tdm_, unitRows_));
    }

    std::vector<FileContent> files() const override { return {{matrix_, written_}}; }

    const std::string& column() const override { return column_; }

    void score(const Documents& documents, Table& summary, ReportBuilder& report) const override {
        const TextMiner miner = minedAgain(documents);
        summarizeCorpus(summary, miner);
        summary.entry("Weights", nameOfWeights(scheme_));
        const Matrix weights = weightsOf(miner);
        addDocuments(report.records("Documents"), documents, miner);
        addWeights(report.records("Weights"), documents, miner, weights);
        if (hasConcepts()) {
            addDocumentConcepts(report, documents, concepts_.cdm(weights, unitRows_));
        }
    }

    static void describeFields(auto& a, auto& self) {
        a("column", self.column_)("localWeight", self.scheme_.localWeight);
        a("globalWeight", self.scheme_.globalWeight)("rowWeight", self.scheme_.normalization);
        a("unitRows", self.unitRows_);
        storedModel(a, "model", self.miner_);
        const auto terms = static_cast<std::int64_t>(self.miner_.getTerms().size());
        a.check(
            "model", [&] { return terms > 0; }, "not a fitted model");
        a("termWeights", self.weights_, Support::Length{terms});
        storedModel(a, "concepts", self.concepts_);
        a.check(
            "concepts",
            [&] {
                return !self.hasConcepts() ||
                       self.concepts_.getRightSingular().getNumCols() == terms;
            },
            "expected those of as many terms as the vocabulary has");
    }

  private:
    bool hasConcepts() const { return !concepts_.getSingularValues().empty(); }

    /// How concepts are to be found; none when they are not.
    std::optional<ConceptExtractor::Params> params() const {
        ConceptExtractor::Params params;
        params.allSingularValues = allSingularValues_;
        if (variance_ > 0.0) {
            params.cumulativeShare = variance_;
            return params;
        }
        if (numConcepts_.empty()) return std::nullopt;
        if (numConcepts_ == kElbow) return params;
        const std::optional<double> count = Support::parseNumber(std::string_view(numConcepts_));
        if (!count || *count < 1.0 || *count > 1e6 || *count != static_cast<int>(*count)) {
            throw UserError(fmt::format("{}: {}, expected a whole number from 1 to 1000000, or {}",
                                        kConcepts, Tool::quoted(numConcepts_), kElbow));
        }
        params.maxConcepts = static_cast<std::int32_t>(*count);
        return params;
    }

    /// The counts of the fitted terms in other documents.
    TextMiner minedAgain(const Documents& documents) const {
        TextMiner::Settings settings = miner_.getSettings();
        if (!settings.includedTerms.empty()) {
            settings.flags = {0, settings.flags.documentFlags & PreprocessingFlags::kLowerCase};
        }
        TextMiner miner(std::move(settings));
        try {
            miner.preprocessNewCorpus(documents.column(), miner_.getTerms());
        } catch (const Engine::TMNewDocsDontMatchVocabulary&) {
            throw UserError(fmt::format(
                "no document of {} holds a term of the model, which has {}", documents.size(),
                counted(static_cast<std::int64_t>(miner_.getTerms().size()), "term")));
        }
        return miner;
    }

    /// Local weights of the documents with the global weights of the fitted ones.
    Matrix weightsOf(const TextMiner& miner) const {
        constexpr std::int32_t kUnitRows = 2;
        Matrix weights = miner.buildTDM({scheme_.localWeight, 1, 1});
        for (int j = 0; j < weights.getNumCols(); ++j) {
            weights(Selection::all, j) *= weights_[static_cast<std::size_t>(j)];
        }
        if (scheme_.normalization != kUnitRows) return weights;
        for (int i = 0; i < weights.getNumRows(); ++i) {
            const double length =
                Veltrix::Util::norm(weights(i, Selection::all), NormType::euclidean, false);
            if (length != 0.0) weights(i, Selection::all) /= length;
        }
        return weights;
    }

    DocumentSource source_;
    TextSettings settings_;
    std::int64_t top_ = 20;
    std::string numConcepts_;
    double variance_ = 0.0;
    bool unitRows_ = false;
    bool allSingularValues_ = false;
    FileOption matrix_{kMatrix, {}, ".csv"};
    bool sparse_ = false;

    std::string column_;  ///< empty for a folder
    Documents documents_;
    TextMiner miner_;
    TF_IDF_Scheme scheme_;
    std::vector<double> weights_;  ///< global ones of the terms
    Matrix tdm_;                   ///< empty unless it is needed
    ConceptExtractor concepts_;
    std::string written_;  ///< what goes into the file of the matrix
};

}  // namespace

std::unique_ptr<Family> makeText() { return std::make_unique<Text>(); }

}  // namespace Veltrix::Tool
