#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/TM/TextMiner.h"
#include "engine/core/Checks.h"
#include "support/Memory.h"

namespace Veltrix::Engine::TM {
namespace {

constexpr const char* kOperation = "Document-term matrix";
constexpr std::int32_t kAugmented = 4;
constexpr double kAugmentedZero = 0.5;

/// A term with its weight.
struct Column {
    const std::vector<Posting>* postings;
    double weight;
};

double entropy(const std::vector<Posting>& postings, double numDocuments) {
    double sum = 0.0;
    for (const Posting& posting : postings) {
        const double count = posting.count;
        sum += count * std::log(count) / std::log(numDocuments);
    }
    return sum;
}

double globalWeight(std::int32_t code, const std::vector<Posting>& postings, double globalFrequency,
                    double numDocuments) {
    const auto documents = static_cast<double>(postings.size());
    const bool occurs = !postings.empty();
    switch (code) {
        case 1:
            return 1.0;
        case 2:
            return std::log(numDocuments / (documents + 1.0));
        case 3:
            return occurs ? 1.0 / globalFrequency : 0.0;
        case 4:
            return occurs ? globalFrequency / documents : 0.0;
        case 5:
            if (occurs && numDocuments == 1.0) return 0.0;
            return 1.0 - entropy(postings, numDocuments);
        case 6:
            if (!occurs) return 0.0;
            return std::max(std::log((numDocuments - documents) / documents), 0.0);
        default:
            return 0.0;
    }
}

/// The weighted columns of a corpus; what both forms of the matrix are made of.
class Weighting {
  public:
    Weighting(const TextMiner::Corpus& corpus, const TF_IDF_Scheme& scheme)
        : local_(scheme.localWeight) {
        const auto numDocuments = static_cast<double>(corpus.numDocuments);
        columns_.reserve(corpus.terms.size());
        for (const WString& term : corpus.terms) {
            const std::vector<Posting>& postings = corpus.vocabulary.find(term.view())->second;
            const auto frequency =
                static_cast<double>(corpus.globalFrequencies.find(term.view())->second);
            columns_.push_back(
                {&postings, globalWeight(scheme.globalWeight, postings, frequency, numDocuments)});
        }
        if (local_ == kAugmented) findLargest(corpus.numDocuments);
        if (scheme.normalization == 2) findNorms(corpus.numDocuments);
    }

    std::size_t numTerms() const { return columns_.size(); }
    const std::vector<Posting>& postings(std::size_t term) const {
        return *columns_[term].postings;
    }
    bool hasZeros() const { return local_ != kAugmented; }
    /// Of a term in a document that does not hold it.
    double ofZero(std::size_t term, std::size_t document) const {
        return hasZeros() ? 0.0 : scaled(kAugmentedZero * columns_[term].weight, document);
    }
    double of(std::size_t term, const Posting& posting) const {
        return scaled(local(posting) * columns_[term].weight, posting.document);
    }

  private:
    double local(const Posting& posting) const {
        const double count = posting.count;
        switch (local_) {
            case 1:
                return count;
            case 2:
                return 1.0;
            case 3:
                return std::log(count + 1.0);
            case kAugmented:
                return 0.5 * (count / largest_[posting.document] + 1.0);
            default:
                return 0.0;
        }
    }
    double scaled(double weight, std::size_t document) const {
        return norms_.empty() ? weight : weight / norms_[document];
    }
    void findLargest(std::uint64_t numDocuments) {
        largest_.resize(numDocuments);
        for (const Column& column : columns_) {
            for (const Posting& posting : *column.postings) {
                double& largest = largest_[posting.document];
                largest = std::max(largest, static_cast<double>(posting.count));
            }
        }
    }
    /// Lengths of the rows; 1 for rows of zeros.
    void findNorms(std::uint64_t numDocuments) {
        const auto square = [](double value) { return value * value; };
        double ofZeros = 0.0;
        std::vector<double> squares(numDocuments);
        for (const Column& column : columns_) {
            const double zero = hasZeros() ? 0.0 : square(kAugmentedZero * column.weight);
            ofZeros += zero;
            for (const Posting& posting : *column.postings) {
                squares[posting.document] += square(local(posting) * column.weight) - zero;
            }
        }
        for (double& sum : squares) {
            sum += ofZeros;
            sum = sum > 0.0 ? std::sqrt(sum) : 1.0;
        }
        norms_ = std::move(squares);
    }

