#pragma once

#include <cstdint>
#include <string_view>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/FrameForms.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine::PCA {

/// Settings of a fit.
struct Params {
    /// 1: components of the covariance matrix; any other value: of the correlation matrix.
    std::int32_t method = 1;
};

/// Principal components (Pearson 1901; Hotelling 1933): the eigenvectors v_j of the covariance or
/// correlation matrix of the columns of X, those of the largest eigenvalues λ_j first. In every
/// vector the entry of largest absolute value is positive.
///
/// `transform` and the statistics take their records as they are: who wants scores about the mean
/// centres the records first, and standardises them for components of the correlation matrix.
///
/// Cost of a fit O(np² + p³). Fits and projections report progress. A fitted model may be read from
/// several threads.
class VELTRIX_ENGINE_API Model : public JSON::Storable {
  public:
    Model() = default;
    explicit Model(const Params& params) : params_(params) {}
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model& other) { return *this = Model(other); }
    Model& operator=(Model&&) noexcept = default;
    ~Model() override;

    /// From the next fit on.
    Model& setParams(const Params& params);
    const Params& getParams() const noexcept { return params_; }

    /// X is n × p. Throws as `validate`, and `Exception` without columns, for a value that is NaN
    /// or infinite (naming row and column, from 0), and for a constant column of a correlation
    /// matrix (naming it). The model then stays as it was.
    Model& fit(const Matrix& x);
    /// Throws the bad-cast error as well, for a cell that is not a number.
    Model& fit(const DataFrame& x);

    /// X·(v_1 … v_k), n × k in the storage order and with the name of X; NaN before a fit. Throws
    /// `Exception` for another number of columns than in training, a negative k or one above p.
    Matrix transform(const Matrix& x, int k) const;
    /// Columns "Component 1", …; the name is "Scores: " and that of x. Columns are matched by
    /// `FrameColumns`.
    DataFrame transform(const DataFrame& x, int k) const;

    /// 100 λ_j / Σλ, named "Explained Variance, %"; empty before a fit.
    Vector explainedVariance() const;
    /// Running sums of v, named "Explained Cum. Variance, %".
    static Vector explainedCumulativeVariance(const Vector& v);
    /// Q_i = Σ_j x_ij² − Σ_j scores_ij² for every record, named "Q-Statistic" (Jackson and
    /// Mudholkar 1979). Throws `Exception` when X and scores differ in rows.
    static Vector qStat(const Matrix& x, const Matrix& scores);
    /// T²_i = Σ_j scores_ij²/λ_j over the components whose λ_j is not 0 (`Util::isZero`), named
    /// "Hotelling's t-Squared Statistic" (Hotelling 1931); NaN before a fit. Throws `Exception` for
    /// more scores than components.
    Vector tStat(const Matrix& scores) const;
    /// Throws `TooFewNumRows` for fewer than 2 rows.
    static void validate(const Matrix& x);

    /// λ, descending; empty before a fit, as the eigenvectors.
    const Vector& getEigenvalues() const noexcept { return eigenvalues_; }
    /// p × p, one column per component.
    const Matrix& getEigenvectors() const noexcept { return eigenvectors_; }
    /// Empty after a fit on a matrix.
    const FrameColumns& getFrameColumns() const noexcept { return columns_; }

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<Model>;

    Model& fitNamed(const Matrix& x, FrameColumns columns);

    Params params_;
    Vector eigenvalues_;
    Matrix eigenvectors_;
    FrameColumns columns_;
};

}  // namespace Veltrix::Engine::PCA
