#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "engine/supervised/DT/Features.h"
#include "engine/supervised/DT/SortedColumns.h"

namespace Veltrix::Engine::DT {

/// The best split of a node so far.
struct Split {
    int column = -1;  ///< none yet
    double threshold = 0.0;
    std::size_t numBelow = 0;  ///< records below the threshold
    std::vector<int> subset;
    double scoreToExceed = 0.0;

    bool found() const { return column >= 0; }
};

/// The part of the training data that is searched for splits.
struct SplitData {
    const Features& features;
    std::size_t leastChild;  ///< records of a child at least
};

/// The midpoint of two neighbouring values, if it parts them. It does not where it is rounded to
/// the smaller one or overflows, nor between numbers and NaN.
inline bool midpoint(double a, double b, double& threshold) {
    threshold = (a + b) * 0.5;
    return a < threshold && threshold <= b;
}

/// Tries the thresholds of a column from the least on. `sides` holds the sums of both sides, all
/// records right at first; `move` takes a record to the left.
template <class Target, class Sides>
void sweepThresholds(const Target& target, Sides sides,
                     std::span<const SortedColumns::Entry> entries, const SplitData& data,
                     int column, Split& best) {
    const std::size_t n = entries.size();
    for (std::size_t k = 0; k < data.leastChild; ++k) {
        sides.move(SortedColumns::recordOf(entries[k]));
    }
    for (std::size_t k = data.leastChild; k + data.leastChild <= n; ++k) {
        const SortedColumns::Entry entry = entries[k];
        const std::uint32_t record = SortedColumns::recordOf(entry);
        if ((entry & SortedColumns::kNewValue) != 0 &&
            sides.exceeds(k, n - k, best.scoreToExceed)) {
            const auto value = [&](std::uint32_t r) {
                return data.features.number(static_cast<int>(r), column);
            };
            double threshold = 0.0;
            if (midpoint(value(SortedColumns::recordOf(entries[k - 1])), value(record),
                         threshold)) {
                best = {column, threshold, k, {}, target.raised(sides.score(k, n - k))};
            }
        }
        sides.move(record);
    }
}

}  // namespace Veltrix::Engine::DT
