#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/DT/Tree.h"
#include "engine/supervised/DT/Split.h"
#include "engine/supervised/DT/TrainingRecord.h"

namespace Veltrix::Engine::DT {

/// What growth has to know of a response of numbers. With S the sum over the left side of the
/// deviations from the node's mean, the score of a split is S²/(n(L) n(R)): the measure is the
/// score times n/N, n the records of the node and N all of them.
class NumberTarget {
  public:
    explicit NumberTarget(const Vector& y) : y_(y.data(), y.size()) {}

    static TrainingRecord makeRecord() { return {}; }
    /// Fills in what the response says of a node.
    void label(Node& node, std::span<const std::int32_t> records, TrainingRecord& training) const;
    /// Whether any split of the node has a measure above 0.
    static bool worthSplitting(const Node& node) { return node.risk > 0.0; }

    /// Prepares the search for the split of a node; returns the score to exceed.
    double begin(const Node& node, std::span<const std::int32_t> records,
                 const TrainingRecord& training);
    void sweep(std::span<const SortedColumns::Entry> entries, const SplitData& data, int column,
               Split& best) const;

    /// Sums for the search over categories: number of records, sum of deviations.
    static std::size_t totalsSize() { return 2; }
    void addTo(double* totals, std::int32_t record) const {
        totals[0] += 1.0;
        totals[1] += deviation(record);
    }
    static double score(const double* left, const double* right);
    /// The score that the next candidate must exceed. The sums of a split carry rounding of about
    /// ε√n of their size; candidates closer than 1e-12 of the score are ties.
    static double raised(double score) { return score * (1.0 + 1e-12); }
    static bool hasMean() { return true; }
    static double mean(const double* totals) { return totals[1] / totals[0]; }

  private:
    class Sides;

    /// The mean of a node as a value of the response and the distance from it: deviations formed of
    /// both keep their digits however far the response lies from 0.
    struct Centre {
        double value = 0.0;
        double offset = 0.0;
    };
    double valueOf(std::int64_t record) const { return y_[static_cast<std::size_t>(record)]; }
    double deviation(std::int64_t record) const {
        return (valueOf(record) - centre_.value) - centre_.offset;
    }
    Centre centreOf(std::span<const std::int32_t> records) const;

    std::span<const double> y_;
    Centre centre_;
};

}  // namespace Veltrix::Engine::DT