    std::int32_t local_;
    std::vector<Column> columns_;
    std::vector<double> largest_;
    std::vector<double> norms_;
};

/// Rows and columns are counted in 32 bits.
void checkExtents(std::uint64_t documents, std::uint64_t terms) {
    Veltrix::Checks::dimension(kOperation, "documents", documents);
    Veltrix::Checks::dimension(kOperation, "terms", terms);
}

/// Refuses more entries than the machine can hold.
void checkMemory(std::uint64_t documents, std::uint64_t terms, std::uint64_t bytesPerEntry) {
    const std::uint64_t memory = Support::physicalMemory();
    if (documents * terms <= memory / bytesPerEntry) return;
    Checks::fail(ErrorCode::tooLarge, kOperation,
                 std::to_string(documents) + " documents by " + std::to_string(terms) +
                     " terms take " + std::to_string(documents * terms * bytesPerEntry) +
                     " bytes, the machine has " + std::to_string(memory));
}

constexpr std::string_view kWeighting = "Weighting terms";

}  // namespace

Matrix TextMiner::buildTDM(const TF_IDF_Scheme& scheme) const {
    const std::uint64_t documents = corpus_.numDocuments;
    checkExtents(documents, corpus_.terms.size());
    checkMemory(documents, corpus_.terms.size(), sizeof(double));
    const Weighting weighting(corpus_, scheme);
    Matrix matrix(static_cast<int>(documents), static_cast<int>(weighting.numTerms()));
    ProgressPhase phase(kWeighting, weighting.numTerms());
    double* column = matrix.data();
    for (std::size_t term = 0; term < weighting.numTerms(); ++term, column += documents) {
        if (!weighting.hasZeros()) {
            for (std::size_t i = 0; i < documents; ++i) column[i] = weighting.ofZero(term, i);
        }
        for (const Posting& posting : weighting.postings(term)) {
            column[posting.document] = weighting.of(term, posting);
        }
        phase.advance();
    }
    return matrix;
}

SparseTDM TextMiner::buildSparseTDM(const TF_IDF_Scheme& scheme) const {
    constexpr std::uint64_t kBytesPerEntry = sizeof(double) + 2 * sizeof(std::int32_t);
    const std::uint64_t documents = corpus_.numDocuments;
    checkExtents(documents, corpus_.terms.size());
    const Weighting weighting(corpus_, scheme);
    if (!weighting.hasZeros()) checkMemory(documents, corpus_.terms.size(), kBytesPerEntry);
    SparseTDM sparse;
    sparse.numDocuments = static_cast<std::int64_t>(documents);
    sparse.numTerms = static_cast<std::int64_t>(weighting.numTerms());
    const auto append = [&](std::size_t document, std::size_t term, double weight) {
        if (weight == 0.0) return;
        sparse.documents.push_back(static_cast<int>(document));
        sparse.terms.push_back(static_cast<int>(term));
        sparse.weights.push_back(weight);
    };
    ProgressPhase phase(kWeighting, weighting.numTerms());
    for (std::size_t term = 0; term < weighting.numTerms(); ++term, phase.advance()) {
        std::size_t next = 0;
        const auto appendZeros = [&](std::size_t end) {
            for (; !weighting.hasZeros() && next < end; ++next) {
                append(next, term, weighting.ofZero(term, next));
            }
        };
        for (const Posting& posting : weighting.postings(term)) {
            appendZeros(posting.document);
            append(posting.document, term, weighting.of(term, posting));
            next = posting.document + std::size_t{1};
        }
        appendZeros(documents);
    }
    return sparse;
}

}  // namespace Veltrix::Engine::TM
