#pragma once

#include <limits>
#include <string_view>

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

namespace Veltrix::Engine::LinearModel::Logistic {

/// Estimates with their statistics, one entry per design column.
struct CoefficientInfo {
    Vector estimates;
    Vector standardErrors;
    Vector waldStatistics;  ///< (estimate / standard error)²
    Vector pValues;         ///< upper tail of chi-square with 1 degree of freedom
    Vector lowerConfidenceLimits;
    Vector upperConfidenceLimits;
    Vector odds;  ///< e^estimate: the factor of the odds for one unit more
};

/// How well a model fits its response.
struct FitEvaluation {
    double numIterations = std::numeric_limits<double>::quiet_NaN();
    double pseudoR2 = std::numeric_limits<double>::quiet_NaN();  ///< 1 − residual/null deviance
    double residualDeviance = std::numeric_limits<double>::quiet_NaN();
    double nullDeviance = std::numeric_limits<double>::quiet_NaN();
    double residualDf = std::numeric_limits<double>::quiet_NaN();  ///< Σw − p
};

/// Binary logistic regression by maximum likelihood: with D = [1 X] or X
///
///     P(yᵢ = 1) = πᵢ = 1/(1 + e^(−dᵢᵀβ)),   maximise Σ wᵢ (yᵢ ln πᵢ + (1 − yᵢ) ln(1 − πᵢ)),
///
/// by iteratively reweighted least squares (Newton-Raphson; McCullagh and Nelder 1989, ch. 4) from
/// β = 0. A step solves DᵀVD Δ = Dᵀ(w ∘ (y − π)) with vᵢ = wᵢ πᵢ (1 − πᵢ). With the deviance
/// L = −2 × the log-likelihood, steps end when
///
/// - |L_new − L|/|L| < 0.0001, or
/// - max |Δ| < 0.0001, or
/// - no record has πᵢ (1 − πᵢ) > 0.0001: the classes are separated and all is decided, or
/// - there were `maxIterations` of them; none is taken for a limit of 0 or less, and β stays 0.
///
/// The estimates are those of the last step, whatever ended it; when the classes are separated they
/// would grow for ever, and their standard errors say little. Each step is one pass over the
/// records in row blocks that stay in the cache, so memory beyond data and weights is a few vectors
/// of length p and a p × p matrix. A cross-product whose Cholesky factor would lose too many digits
/// (or that is not positive definite) gives way to a QR factorisation of √V D, which takes two
/// vectors of length n. Where a step finds columns that depend on others as far as √V D can tell,
/// their estimates stay.
///
/// Beforehand the columns are screened: those that depend linearly on earlier ones, as
/// `screenPredictors` tells of the design matrix multiplied by w, are left out; their coefficients
/// are 0. A weight of 0 takes a record out of the likelihood, but it counts in n and for the third
/// rule.
///
/// Shapes: X is n × p₀, y and w have length n, coefficients p = p₀ + 1 with an intercept. A fit
/// throws `Exception` when shapes disagree, there is no record or no column, a response is neither
/// 0 nor 1 (naming the record), a value is NaN or infinite (naming row and column), a weight is
/// negative or all are 0; the model is then as it was before. It reports progress. Every statistic
/// asked of an unfitted model is NaN-filled. A fitted model may be read from several threads.
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
    /// y holds 1 for records of the success class and 0 for the others.
    Model& fit(const Matrix& x, const Vector& y, int maxIterations, bool intercept);
    /// Fits with `weights`, which the model holds from then on. The frame forms fit(x, y,
    /// maxIterations, intercept) and fit(x, y, weights, maxIterations, intercept) convert their
    /// columns to numbers.
    Model& fit(const Matrix& x, const Vector& y, const Vector& weights, int maxIterations,
               bool intercept);
    Model& setWeights(const Vector& weights) override;
    Model& normalizeWeights() override;

    /// n × 2: π, the probability of success, and 1 − π; a NaN in a record gives NaN. Takes no
    /// memory beyond the result worth naming. Throws `Exception` when the number of columns differs
    /// from training. The frame form takes the columns of training in any order.
    Matrix posteriorProbability(const Matrix& x) const;
    Matrix posteriorProbability(const DataFrame& x) const;

