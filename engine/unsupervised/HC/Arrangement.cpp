#include "engine/unsupervised/HC/Arrangement.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/PackedDistances.h"
#include "Veltrix/Data/Util.h"
#include "engine/unsupervised/HC/Agglomeration.h"
#include "support/kernels/Arrays.h"
#include "support/kernels/LinkageUpdates.h"

namespace Veltrix::Engine::HC {
namespace {

using Veltrix::Util;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::size_t place(std::int64_t index) { return static_cast<std::size_t>(index); }

/// For every record the distances to its two nearest others, and the nearest one.
struct NearestRecords {
    NearestRecords(const Matrix& x, DissimilarityType type);
    void look(const DistanceBlock& block);

    Vector least;
    Vector second;
    Vector places;
};

NearestRecords::NearestRecords(const Matrix& x, DissimilarityType type)
    : least(place(x.getNumRows()), kInfinity),
      second(place(x.getNumRows()), kInfinity),
      places(place(x.getNumRows()), -1.0) {
    visitDistances(x, true, type, [this](const DistanceBlock& block) { look(block); });
    if (type == DissimilarityType::euclidean) {
        for (double& distance : least) distance = std::sqrt(distance);
        for (double& distance : second) distance = std::sqrt(distance);
    }
}

void NearestRecords::look(const DistanceBlock& block) {
    for (std::int64_t r = 0; r < block.numRows; ++r) {
        const std::int64_t row = block.firstRow + r;
        const std::int64_t first = std::max(block.firstColumn, row + 1);
        const std::int64_t count = block.firstColumn + block.numColumns - first;
        if (count <= 0) continue;
        double* const line = block.values + r * block.step + (first - block.firstColumn);
        Kernels::linkageUpdates().keepTwoSmallest(count, line, static_cast<double>(row),
                                                  least.data() + first, second.data() + first,
                                                  places.data() + first);
        // Seldom does a part of a line hold one of the two nearest.
        for (int k = 0; k < 2; ++k) {
            const double nearest = Kernels::arrays().smallest(count, line);
            if (!(nearest < second.data()[row])) break;
            double* const found = std::find(line, line + count, nearest);
            if (nearest < least.data()[row]) {
                second.data()[row] = std::exchange(least.data()[row], nearest);
                places.data()[row] = static_cast<double>(first + (found - line));
            } else {
                second.data()[row] = nearest;
            }
            *found = kInfinity;
        }
    }
}

/// The records in the order of their places: pairs that are each other's nearest side by side, the
/// others by the distance to their nearest, so that those come first which merge early.
class Arrangement {
  public:
    /// Linkages by which a merged cluster is no nearer to others than its two sides were merge such
    /// pairs whatever else happens.
    static bool isReducible(std::int32_t linkage) {
        return (linkage >= 2 && linkage <= 4) || linkage == 7;
    }

    /// False when two distances that matter are the same.
    bool arrange(const NearestRecords& nearest, bool pairsMerge);
    Clusters clusters(const Matrix& x, DissimilarityType type, std::int32_t linkage) const;
    const MergingHistory& merges() const { return merges_; }

  private:
    bool findPairs(const NearestRecords& nearest);

    std::vector<std::int32_t> records_;
    MergingHistory merges_;  // of the pairs
    Vector bounds_;
};

bool Arrangement::findPairs(const NearestRecords& nearest) {
    const auto n = static_cast<std::int32_t>(nearest.least.size());
    for (std::int32_t i = 0; i < n; ++i) {
        const double distance = nearest.least.data()[i];
        if (!(distance < kInfinity)) return false;
        const auto j = static_cast<std::int32_t>(nearest.places.data()[i]);
        if (j < i || static_cast<std::int32_t>(nearest.places.data()[j]) != i) continue;
        if (Util::equal(distance, nearest.second.data()[i]) ||
            Util::equal(distance, nearest.second.data()[j])) {
            return false;
        }
        merges_.push_back({i + 1, j + 1, distance});
    }
    std::ranges::sort(merges_, {}, &MergeRecord::distance);
    return std::ranges::adjacent_find(merges_, Util::equal, &MergeRecord::distance) ==
           merges_.end();
}

bool Arrangement::arrange(const NearestRecords& nearest, bool pairsMerge) {
    if (!findPairs(nearest)) return false;
    if (!pairsMerge) merges_.clear();
    const std::size_t n = nearest.least.size();
    std::vector<bool> paired(n, false);
    for (const auto& [first, second, distance] : merges_) {
        for (const std::int32_t label : {first, second}) {
            records_.push_back(label - 1);
            paired[place(label - 1)] = true;
        }
        bounds_.push_back(
            std::min(nearest.second.data()[first - 1], nearest.second.data()[second - 1]));
    }
    for (std::size_t i = 0; i < n; ++i) {
        if (!paired[i]) records_.push_back(static_cast<std::int32_t>(i));
    }
    std::ranges::sort(records_.begin() + static_cast<std::ptrdiff_t>(2 * merges_.size()),
                      records_.end(), {},
                      [&](std::int32_t record) { return nearest.least.data()[record]; });
    for (std::size_t k = 2 * merges_.size(); k < n; ++k) {
        bounds_.push_back(nearest.least.data()[records_[k]]);
    }
    return true;
}

/// The recurrence for a pair of records and a cluster of `size` others; see `Model`.
struct PairRule {
    PairRule(std::int32_t linkage, double size) {
        if (linkage == 2) ofDifference = 0.5;
        if (linkage != 7) return;
        ofEach = (size + 1.0) / (size + 2.0);
        ofDistance = -size / (size + 2.0);
    }
    double operator()(double first, double second, double distance) const {
        return ofEach * (first + second) + ofDistance * distance +
               ofDifference * std::fabs(first - second);
    }

