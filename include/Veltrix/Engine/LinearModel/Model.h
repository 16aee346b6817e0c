#pragma once

#include <limits>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/Roles.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine::LinearModel {

/// Collinearity diagnostics of a design matrix; components from the smallest eigenvalue (largest
/// condition index) to the largest.
struct Multicollinearity {
    Vector eigenvalues;
    Vector conditionIndices;
    /// One row per predictor, one column per component; each row sums to 1.
    Matrix varianceProportions;
};

/// Estimates of a linear model with their statistics, one entry per design column.
struct CoefficientInfo {
    Vector estimates;
    Vector standardErrors;
    Vector tStatistics;
    Vector pValues;
    Vector lowerConfidenceLimits;
    Vector upperConfidenceLimits;
};

/// What linear and logistic regression share.
class VELTRIX_ENGINE_API Model : public Weightable {
  public:
    Model() = default;
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model&) = default;
    Model& operator=(Model&&) noexcept = default;
    ~Model() override;

    Model& setWeights(const Vector& weights) override;
    Model& normalizeWeights() override;

    /// Diagnostics of all columns of the root-weighted design matrix of X.
    virtual Multicollinearity computeMulticollinearity(const Matrix& x) const = 0;
    /// Diagnostics of the columns that the fit found estimable.
    virtual Multicollinearity computeFittedMulticollinearity(const Matrix& x) const = 0;
    /// Whether the fit found fewer estimable columns than coefficients; false before a fit.
    virtual bool rankDeficient() const;

    /// Collinearity diagnostics of a design matrix X with p columns (Belsley, Kuh and Welsch 1980,
    /// ch. 3): columns scaled to unit length, singular values s and right singular vectors v of the
    /// result; eigenvalues s², condition indices s_max/s, variance proportions v²/s² normalised per
    /// predictor. A zero column gives NaN. With fewer rows than columns there are n components.
    /// Throws `Exception` on NaN or infinite entries.
    static Multicollinearity multicollinearity(const Matrix& x);

    /// One entry per design column, the intercept first; 0 for columns that are not estimable.
    /// Empty before a fit.
    const Vector& getCoefficients() const noexcept { return coefficients_; }
    /// |diagonal entry of R| that belongs to each design column.
    const Vector& getColumnNorms() const noexcept { return columnNorms_; }
    /// Design columns kept as estimable, ascending.
    const IntVector& getEstimableColumns() const noexcept { return estimable_; }
    double getTolerance() const noexcept { return tolerance_; }
    bool isFitted() const noexcept { return fitted_; }
    bool hasIntercept() const noexcept { return intercept_; }
    /// Rows and columns of the design matrix.
    int getNumRows() const noexcept { return numRows_; }
    int getNumCols() const noexcept { return numCols_; }
    int getRank() const noexcept { return rank_; }

  protected:
    Vector coefficients_;
    Vector columnNorms_;
    IntVector estimable_;
    double tolerance_ = std::numeric_limits<double>::quiet_NaN();
    bool fitted_ = false;
    bool intercept_ = true;
    int numRows_ = 0;
    int numCols_ = 0;
    int rank_ = 0;
};

}  // namespace Veltrix::Engine::LinearModel
