#pragma once

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// Regression error characteristic (Bi and Bennett 2003), the ROC curve of numbers: how far
/// predictions may be off, ascending from 0, and the share of records that are off by no more. The
/// area above the steps is the mean absolute error. No tolerance covers a record whose difference
/// is NaN.
struct VELTRIX_EVALUATOR_API ErrorCurve {
    Vector tolerances;
    Vector shares;
};

/// Scores of predictions: y are the actual values, f the predicted ones. Lengths that differ throw
/// `Exception` (code 1); empty operands give NaN, and so does a NaN among the values. What counts
/// classes is in `ConfusionMatrix`, what goes by the order of scores (ROC curve, gains, lift) in
/// `RankedOutcomes`.
class VELTRIX_EVALUATOR_API Metrics {
  public:
    Metrics() = delete;

    /// @name Numbers
    /// @{
    /// Mean squared difference Σ(y − f)²/n, and its root.
    [[nodiscard]] static double MSE(const Vector& actual, const Vector& predicted);
    [[nodiscard]] static double RMSE(const Vector& actual, const Vector& predicted);
    /// Mean absolute difference Σ|y − f|/n.
    [[nodiscard]] static double MAE(const Vector& actual, const Vector& predicted);
    /// Mean absolute difference relative to the actual value, Σ|y − f|/|y|/n (a share, no
    /// percentage). An actual value of 0 makes it infinite, or NaN when 0 is predicted for it.
    [[nodiscard]] static double MAPE(const Vector& actual, const Vector& predicted);
    /// Share of the variation explained, 1 − Σ(y − f)²/Σ(y − ȳ)² with ȳ the mean of these actual
    /// values; below 0 for predictions worse than the mean. NaN when all actual values are equal.
    [[nodiscard]] static double R2(const Vector& actual, const Vector& predicted);
    /// At most about `maxPoints` points, evenly spread over the records; 0 = all. Throws
    /// `Exception` (code 3) for a negative number.
    [[nodiscard]] static ErrorCurve errorCurve(const Vector& actual, const Vector& predicted,
                                               int maxPoints = 0);
    /// @}

    /// @name Classes
    /// @{
    /// Share of equal labels. `caseSensitive` false compares without regard to case (simple case
    /// folding of each unit, ASCII and Latin, Greek and Cyrillic letters).
    [[nodiscard]] static double accuracy(const StringVector& actual, const StringVector& predicted,
                                         bool caseSensitive);
    /// Mean of −ln p, p the probability that was given to the actual class, at least ε =
    /// 2.220446049250313e-16 each. `actual` holds the columns of `posteriors` (n × classes) that
    /// the records belong to; −1 stands for a class without a column, whose probability is 0. Other
    /// columns throw `Exception` (code 2). Rows are taken as they stand, whatever they sum to.
    [[nodiscard]] static double logLoss(const IntVector& actual, const Matrix& posteriors);
    /// Mean of Σ(p − a)² over the classes, a being 1 for the actual class and 0 else (Brier 1950);
    /// for two classes half of it, the mean of (p − a)² of either class. `actual` as above.
    [[nodiscard]] static double brierScore(const IntVector& actual, const Matrix& posteriors);
    /// The same for two classes of which one is told: `outcomes` are 1 for its records and 0 else,
    /// anything else throws `Exception` (code 3); `probabilities` are of that class.
    [[nodiscard]] static double logLoss(const Vector& outcomes, const Vector& probabilities);
    [[nodiscard]] static double brierScore(const Vector& outcomes, const Vector& probabilities);
    /// @}
};

}  // namespace Veltrix
