#pragma once

#include <cstdint>
#include <string_view>

#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine::TM {

/// Latent semantic analysis (Deerwester, Dumais, Furnas, Landauer and Harshman 1990): the singular
/// value decomposition M = U diag(σ) V of a document-term matrix M, n documents × p terms, cut
/// after the k largest singular values. Each of them stands for a concept, which is a weighting of
/// the terms (its row of V) and of the documents (its column of U). In every column of U the entry
/// of largest absolute value is positive.
///
/// How many concepts are kept follows from `Params`, see `computeNumConcepts`.
///
/// Only the leading k singular values are looked for when `Params::maxConcepts` gives k ≥ 1,
/// min(n, p) is at least 500 and at least 10k: `Util::svd(m, k)`, which takes a fraction of the
/// time and whose values and spaces equal those of the whole decomposition to 1e-8. The sum of all
/// the singular values is then not known, so the shares are NaN; set `Params::allSingularValues` to
/// have them.
///
/// Long operations report progress. A fitted extractor may be read from several threads.
class VELTRIX_ENGINE_API ConceptExtractor : public JSON::Storable {
  public:
    /// Settings of a fit.
    struct Params {
        /// Share of the sum of the singular values, in per cent, that the concepts must reach; 0:
        /// not set.
        double cumulativeShare = 0.0;
        /// The largest number of concepts; 0: not set. Comes before the share.
        std::int32_t maxConcepts = 0;
        /// Find all singular values also where the leading ones would do.
        bool allSingularValues = false;
    };

    ConceptExtractor() = default;
    explicit ConceptExtractor(const Params& params) : params_(params) {}
    ConceptExtractor(const ConceptExtractor&) = default;
    ConceptExtractor(ConceptExtractor&&) noexcept = default;
    ConceptExtractor& operator=(const ConceptExtractor& other) {
        return *this = ConceptExtractor(other);
    }
    ConceptExtractor& operator=(ConceptExtractor&&) noexcept = default;
    ~ConceptExtractor() override;

    /// From the next fit on.
    ConceptExtractor& setParams(const Params& params);
    const Params& getParams() const noexcept { return params_; }

    /// Documents in rows, terms in columns. Throws `Exception` without rows or columns, for an
    /// entry that is NaN or infinite (naming row and column, from 0) and for a negative
    /// `maxConcepts`. The extractor then stays as it was.
    ConceptExtractor& fit(const Matrix& m);

    /// Sets the number of concepts k from the singular values σ_0 ≥ σ_1 ≥ …, together with their
    /// running sums and shares s_i = 100 σ_i/Σσ (NaN when Σσ is 0 or not known):
    ///   - one singular value: k = 1;
    ///   - a maximum is set: k = the smallest of rows, columns and the maximum;
    ///   - else, a share is set: k = the first count at which s_0 + s_1 + … reaches it, or the
    ///     smaller of rows and columns if rounding leaves it unreached;
    ///   - else the elbow: k = i + 1 for the largest σ_i − σ_{i+1}, the first on ties.
    /// `fit` calls this with the size of its matrix; a later call changes the number alone, not the
    /// vectors that are kept. Throws `Exception` before a fit and for negative numbers.
    ConceptExtractor& computeNumConcepts(int rows, int cols);

    /// Concept-document matrix M·Vᵀ, documents × k, in the storage order and with the name of m. M
    /// may hold other documents than the fitted ones, in the same terms. `unitRows` divides every
    /// row other than 0 by its Euclidean length, unless there is one concept only. NaN propagates.
    /// Throws `Exception` before a fit and for another number of columns than in the fit.
    Matrix cdm(const Matrix& m, bool unitRows) const;
    /// Term-concept matrix Mᵀ·U, terms × k, column-major; otherwise as `cdm`, with rows for
    /// columns: M must hold the documents of the fit.
    Matrix tcm(const Matrix& m, bool unitRows) const;
    /// The Euclidean length of every row, length n: of a term-concept matrix the weight of each
    /// term in the concepts.
    static Vector termImportance(const Matrix& m);

    /// σ, descending; only the leading k when no others were looked for. Empty before a fit, as
    /// what follows.
    const Vector& getSingularValues() const noexcept { return singularValues_; }
    /// 100 σ_i/Σσ, of the singular values themselves, not of their squares.
    const Vector& getShares() const noexcept { return shares_; }
    /// σ_0 + … + σ_i.
    const Vector& getRunningSums() const noexcept { return runningSums_; }
    /// k; 0 before a fit.
    std::int32_t getNumConcepts() const noexcept { return numConcepts_; }
    /// k × p: a concept's weights of the terms in every row.
    const Matrix& getRightSingular() const noexcept { return rightSingular_; }
    /// n × k: a concept's weights of the documents in every column.
    const Matrix& getLeftSingular() const noexcept { return leftSingular_; }

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<ConceptExtractor>;

    void chooseNumConcepts(int rows, int cols, bool allKnown);
    std::int32_t numConceptsBySettings(int smaller) const;

    Vector singularValues_;
    Vector shares_;
    Vector runningSums_;
    std::int32_t numConcepts_ = 0;
    Matrix rightSingular_;
    Matrix leftSingular_;
    Params params_;
};

}  // namespace Veltrix::Engine::TM