    /// Steps after which the iterations went on; NaN before a fit, as is the deviance.
    double getNumIterations() const noexcept { return found_.numIterations; }
    /// −2 × the weighted log-likelihood at the estimates.
    double getResidualDeviance() const noexcept { return found_.residualDeviance; }

    /// Wald statistics of the coefficients from their covariance for the training records X: limits
    /// estimate ∓ z·error, z the normal quantile at (1 + confidence)/2. Of columns that are not
    /// estimable errors are 0, statistics and p-values NaN. Throws `Exception` when X has not the
    /// shape of the training data, or `confidence` is not inside (0, 1).
    CoefficientInfo computeCoefficientInfo(const Matrix& x, double confidence) const;
    CoefficientInfo computeCoefficientInfo(const DataFrame& x, double confidence) const;
    /// (DᵀVD)⁻¹ at the estimates, p × p; rows and columns are zero for columns that are not
    /// estimable, NaN where the information is singular to working precision, as it may be when
    /// the classes are separated. Throws as above.
    Matrix computeVarianceCovariance(const Matrix& x) const;
    Matrix computeVarianceCovariance(const DataFrame& x) const;
    /// The null deviance is that of the weighted mean ȳ of the response with an intercept,
    /// −2 Σw (ȳ ln ȳ + (1 − ȳ) ln(1 − ȳ)), NaN when all responses are the same, and −2 Σw ln ½
    /// without.
    FitEvaluation computeFitEvaluation(const Vector& y) const;
    FitEvaluation computeFitEvaluation(const ConstDataFrameColumn& y) const;
    /// Both throw `Exception` when X has not the records of the training data, the second one also
    /// when it has other columns.
    Multicollinearity computeMulticollinearity(const Matrix& x) const override;
    Multicollinearity computeFittedMulticollinearity(const Matrix& x) const override;

    /// Dᵀ diag(w π (1 − π)) D of a whole design matrix D. `blockRows` rows are weighted at a time,
    /// 0 or less for the usual number; it changes nothing but rounding. Throws `Exception` unless
    /// there is one weight and one probability for each row.
    static Matrix informationMatrix(const Matrix& design, const Vector& weights,
                                    const Vector& probabilities, int blockRows);

    /// Searches for subsets of predictors (see `FeatureSelection`) on the weighted least-squares
    /// problem of the last Newton step of the fit to all of them; each recorded model is then
    /// fitted once. Otherwise as `OLS::Model::featureSelection`.
    static FeatureSelection::History featureSelection(FeatureSelection::Algorithm algorithm,
                                                      const Matrix& x, const Vector& y,
                                                      const Vector& weights, int maxIterations,
                                                      bool intercept, const double* fIn,
                                                      const double* fOut, const int* numSubsets,
                                                      const bool* exhaustive, int maxSize);
    static FeatureSelection::History featureSelection(
        FeatureSelection::Algorithm algorithm, const DataFrame& x, const ConstDataFrameColumn& y,
        const ConstDataFrameColumn& weights, int maxIterations, bool intercept, const double* fIn,
        const double* fOut, const int* numSubsets, const bool* exhaustive, int maxSize);

  protected:
    /// The fitted model with all that its queries need.
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<Model>;

    struct Found {
        double numIterations = std::numeric_limits<double>::quiet_NaN();
        double residualDeviance = std::numeric_limits<double>::quiet_NaN();
    };

    void fitHelper(const DesignRows& design, const Vector& y, const Vector& weights,
                   int maxIterations);
    int numPredictors() const noexcept { return solution_.numCols - (solution_.intercept ? 1 : 0); }
    int numColumnsFor(const Matrix& x) const noexcept {
        return x.getNumCols() + (solution_.intercept ? 1 : 0);
    }
    void checkTrainingShape(const Matrix& x) const;

    Found found_;
};

}  // namespace Veltrix::Engine::LinearModel::Logistic
