#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Engine/DT/Tree.h"
#include "engine/supervised/DT/ClassShares.h"
#include "engine/supervised/DT/Split.h"
#include "engine/supervised/DT/TrainingRecord.h"

namespace Veltrix::Engine::DT {

/// What growth has to know of a response of classes. With w(c) the weight of a record of class c
/// and n(c) the records of the class on a side, the score of a split is
///
///     Σ over both sides of Σ(w(c)n(c))² / Σ w(c)n(c),
///
/// which grows with the measure: p(L)i(L) + p(R)i(R) is the node's probability less the score.
/// Equal weights are taken as 1, so that counts of records, which are exact, stand for
/// probabilities. A split with a side of weight 0 has the score NaN and is never made.
class ClassTarget {
  public:
    ClassTarget(const IntVector& codes, ClassShares shares, LabelRule rule);

    /// Empty lists for the nodes to come.
    TrainingRecord makeRecord() const;
    /// Fills in what the response says of a node, whose class counts join the record.
    void label(Node& node, std::span<const std::int32_t> records, TrainingRecord& training) const;
    /// Whether any split of the node has a measure above 0.
    static bool worthSplitting(const Node& node) { return node.impurity > 0.0; }

    /// Prepares the search for the split of a node; returns the score to exceed, that of measure 0.
    double begin(const Node& node, std::span<const std::int32_t> records,
                 const TrainingRecord& training);
    void sweep(std::span<const SortedColumns::Entry> entries, const SplitData& data, int column,
               Split& best) const;

    /// Sums for the search over categories: number of records, then records by class.
    std::size_t totalsSize() const { return weights_.size() + 1; }
    void addTo(double* totals, std::int32_t record) const {
        totals[0] += 1.0;
        totals[1 + classOf(record)] += 1.0;
    }
    double score(const double* left, const double* right) const;
    /// The score that the next candidate must exceed: differences within rounding are ties.
    double raised(double score) const { return score + slack_; }
    /// Whether categories can be ordered by `mean` without missing the best subset.
    bool hasMean() const { return weights_.size() == 2; }
    /// Share of the second of two classes.
    double mean(const double* totals) const;

  private:
    class EqualSides;
    class WeightedSides;

    std::size_t classOf(std::int64_t record) const {
        return static_cast<std::size_t>(codes_[static_cast<std::size_t>(record)]);
    }
    double sideScore(const double* totals) const;

    std::span<const int> codes_;
    ClassShares shares_;
    std::vector<double> weights_;  ///< w(c), or 1 when all are equal
    LabelRule rule_;
    std::vector<int> nodeCounts_;
    double slack_ = 0.0;
};

}  // namespace Veltrix::Engine::DT
