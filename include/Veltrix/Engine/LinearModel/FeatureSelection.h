#pragma once

#include <utility>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

/// @file
/// Choice of predictors for linear and logistic regression, by searches on a bordered cross-product
/// matrix with the Gauss-Jordan sweep operator.
///
/// The matrix S = [D y]ᵀ[D y] (weighted) has the response r in its last row and column, and with an
/// intercept the column of ones in the first. A swept column is in the model; S(r, r) is the
/// residual sum of squares (RSS) of the current model of k columns, the intercept included. With
/// c(j) = S(r, j) S(j, r)/S(j, j)
///
/// - entering column j takes c(j) off RSS; F to enter = (n − k − 1) c(j)/(RSS − c(j));
/// - removing it adds −c(j); F to remove = (n − k)(−c(j))/RSS.
///
/// A column whose S(j, j) has lost all but 1e-12 of its first value depends on the model's columns
/// as far as cross-products can tell, and cannot enter.

namespace Veltrix::Engine::LinearModel::FeatureSelection {

/// Statistics of recorded models, one entry each; empty when they were not computed.
struct ModelStatistics {
    Vector residualSumOfSquares;
    Vector cp;          ///< RSS/s² − n + 2k with s² of the full model (Mallows 1973)
    Vector R2;          ///< 1 − RSS/SST; least squares only
    Vector adjustedR2;  ///< 1 − (RSS/(n − k))/(SST/total df); least squares only
    /// P(F ≥ that of the model against the full one); 1 for the full model. Small where the
    /// predictors left out are missed.
    Vector probability;
    /// −2 log-likelihood + 2 × parameters, for least squares with the variance among them.
    Vector aic;
    /// −2 log-likelihood + ln(records) × parameters; records: n, for a logistic model Σw.
    Vector bic;
    Vector deviance;  ///< of the refitted model; logistic only
    Vector pseudoR2;  ///< 1 − deviance/null deviance; logistic only
};

/// The models that a search went through. A column of `getSubsets` is a column of the cross-product
/// matrix without the response: with an intercept column 0 is the intercept, which is in every
/// model, and sizes count it. The history of `featureSelection` has one column for each column of
/// the design matrix; those that screening dropped are in no model.
class VELTRIX_ENGINE_API History {
  public:
    History() = default;
    History(bool intercept, int numRecords, int numPredictors);
    History(const History&) = default;
    History(History&&) noexcept = default;
    History& operator=(const History& other) { return *this = History(other); }
    History& operator=(History&&) noexcept = default;
    virtual ~History();

    /// Appends the last model (none at first) with column `j`. Throws `Exception` for a column that
    /// does not exist.
    virtual void addVariable(int j, double statistic);
    /// Appends the last model without column `j`.
    virtual void removeVariable(int j, double statistic);
    /// Appends the model of these columns.
    virtual void recordSubset(const IntVector& columns, double statistic);
    /// Appends the model of all columns.
    virtual void recordFullModel(double statistic);
    /// Keeps of every size the `k` models with the smallest statistic (the RSS of `bestSubsets` and
    /// `sequentialReplacement`), in ascending order of size and statistic; equal ones in the order
    /// in which they were recorded, NaN last. Throws `Exception` for a negative k.
    virtual void filterSubsets(int k);

    bool hasIntercept() const noexcept { return intercept_; }
    int getNumRecords() const noexcept { return numRecords_; }
    int getNumPredictors() const noexcept { return numPredictors_; }
    int getNumModels() const noexcept { return subsets_.getNumRows(); }
    /// One row a model: 1 for columns in it, else 0.
    const Matrix& getSubsets() const noexcept { return subsets_; }
    const IntVector& getSizes() const noexcept { return sizes_; }
    /// What the search went by: F to enter, F to remove, or RSS; NaN where it starts.
    const Vector& getStatistics() const noexcept { return statistics_; }
    /// Columns of a recorded model, ascending. Throws `Exception` when there is none of that
    /// number.
    IntVector getColumns(int model) const;

    const ModelStatistics& getModelStatistics() const noexcept { return modelStatistics_; }
    void setModelStatistics(ModelStatistics statistics) noexcept {
        modelStatistics_ = std::move(statistics);
    }
    /// The same models among `numPredictors` columns, of which `columns` are those here.
    History spread(const IntVector& columns, int numPredictors) const;

