#include "engine/unsupervised/HC/Arrangement.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "Veltrix/Data/PackedDistances.h"
#include "Veltrix/Data/Util.h"
#include "engine/unsupervised/HC/Agglomeration.h"
#include "engine/unsupervised/HC/GroupDistances.h"
#include "engine/unsupervised/HC/Groups.h"

namespace Veltrix::Engine::HC {
namespace {

using Veltrix::Util;

constexpr std::int32_t kComplete = 2;
constexpr std::int32_t kWard = 7;

std::size_t place(std::int64_t index) { return static_cast<std::size_t>(index); }

/// Linkages by which a merged cluster is no nearer to others than its two sides were: pairs of
/// clusters that are each other's nearest merge whatever else happens.
bool isReducible(std::int32_t linkage) {
    return (linkage >= kComplete && linkage <= 4) || linkage == kWard;
}

/// Merges pairs that are each other's nearest beyond doubt, all of them at a time, while that is
/// quicker than to merge one by one. What is near is found in single precision.
class Rounds {
  public:
    Rounds(const Matrix& x, DissimilarityType type, std::int32_t linkage);

    /// False when nothing was merged.
    bool mergePairs();
    const Groups& groups() const { return groups_; }
    MergingHistory& merges() { return merges_; }
    /// The clusters that are left.
    Clusters clusters() const;

  private:
    void findNearest();
    float doubtAbout(std::int64_t group, float distance) const;
    bool isPair(std::int64_t group) const;
    double distanceOfRecords(std::int32_t i, std::int32_t j) const;
    double distance(std::int32_t first, std::int32_t second) const;

