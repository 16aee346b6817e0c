#pragma once

#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// Scores of predictions. Lengths that differ throw `Exception`; empty operands give NaN.
class VELTRIX_EVALUATOR_API Metrics {
  public:
    Metrics() = delete;

    /// Root of the mean squared difference.
    [[nodiscard]] static double RMSE(const Vector& actual, const Vector& predicted);
    /// Share of equal labels. `caseSensitive` false compares without regard to case (simple case
    /// folding of each unit, ASCII and Latin, Greek and Cyrillic letters).
    [[nodiscard]] static double accuracy(const StringVector& actual, const StringVector& predicted,
                                         bool caseSensitive);
};

}  // namespace Veltrix
