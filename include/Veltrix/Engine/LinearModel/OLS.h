#pragma once

#include <limits>
#include <string_view>
#include <utility>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/FrameForms.h"
#include "Veltrix/Engine/LinearModel/DesignMatrix.h"
#include "Veltrix/Engine/LinearModel/FeatureSelection.h"
#include "Veltrix/Engine/LinearModel/Model.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine::LinearModel::OLS {

/// Analysis of variance of a fit; NaN before a fit.
struct ANOVA {
    double residualDf = std::numeric_limits<double>::quiet_NaN();    ///< n − rank
    double regressionDf = std::numeric_limits<double>::quiet_NaN();  ///< total − residual
    double totalDf = std::numeric_limits<double>::quiet_NaN();  ///< n − 1 with intercept, else n
    double SSE = std::numeric_limits<double>::quiet_NaN();      ///< residual sum of squares
    double SSR = std::numeric_limits<double>::quiet_NaN();      ///< SST − SSE
    double SST = std::numeric_limits<double>::quiet_NaN();      ///< see `Model::computeSST`
    double MSE = std::numeric_limits<double>::quiet_NaN();      ///< SSE / residual df, 0 for 0 df
    double MSR = std::numeric_limits<double>::quiet_NaN();      ///< SSR / regression df
    double MST = std::numeric_limits<double>::quiet_NaN();      ///< SST / total df
    double standardErrorOfEstimate = std::numeric_limits<double>::quiet_NaN();  ///< √MSE
    double F = std::numeric_limits<double>::quiet_NaN();                        ///< MSR / MSE
    double pValue = std::numeric_limits<double>::quiet_NaN();  ///< upper tail of F at F
};

/// How well a model fits its response.
struct FitEvaluation {
    double R2 = std::numeric_limits<double>::quiet_NaN();          ///< 1 − SSE/SST
    double adjustedR2 = std::numeric_limits<double>::quiet_NaN();  ///< 1 − MSE/MST
    /// −(n/2)(ln 2π + ln(SSE/n) + 1)
    double logLikelihood = std::numeric_limits<double>::quiet_NaN();
    /// Of the model that has an intercept only.
    double interceptOnlyLogLikelihood = std::numeric_limits<double>::quiet_NaN();
};

/// Residuals, one entry per record; h are the leverages. Where h is 1, what divides by 1 − h is
/// NaN.
struct Residuals {
    Vector raw;           ///< e = y − ŷ
    Vector standardized;  ///< e / √MSE
    Vector studentized;   ///< e / (√MSE √(1 − h))
    Vector deleted;       ///< e / (s₍ᵢ₎ √(1 − h)), externally studentized
};

/// Influence of each record (Belsley, Kuh and Welsch 1980, ch. 2; Cook 1977); NaN, but for the
/// leverage, where h is 1.
struct Diagnostics {
    Vector deleteOneVariances;  ///< s²₍ᵢ₎ = max(SSE − e²/(1 − h), 0) / (residual df − 1)
    Vector dffits;              ///< √h e / (s₍ᵢ₎ (1 − h))
    Vector cooksDistances;      ///< e² h / (rank MSE (1 − h)²)
    Vector covarianceRatios;  ///< (s²₍ᵢ₎/MSE)^rank / (1 − h)
    Vector leverages;         ///< h
};

/// Limits around predictions, one entry per record.
struct PredictionIntervals {
    Vector confidenceLower;
    Vector confidenceUpper;
    Vector predictionLower;
    Vector predictionUpper;
};

