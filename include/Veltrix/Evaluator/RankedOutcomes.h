#pragma once

#include <cstdint>

#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// Points of a ROC curve from (0, 0) to (1, 1), one for each distinct score: what happens when
/// records are taken whose score is at least the cutoff. The first cutoff is infinite.
struct VELTRIX_EVALUATOR_API RocCurve {
    Vector cutoffs;
    Vector falsePositiveRates;  ///< share of the other records that are taken, 1 − specificity
    Vector truePositiveRates;   ///< share of the successes that are taken, sensitivity
};

/// Groups of records in the order of their scores, the largest first. Cumulative columns hold this
/// group and those before it.
struct VELTRIX_EVALUATOR_API LiftTable {
    Vector records;       ///< as equal as whole numbers can be
    Vector lowestScores;  ///< of the group
    Vector totals;        ///< of the outcomes
    Vector means;         ///< totals/records
    Vector lifts;         ///< means divided by the mean of all records
    Vector cumulativeRecords;
    Vector cumulativeTotals;
    Vector cumulativeShares;  ///< of the total of all records (gain)
    Vector cumulativeLifts;   ///< mean so far divided by the mean of all records
};

/// Records in the descending order of a score, with what came of each: 1 for a success and 0 else,
/// or any number. One sort when it is made, O(n log n); everything else is O(n) or less.
///
/// Records with equal scores have no order among them. The ROC curve passes a tie by a straight
/// line, so that its area counts a tied pair half; totals of the first records are expected values
/// over all orders of the tied ones, and may be no whole numbers.
///
/// Records whose score is NaN are left out. Without records all results are NaN or empty.
class VELTRIX_EVALUATOR_API RankedOutcomes {
  public:
    RankedOutcomes() = default;
    /// Throws `Exception` for lengths that differ (code 1) and an outcome that is not finite (4).
    RankedOutcomes(const Vector& outcomes, const Vector& scores);

    [[nodiscard]] std::int64_t numRecords() const noexcept { return numRecords_; }
    [[nodiscard]] double total() const noexcept { return totals_.empty() ? 0.0 : totals_.back(); }

    /// @name Successes against others
    /// Throw `Exception` (code 3) when an outcome is neither 0 nor 1.
    /// @{
    /// Area under the ROC curve: the share of pairs of a success and another record in which the
    /// success has the larger score, ties counted half (the Mann-Whitney statistic over the number
    /// of pairs; Hanley and McNeil 1982), from whole counts. NaN unless there are both.
    [[nodiscard]] double area() const;
    /// At most about `maxPoints` points with even distances along the curve; 0 = all, a negative
    /// number throws `Exception` (code 3). Rates of successes or others that there are none of are
    /// NaN.
    [[nodiscard]] RocCurve rocCurve(int maxPoints = 0) const;
    /// @}

    /// Expected total of the first records, `count` within 0 and `numRecords()`: the cumulative
    /// gain. Throws `Exception` (code 2) outside. O(log n).
    [[nodiscard]] double totalOfFirst(std::int64_t count) const;
    /// Groups that end after ⌊n·g/numGroups⌋ records, g = 1, 2, …; no more groups than records.
    /// Lifts are NaN when the mean of all records is 0. Throws `Exception` (code 3) unless
    /// `numGroups` is at least 1.
    [[nodiscard]] LiftTable lift(int numGroups = 10) const;

  private:
    void checkBinary(const char* operation) const;

    std::int64_t numRecords_ = 0;
    bool binary_ = true;
    // For each distinct score, descending: the score, and records and outcomes down to it.
    Vector scores_;
    Vector counts_;
    Vector totals_;
};

}  // namespace Veltrix