    double ofEach = 0.5;
    double ofDistance = 0.0;
    double ofDifference = 0.0;
};

/// Writes the distances between clusters from blocks of those between records in their order, of
/// which the first `merges.size()` pairs are clusters.
class Reduction {
  public:
    Reduction(const MergingHistory& merges, std::int64_t records, std::int32_t linkage,
              Vector& distances)
        : numPairs_(static_cast<std::int64_t>(merges.size())),
          numClusters_(records - numPairs_),
          alone_(linkage, 1.0),
          paired_(linkage, 2.0),
          target_(distances.data()) {
        for (const MergeRecord& merge : merges) heights_.push_back(merge.distance);
    }

    void take(const DistanceBlock& block) const {
        for (std::int64_t r = 0; r < block.numRows;) {
            const std::int64_t row = block.firstRow + r;
            double* const line = block.values + r * block.step;
            if (row >= 2 * numPairs_) {
                write(row - numPairs_, alone_, line, block);
                ++r;
                continue;
            }
            // Both lines of the pair stand in the block.
            const double height = heights_.data()[row / 2];
            const double* const other = line + block.step;
            for (std::int64_t c = 0; c < block.numColumns; ++c) {
                line[c] = alone_(line[c], other[c], height);
            }
            write(row / 2, paired_, line, block);
            r += 2;
        }
    }

  private:
    /// The distances from a cluster to those after it, from those to records.
    void write(std::int64_t cluster, const PairRule& rule, const double* line,
               const DistanceBlock& block) const {
        const std::int64_t end = block.firstColumn + block.numColumns;
        const std::int64_t pairsFrom = std::max(block.firstColumn / 2, cluster + 1);
        const std::int64_t pairsEnd = std::min(end / 2, numPairs_);
        double* to = target_ + packedIndex(numClusters_, cluster, pairsFrom);
        const double* from = line + (2 * pairsFrom - block.firstColumn);
        const double* const heights = heights_.data();
        for (std::int64_t pair = pairsFrom; pair < pairsEnd; ++pair, from += 2) {
            *to++ = rule(from[0], from[1], heights[pair]);
        }
        const std::int64_t first =
            std::max({block.firstColumn, 2 * numPairs_, cluster + numPairs_ + 1});
        if (first >= end) return;
        std::copy(line + (first - block.firstColumn), line + block.numColumns,
                  target_ + packedIndex(numClusters_, cluster, first - numPairs_));
    }

    std::int64_t numPairs_;
    std::int64_t numClusters_;
    PairRule alone_;   // for others of one record
    PairRule paired_;  // for others of two
    Vector heights_;
    double* target_;
};

Clusters Arrangement::clusters(const Matrix& x, DissimilarityType type,
                               std::int32_t linkage) const {
    const auto n = static_cast<std::int64_t>(records_.size());
    const auto pairs = static_cast<std::int64_t>(merges_.size());
    Clusters result;
    result.distances = Vector(packedSize(n - pairs), Storage::kUnfilled);
    const Reduction reduction(merges_, n, linkage, result.distances);
    visitDistances(x(IntVector(records_.begin(), records_.end()), Util::all), false, type,
                   [&](const DistanceBlock& block) { reduction.take(block); });
    for (const MergeRecord& merge : merges_) result.labels.push_back(merge.first);
    for (std::int64_t k = 2 * pairs; k < n; ++k) {
        result.labels.push_back(records_[place(k)] + 1);
    }
    result.sizes = Vector(place(n - pairs), 1.0);
    std::fill(result.sizes.begin(), result.sizes.begin() + pairs, 2.0);
    result.bounds = bounds_;
    return result;
}

}  // namespace

std::optional<MergingHistory> mergeArranged(const Matrix& x, DissimilarityType type,
                                            std::int32_t linkage) {
    constexpr int kFewest = 100;
    if (x.getNumRows() < kFewest || linkage < 2 || linkage > 7) return std::nullopt;
    const bool pairsMerge = Arrangement::isReducible(linkage);
    Arrangement arrangement;
    if (!arrangement.arrange(NearestRecords(x, type), pairsMerge)) return std::nullopt;
    MergingHistory history = arrangement.merges();
    std::optional<MergingHistory> rest =
        agglomerateUnlessTied(arrangement.clusters(x, type, linkage), linkage);
    if (!rest) return std::nullopt;
    history.insert(history.end(), rest->begin(), rest->end());
    if (!pairsMerge) return history;
    std::ranges::sort(history, {}, &MergeRecord::distance);
    const auto tied = std::ranges::adjacent_find(history, Util::equal, &MergeRecord::distance);
    if (tied != history.end()) return std::nullopt;
    return history;
}

}  // namespace Veltrix::Engine::HC