/// Multiple linear regression by (weighted) least squares,
///
///     minimise Σ wᵢ (yᵢ − dᵢᵀβ)²,   D = [1 X] or X,
///
/// by QR factorisation of √W D, not the normal equations, taking at each step the column with the
/// longest part outside the columns taken before (Golub 1965; of columns that agree within 1e-10
/// the first, so of two identical columns the later one is always left out). Columns that depend
/// linearly on others are found out, get coefficient 0 and variance 0, and the rank drops. A column
/// dₖ is dependent when
///
///     |R(k, k)| ≤ max(n, p) ε (‖dₖ‖ + Σ |γᵢ| ‖dᵢ‖),   dₖ ≈ Σ γᵢ dᵢ,
///
/// the sum over the columns kept before it: when relative changes of that size in the columns would
/// make it so. Units do not matter, nor does the rounding of totals. The factorisation works in row
/// blocks, so memory beyond the data is a few megabytes and vectors of length n.
///
/// Shapes: X is n × p₀, y and w have length n, coefficients p = p₀ + 1 with an intercept. A fit
/// throws `Exception` when shapes disagree, there is no record or no column, a value is NaN or
/// infinite (naming row and column), a weight is negative or all are 0; the model is then as it was
/// before. It reports progress. Every statistic asked of an unfitted model is NaN-filled with the
/// right length. A fitted model may be read from several threads.
class VELTRIX_ENGINE_API Model : public LinearModel::Model,
                                 public FrameForms<Model, Vector>,
                                 public JSON::Storable {
  public:
    Model() = default;
    Model(const Model&) = default;
    Model(Model&& other) noexcept;
    Model& operator=(const Model& other) { return *this = Model(other); }
    Model& operator=(Model&& other) noexcept;
    ~Model() override;

    using FrameForms::fit;
    using Weightable::fit;
    /// Fits with the weights that the model holds, else with unit weights, which it then holds.
    Model& fit(const Matrix& x, const Vector& y, bool intercept);
    /// Fits with `weights`, which the model holds from then on. The frame forms fit(x, y,
    /// intercept) and fit(x, y, weights, intercept) convert their columns to numbers.
    Model& fit(const Matrix& x, const Vector& y, const Vector& weights, bool intercept);
    Model& setWeights(const Vector& weights) override;
    Model& normalizeWeights() override;

    /// Predictions designMatrix(X)·β, length = rows. Throws `Exception` when the number of columns
    /// differs from training. The frame form takes the columns of training in any order.
    Vector predict(const Matrix& x) const;
    using FrameForms::predict;

    const ANOVA& getANOVA() const noexcept { return statistics_.anova; }
    /// Diagonal of the hat matrix, one entry per training record; exactly 1 within 64 ε of 1.
    const Vector& getLeverages() const noexcept { return statistics_.leverages; }
    /// p × p, zero rows and columns for columns that are not estimable.
    const Matrix& getCoefficientCovariance() const noexcept { return statistics_.covariance; }

    /// Statistics of the coefficients; t and p are NaN for columns that are not estimable. Here and
    /// below a fitted model throws `Exception` when `confidence` is not inside (0, 1).
    CoefficientInfo computeCoefficientInfo(double confidence) const;
    /// R² lies in [0, 1]; it and adjusted R² are 1 when SST is 0. σ of the intercept-only model is
    /// √(SST/(Σw (m − 1)/m)), m the number of non-zero weights; its log-likelihood is
    /// Σ wᵢ ln φ(yᵢ) about the weighted mean.
    FitEvaluation computeFitEvaluation(const Vector& y) const;
    FitEvaluation computeFitEvaluation(const ConstDataFrameColumn& y) const;
    /// Residuals of the training records, from the response and the fitted values.
    Residuals computeResiduals(const Vector& y, const Vector& fitted) const;
    /// Influence of the training records, from their raw residuals.
    Diagnostics computeDiagnostics(const Vector& residuals) const;
    /// ŷ ∓ q·s·√h and ŷ ∓ q·s·√(1 + h), q the Student-t quantile at (1 + confidence)/2.
    PredictionIntervals computeFittedPredictionIntervals(const Vector& fitted,
                                                         double confidence) const;
    /// The same for new records (rows of X) around the given predictions.
    PredictionIntervals computeNewPredictionIntervals(const Matrix& x, const Vector& predicted,
                                                      double confidence) const;
    /// Both throw `Exception` when X has not the records of the training data, the second one also
    /// when it has other columns.
    Multicollinearity computeMulticollinearity(const Matrix& x) const override;
    Multicollinearity computeFittedMulticollinearity(const Matrix& x) const override;

    /// Total sum of squares: Σ w(y − ȳ_w)² with an intercept, Σ w y² without.
    static double computeSST(const Vector& y, const Vector& weights, bool intercept);
    /// (DᵀWD)⁻¹ over the estimable columns, zero elsewhere: the coefficient covariance for unit
    /// residual variance.
    static Matrix covarianceMatrix(const Matrix& x, const Vector& weights, bool intercept);
    /// (DᵀWD)⁻¹ DᵀW diag(v) WD (DᵀWD)⁻¹: the coefficient covariance when record i has residual
    /// variance vᵢ (squared residuals give the heteroscedasticity-consistent form of White 1980).
    static Matrix weightedCovarianceMatrix(const Matrix& x, const Vector& weights,
                                           const Vector& variances, bool intercept);

    /// Searches for subsets of predictors (see `FeatureSelection`). Columns that depend on earlier
    /// ones are screened out, also those whose cross-products cannot tell. `weights` is empty for
    /// unit weights; the pointers are null for the usual limits of F (`kUsualFIn`, `kUsualFOut`),
    /// one subset of every size, and a search that leaves out what cannot be best. The history has
    /// one column for each column of the design matrix, and the statistics of its models. Throws
    /// what a fit and the searches throw.
    static FeatureSelection::History featureSelection(FeatureSelection::Algorithm algorithm,
                                                      const Matrix& x, const Vector& y,
                                                      const Vector& weights, bool intercept,
                                                      const double* fIn, const double* fOut,
                                                      const int* numSubsets, const bool* exhaustive,
                                                      int maxSize);
    static FeatureSelection::History featureSelection(
        FeatureSelection::Algorithm algorithm, const DataFrame& x, const ConstDataFrameColumn& y,
        const ConstDataFrameColumn& weights, bool intercept, const double* fIn, const double* fOut,
        const int* numSubsets, const bool* exhaustive, int maxSize);

  protected:
    /// The fitted model with all that its queries need.
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<Model>;

    struct Statistics {
        ANOVA anova;
        Vector leverages;
        Matrix covariance;
    };

    void fitHelper(const DesignRows& design, const Vector& y);
    const ANOVA& computeANOVA(const Vector& y);
    Vector computeDelete1Variance(const Vector& residuals) const;
    int numPredictors() const noexcept { return solution_.numCols - (solution_.intercept ? 1 : 0); }
    Matrix weightedTriangle(const Matrix& x) const;

    Statistics statistics_;
};

}  // namespace Veltrix::Engine::LinearModel::OLS