  private:
    void record(const Vector& row, int size, double statistic);
    Vector lastModel() const;

    bool intercept_ = false;
    int numRecords_ = 0;
    int numPredictors_ = 0;
    Matrix subsets_;
    IntVector sizes_;
    Vector statistics_;
    ModelStatistics modelStatistics_;
};

enum class Algorithm : int {
    backwardElimination = 1,
    forwardSelection = 2,
    bestSubsets = 3,
    sequentialReplacement = 4,
    stepwiseRegression = 5
};

/// The limits that `featureSelection` takes when none are given: upper tails of 5 % and 10 % of F
/// with many degrees of freedom.
inline constexpr double kUsualFIn = 3.84;
inline constexpr double kUsualFOut = 2.71;

// Searches on a cross-product matrix S of at least one column beside the response, not yet swept;
// in the end it is swept on the columns of the last model of the search. `maxSize` is the most
// columns beside the intercept; more than there are is as many as there are. They throw
// `NumElementsMismatch` unless S is square, `Exception` for a negative `maxSize` and, as they begin
// with all columns, the first and `bestSubsets` for columns that depend on others; S is then as it
// was.

/// From the full model (statistic NaN) removes the column of least F to remove while that is below
/// `fOut`, and further ones while there are more than `maxSize`. Records F to remove.
VELTRIX_ENGINE_API History backwardElimination(Matrix& s, int n, double fOut, bool intercept,
                                               int maxSize);

/// Adds the column of largest F to enter (the first of equal ones) while that is at least `fIn`.
/// Starts with the intercept, which is recorded with its own F, or with nothing.
VELTRIX_ENGINE_API History forwardSelection(Matrix& s, int n, double fIn, bool intercept,
                                            int maxSize);

/// Adds a column as `forwardSelection`, then removes as `backwardElimination` until none is below
/// `fOut`; ends when none enters or a set of columns comes again. Throws
/// `StepwiseRegressionFinFoutIncorrect` when fOut > fIn.
VELTRIX_ENGINE_API History stepwiseRegression(Matrix& s, int n, double fIn, double fOut,
                                              bool intercept, int maxSize);

/// For each size the best addition to the set of the size below, then exchanges of a column inside
/// for one outside, the best first, while RSS falls (Miller 2002, ch. 3). Records one model a size
/// with its RSS.
VELTRIX_ENGINE_API History sequentialReplacement(Matrix& s, int n, bool intercept, int maxSize);

/// The `numSubsets` models of least RSS of every size from 1, with their RSS, ascending: a search
/// through all subsets that leaves out those which cannot be among them, since RSS only grows as
/// columns go (branch and bound: Furnival and Wilson 1974, "Regressions by leaps and bounds";
/// Gatu and Kontoghiorghes 2006). `exhaustive` visits every subset and finds the same. Time depends
/// on the data: seconds for 30 columns, hopeless for 60 that explain nothing. Of models whose RSS
/// agrees to 1e-12 the first one met is taken. Reports progress. Throws `Exception` when
/// `numSubsets` is below 1.
VELTRIX_ENGINE_API History bestSubsets(Matrix& s, int n, bool intercept, int numSubsets,
                                       bool exhaustive, int maxSize);

namespace OLS {

/// Adds to the history what a least-squares report shows, from the cross-product matrix that was
/// searched (not swept) and the total sum of squares about the mean, or about 0 without an
/// intercept.
VELTRIX_ENGINE_API void computeStatistics(History& history, const Matrix& crossProduct,
                                          double totalSumOfSquares);

}  // namespace OLS

namespace Logistic {

/// Adds to the history what a report on logistic models shows: RSS, Cp and probability from the
/// weighted cross-product matrix that was searched (not swept); deviance, pseudo R², AIC and BIC
/// from a fit of every model to the columns X of the cross-product beside the intercept.
VELTRIX_ENGINE_API void computeStatistics(History& history, const Matrix& crossProduct,
                                          const Matrix& x, const Vector& y, const Vector& weights,
                                          int maxIterations);

}  // namespace Logistic
}  // namespace Veltrix::Engine::LinearModel::FeatureSelection