    const Matrix& x_;
    DissimilarityType type_;
    std::int32_t linkage_;
    Vector centre_;
    double scale_ = 1.0;
    Groups groups_;
    MergingHistory merges_;
    double largestSpread_ = 0.0;
    std::vector<float> least_;
    std::vector<float> second_;
    std::vector<float> nearest_;
};

Rounds::Rounds(const Matrix& x, DissimilarityType type, std::int32_t linkage)
    : x_(x),
      type_(type),
      linkage_(linkage),
      centre_(place(x.getNumCols())),
      groups_(x.getNumRows()) {
    double largest = 0.0;
    for (int k = 0; k < x.getNumCols(); ++k) {
        double low = x(0, k);
        double high = low;
        for (int i = 1; i < x.getNumRows(); ++i) {
            low = std::min(low, x(i, k));
            high = std::max(high, x(i, k));
        }
        centre_.data()[k] = low / 2 + high / 2;
        largest = std::max(largest, high / 2 - low / 2);
    }
    if (largest > 0.0) scale_ = 1.0 / largest;
}

/// For every cluster the distances to its two nearest others, and the nearest one.
void Rounds::findNearest() {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const std::size_t count = groups_.labels.size();
    least_.assign(count, kInfinity);
    second_.assign(count, kInfinity);
    nearest_.assign(count, -1.0F);
    const Kernels::ClusterRows<float>& kernels = Kernels::clusterRows<float>();
    GroupDistances<float>(x_, centre_, scale_, type_, groups_, linkage_)
        .visit([&](std::int64_t group, float* distances, std::int64_t n) {
            const auto own = static_cast<float>(group);
            const std::size_t at = place(group);
            kernels.keepTwoSmallest(n, distances, own, least_.data() + at + 1,
                                    second_.data() + at + 1, nearest_.data() + at + 1);
            const auto found = kernels.nearestTwo(n, distances);
            if (found.least < least_[at]) {
                second_[at] = std::min(std::exchange(least_[at], found.least), found.second);
                nearest_[at] = static_cast<float>(group + 1 + found.place);
            } else {
                second_[at] = std::min(second_[at], found.least);
            }
        });
    largestSpread_ = groups_.spreads.data()[0];
    for (const double spread : groups_.spreads) largestSpread_ = std::max(largestSpread_, spread);
}

/// More than rounding can have changed that distance from the cluster, and any shorter one. With
/// coordinates of at most 1 that are off by ε each, sums of p differences are off by 4pε and by
/// (p + 4)ε of themselves; the distances' sums over n_A n_B pairs by n_A n_B ε more. By Ward's rule
/// the mean distance is multiplied by no more than 2 n_A and the spreads are taken off.
float Rounds::doubtAbout(std::int64_t group, float distance) const {
    const auto p = static_cast<double>(x_.getNumCols());
    const auto own = static_cast<double>(groups_.size(group));
    const auto largest = static_cast<double>(groups_.size(0));
    const double times = linkage_ == kWard ? 2.0 * own : 1.0;
    const double taken = linkage_ == kWard ? times * 2.0 * largestSpread_ * scale_ : 0.0;
    const double doubt = times * 4.0 * p + (p + own * largest + 8.0) * (distance + taken);
    return static_cast<float>(doubt * std::numeric_limits<float>::epsilon());
}

/// Whether the cluster and a later one are each other's nearest beyond doubt.
bool Rounds::isPair(std::int64_t group) const {
    const auto other = static_cast<std::int64_t>(nearest_[place(group)]);
    if (other < group || static_cast<std::int64_t>(nearest_[place(other)]) != group) return false;
    for (const std::int64_t each : {group, other}) {
        const float second = std::min(second_[place(each)], std::numeric_limits<float>::max());
        if (!(second - least_[place(each)] > 2 * doubtAbout(each, second))) return false;
    }
    return true;
}

double Rounds::distanceOfRecords(std::int32_t i, std::int32_t j) const {
    double sum = 0.0;
    double largest = 0.0;
    const bool isSquared = type_ == DissimilarityType::euclidean;
    for (int k = 0; k < x_.getNumCols(); ++k) {
        const double difference = std::fabs(x_(i, k) - x_(j, k));
        sum += isSquared ? difference * difference : difference;
        largest = std::max(largest, difference);
    }
    if (type_ == DissimilarityType::maximum) return largest;
    return isSquared ? std::sqrt(sum) : sum;
}

double Rounds::distance(std::int32_t first, std::int32_t second) const {
    double sum = 0.0;
    double largest = 0.0;
    double weighted = 0.0;
    for (std::int64_t i = groups_.start(first); i < groups_.start(first + 1); ++i) {
        for (std::int64_t j = groups_.start(second); j < groups_.start(second + 1); ++j) {
            const double each =
                distanceOfRecords(groups_.records[place(i)], groups_.records[place(j)]);
            sum += each;
            largest = std::max(largest, each);
            weighted += groups_.shares.data()[i] * groups_.shares.data()[j] * each;
        }
    }
    const auto a = static_cast<double>(groups_.size(first));
    const auto b = static_cast<double>(groups_.size(second));
    const Vector& spreads = groups_.spreads;
    if (linkage_ == kComplete) return largest;
    if (linkage_ == 3) return sum / (a * b);
    if (linkage_ == 4) return weighted;
    return 2.0 / (a + b) * (sum - a * b * (spreads.data()[first] + spreads.data()[second]));
}

bool Rounds::mergePairs() {
    findNearest();
    std::vector<GroupMerge> pairs;
    const auto count = static_cast<std::int32_t>(groups_.count());
    for (std::int32_t g = 0; isReducible(linkage_) && g < count; ++g) {
        if (!isPair(g)) continue;
        std::int32_t first = g;
        auto second = static_cast<std::int32_t>(nearest_[place(g)]);
        const auto label = [&](std::int32_t group) { return groups_.labels[place(group)]; };
        if (label(second) < label(first)) std::swap(first, second);
        pairs.push_back({first, second, distance(first, second)});
        merges_.push_back({label(first), label(second), pairs.back().distance});
        // A merged cluster is as far from the others as its sides were, or farther.
        for (const std::int32_t each : {first, second}) least_[place(each)] = second_[place(each)];
    }
    Vector ranks(place(count));
    for (std::int32_t g = 0; g < count; ++g) {
        const float least = least_[place(g)];
        ranks.data()[g] = std::max(0.0F, least - doubtAbout(g, least)) / scale_;
    }
    groups_ = merged(groups_, pairs, ranks);
    return !pairs.empty();
}

Clusters Rounds::clusters() const {
    const std::int64_t count = groups_.count();
    Clusters result;
    result.distances = Vector(packedSize(count), Storage::kUnfilled);
    double* to = result.distances.data();
    const Kernels::ClusterRows<double>& kernels = Kernels::clusterRows<double>();
    GroupDistances<double>(x_, Vector(centre_.size(), 0.0), 1.0, type_, groups_, linkage_)
        .visit([&](std::int64_t, const double* distances, std::int64_t n) {
            result.nearest.push_back(kernels.nearestTwo(n, distances));
            to = std::copy(distances, distances + n, to);
        });
    result.labels = groups_.labels;
    result.sizes = Vector(place(count));
    for (std::int64_t g = 0; g < count; ++g) {
        result.sizes.data()[g] = static_cast<double>(groups_.size(g));
    }
    return result;
}

}  // namespace

std::optional<MergingHistory> mergeArranged(const Matrix& x, DissimilarityType type,
                                            std::int32_t linkage) {
    constexpr int kFewest = 100;
    constexpr int kMostRounds = 4;
    if (x.getNumRows() < kFewest || linkage < kComplete || linkage > kWard) return std::nullopt;
    Rounds rounds(x, type, linkage);
    for (int round = 0; round < kMostRounds && rounds.mergePairs(); ++round) {
    }
    MergingHistory history = rounds.merges();
    std::optional<MergingHistory> rest = agglomerateUnlessTied(rounds.clusters(), linkage);
    if (!rest) return std::nullopt;
    history.insert(history.end(), rest->begin(), rest->end());
    if (!isReducible(linkage)) return history;
    std::ranges::sort(history, {}, &MergeRecord::distance);
    const auto tied = std::ranges::adjacent_find(history, Util::equal, &MergeRecord::distance);
    if (tied != history.end()) return std::nullopt;
    return history;
}

}  // namespace Veltrix::Engine::HC
