#pragma once

#include <limits>
#include <utility>

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

/// What linear and logistic regression share. A model that was moved from is unfitted and has no
/// weights.
class VELTRIX_ENGINE_API Model : public Weightable {
  public:
    Model() = default;
    Model(const Model&) = default;
    Model(Model&& other) noexcept
        : Weightable(std::move(other)), solution_(std::exchange(other.solution_, {})) {}
    Model& operator=(const Model& other);
    Model& operator=(Model&& other) noexcept;
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
    /// predictor. A column of zeros cannot be scaled and stays as it is: its eigenvalue is 0, its
    /// condition index infinite (NaN when all columns are zero), its variance that component's.
    /// With fewer rows than columns the first p − n eigenvalues are 0 up to rounding.
    /// Throws `Exception` on NaN or infinite entries.
    static Multicollinearity multicollinearity(const Matrix& x);

    /// One entry per design column, the intercept first; 0 for columns that are not estimable.
    /// Empty before a fit.
    const Vector& getCoefficients() const noexcept { return solution_.coefficients; }
    /// |diagonal entry of R| that belongs to each design column.
    const Vector& getColumnNorms() const noexcept { return solution_.columnNorms; }
    /// Design columns kept as estimable, ascending.
    const IntVector& getEstimableColumns() const noexcept { return solution_.estimable; }
    /// max(n, p)·ε times the length of the longest column of the (root-weighted) design matrix.
    double getTolerance() const noexcept { return solution_.tolerance; }
    bool isFitted() const noexcept { return solution_.fitted; }
    bool hasIntercept() const noexcept { return solution_.intercept; }
    /// Rows and columns of the design matrix.
    int getNumRows() const noexcept { return solution_.numRows; }
    int getNumCols() const noexcept { return solution_.numCols; }
    int getRank() const noexcept { return solution_.rank; }

  protected:
    /// What a fit finds.
    struct Solution {
        Vector coefficients;
        Vector columnNorms;
        IntVector estimable;
        double tolerance = std::numeric_limits<double>::quiet_NaN();
        bool fitted = false;
        bool intercept = true;
        int numRows = 0;
        int numCols = 0;
        int rank = 0;
    };
    Solution solution_;
};

}  // namespace Veltrix::Engine::LinearModel
