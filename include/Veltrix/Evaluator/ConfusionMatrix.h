#pragma once

#include <cstdint>
#include <vector>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// How records of one class and all others were told apart. Counts of 2³¹ − 1 records in all at
/// most, so that everything is computed from exact whole numbers. A measure whose divisor is 0 is
/// NaN unless said.
struct VELTRIX_EVALUATOR_API BinaryCounts {
    std::int64_t truePositives = 0;   ///< of the class, and predicted so
    std::int64_t falseNegatives = 0;  ///< of the class, but not predicted so
    std::int64_t falsePositives = 0;  ///< of another class, but predicted as this one
    std::int64_t trueNegatives = 0;   ///< of another class, and not predicted as this one

    [[nodiscard]] std::int64_t numRecords() const noexcept;
    /// Share of the records of the class that were found (recall): TP/(TP + FN).
    [[nodiscard]] double sensitivity() const noexcept;
    /// Share of the other records that were left alone: TN/(TN + FP).
    [[nodiscard]] double specificity() const noexcept;
    /// Share of the records predicted as the class that are of it: TP/(TP + FP).
    [[nodiscard]] double precision() const noexcept;
    /// Harmonic mean of precision and sensitivity, 2 TP/(2 TP + FP + FN).
    [[nodiscard]] double F1() const noexcept;
    /// Mean of sensitivity and specificity.
    [[nodiscard]] double balancedAccuracy() const noexcept;
    /// Correlation of the two 0/1 variables (Matthews 1975), (TP·TN − FP·FN) divided by the root of
    /// (TP + FP)(TP + FN)(TN + FP)(TN + FN); 0 when one of these sums is, NaN without records.
    [[nodiscard]] double MCC() const noexcept;
};

/// Counts how often records of each class were predicted as each class. A record may be without a
/// prediction; it then is an error of its class and counts for no other class.
class VELTRIX_EVALUATOR_API ConfusionMatrix {
  public:
    ConfusionMatrix() = default;
    /// Classes are numbers from 0 to `numClasses` − 1; a prediction of −1 is none. Takes
    /// numClasses² counts of memory. Throws `Exception` for lengths that differ (code 1), a class
    /// that does not exist (2) and a negative number of classes (3).
    ConfusionMatrix(const IntVector& actual, const IntVector& predicted, int numClasses);
    /// The classes are all labels of both lists in ascending order; there is always a prediction.
    ConfusionMatrix(const StringVector& actual, const StringVector& predicted);

    [[nodiscard]] int getNumClasses() const noexcept { return numClasses_; }
    /// The labels; empty when classes are told by their numbers.
    [[nodiscard]] const StringVector& getClasses() const noexcept { return classes_; }
    /// Records of class `actual` predicted as class `predicted`.
    [[nodiscard]] std::int64_t count(int actual, int predicted) const;
    [[nodiscard]] std::int64_t numRecords() const noexcept { return numRecords_; }
    [[nodiscard]] std::int64_t numActual(int cls) const;
    [[nodiscard]] std::int64_t numPredicted(int cls) const;
    [[nodiscard]] std::int64_t numCorrect() const noexcept;
    [[nodiscard]] std::int64_t numWithoutPrediction() const noexcept;

    /// One class against all others. All questions about a class that does not exist throw
    /// `Exception` (code 2).
    [[nodiscard]] BinaryCounts oneAgainstRest(int cls) const;
    /// Mean of a measure over the classes that have a record or a prediction, where a measure that
    /// is NaN counts as 0: `macroAverage(&BinaryCounts::F1)`. NaN without such a class.
    [[nodiscard]] double macroAverage(double (BinaryCounts::*measure)() const noexcept) const;

    /// @name Measures over all classes; NaN without records
    /// @{
    [[nodiscard]] double accuracy() const noexcept;
    /// Mean of the sensitivities of the classes that have records.
    [[nodiscard]] double balancedAccuracy() const noexcept;
    /// Agreement beyond chance (Cohen 1960), (pₒ − pₑ)/(1 − pₑ) with pₒ the accuracy and pₑ the sum
    /// of the products of actual and predicted shares. NaN when all records are of one class and
    /// predicted so.
    [[nodiscard]] double kappa() const noexcept;
    /// Correlation of actual and predicted classes (Gorodkin 2004), which for two classes is that
    /// of `BinaryCounts`; 0 when all records are of one class, or predicted so.
    [[nodiscard]] double MCC() const noexcept;
    /// @}

  private:
    /// n times the records that would be correct by chance, Σ actual·predicted.
    [[nodiscard]] std::int64_t chance() const noexcept;
    void checkClass(int cls) const;

    int numClasses_ = 0;
    std::int64_t numRecords_ = 0;
    std::vector<std::int64_t> counts_;     // row = actual class
    std::vector<std::int64_t> actual_;     // records of each class
    std::vector<std::int64_t> predicted_;  // predictions of each class
    StringVector classes_;
};

}  // namespace Veltrix
