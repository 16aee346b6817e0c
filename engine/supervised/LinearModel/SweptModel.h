#pragma once

#include <cstdint>
#include <vector>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/LinearModel/FeatureSelection.h"

namespace Veltrix::Engine::LinearModel::FeatureSelection {

/// A cross-product matrix to be searched, with the intercept swept in already.
struct Problem {
    Matrix swept;
    int numRecords = 0;
    bool intercept = false;

    int numColumns() const { return swept.getNumCols() - 1; }
    int numForced() const { return intercept ? 1 : 0; }
};

/// Sweeps the intercept of a matrix that nothing was swept in. Throws as the searches.
Problem problemOf(const Matrix& s, int n, bool intercept);

/// Of the columns of a design matrix (the intercept first) with triangle R of [D y] those that are
/// independent in the given order, in squares too; the cross-products without the intercept are
/// formed about the means, so that columns far from 0 keep their digits.
Problem problemOf(const Matrix& triangle, int n, bool intercept, IntVector& columns);

/// A column and what it does.
struct Step {
    int column = -1;
    double F = 0.0;
};

/// The model of the swept columns of a problem.
class SweptModel {
  public:
    explicit SweptModel(Problem problem);

    const Problem& problem() const { return problem_; }
    int numColumns() const { return problem_.numColumns(); }
    /// Columns in the model, the intercept included.
    int size() const { return size_; }
    bool contains(int j) const { return inside_[static_cast<std::size_t>(j)]; }
    const std::vector<bool>& inside() const { return inside_; }
    IntVector columns() const;
    double rss() const { return problem_.swept.last(); }

    /// Takes a column in or out.
    void turn(int j);
    /// What RSS loses by column j, which is outside; NaN when it depends on the model's columns.
    double reduction(int j) const;
    /// What RSS gains by the loss of column j, which is inside.
    double increase(int j) const;
    /// RSS after column `out` has given way to column `in`; infinite when that one cannot enter.
    double exchanged(int out, int in) const;

    /// The column of largest F to enter, the first of equal ones; -1 when none can.
    Step entry() const;
    /// The column of least F to remove beside the intercept; -1 when there is none.
    Step removal() const;
    /// The column that lowers RSS most; -1 when none can enter.
    int bestAddition() const;

    double fToEnter(int j) const;
    double fToRemove(int j) const;

  private:
    bool canEnter(double pivot, int j) const;

    Problem problem_;
    Vector first_;  // diagonal before any column was taken in
    std::vector<bool> inside_;
    int size_ = 0;
};

/// The searches, with the model that they end with.
History searchBackward(SweptModel& model, double fOut, int maxSize);
History searchForward(SweptModel& model, double fIn, int maxSize);
History searchStepwise(SweptModel& model, double fIn, double fOut, int maxSize);
History searchSequentially(SweptModel& model, int maxSize);
/// Leaves the model as it began.
History searchBestSubsets(SweptModel& model, int numSubsets, bool exhaustive, int maxSize);

/// Statistics from the cross-products alone.
ModelStatistics sweptStatistics(const Problem& problem, const History& history);
/// With R², adjusted R², AIC and BIC of least squares.
ModelStatistics leastSquaresStatistics(const Problem& problem, const History& history,
                                       double totalSumOfSquares);

/// Fits every recorded model and completes its statistics; columns are those of [1 X] or X.
void refitModels(History& history, ModelStatistics statistics, const Matrix& x, const Vector& y,
                 const Vector& weights, int maxIterations);

/// What both models' `featureSelection` takes.
struct Request {
    Algorithm algorithm;
    const double* fIn;
    const double* fOut;
    const int* numSubsets;
    const bool* exhaustive;
    int maxSize;
};

History search(const Problem& problem, const Request& request);

}  // namespace Veltrix::Engine::LinearModel::FeatureSelection
