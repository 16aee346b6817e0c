#include "engine/unsupervised/HC/Agglomeration.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "Veltrix/Data/PackedDistances.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Exceptions.h"
#include "engine/unsupervised/HC/Bounds.h"
#include "support/kernels/ClusterRows.h"
#include "support/kernels/LinkageUpdates.h"

namespace Veltrix::Engine::HC {
namespace {

using Kernels::LinkageCoefficients;
using Kernels::WardSizes;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::int32_t kUnknown = -1;
constexpr std::size_t kAhead = 16;
constexpr std::int32_t kWard = 7;

/// The coefficients for clusters of sizes n_i and n_j at distance d(i,j); not for Ward.
LinkageCoefficients coefficientsOf(std::int32_t linkage, double first, double second,
                                   double distance) {
    const double all = first + second;
    const double share = second / all;
    switch (linkage) {
        case 1:
            return {0.5, 0.5, 0.0 * distance, -0.5};
        case 2:
            return {0.5, 0.5, 0.0 * distance, 0.5};
        case 3:
            return {share, 1.0 - share, 0.0 * distance, 0.0};
        case 4:
            return {0.5, 0.5, 0.0 * distance, 0.0};
        case 5:
            return {0.5, 0.5, -0.25 * distance, 0.0};
        case 6:
            return {share, 1.0 - share, -first * second / (all * all) * distance, 0.0};
        default:
            return {0.0, 1.0, 0.0 * distance, 0.0};
    }
}

/// The clusters in places, and for each the nearest of those after it.
///
/// A cluster's bound is the distance to the one in `nearest_`, the first of them on ties, or,
/// where that is unknown, no more than the least distance. So the pair to merge is found among the
/// clusters of least bound: the first one, once its nearest is known, is the first of all pairs in
/// the order of (distance, first place, second place). Places in the order of labels stay so.
///
/// Clusters that were merged into others keep their place until half of the places are not in
/// use; then the triangle moves together. Distances to such places are infinite or NaN in the rows
/// of those in use, so that no search finds them.
class Agglomeration {
  public:
    Agglomeration(Clusters clusters, std::int32_t linkage);
    /// Nothing when `stopAtTies` and two pairs are nearest.
    std::optional<MergingHistory> run(bool stopAtTies);

  private:
    static std::size_t place(std::int64_t i) { return static_cast<std::size_t>(i); }
    /// Where d(i, j), i < j, stands; those of i follow each other.
    double* entry(std::int64_t i, std::int64_t j) {
        return distances_.data() + (rowStart_[place(i)] + j);
    }

    /// What is a row apart is asked for some rows ahead.
    std::int32_t soonAfter(std::size_t index) const {
        return inUse_[std::min(index + kAhead, inUse_.size() - 1)];
    }

    void layOut();
    void moveTogether();
    std::int32_t nearestPair();
    bool isTied(std::int32_t i);
    void search(std::int32_t i);
    void note(std::int32_t i, const Kernels::NearestTwo<double>& found);
    void merge(std::int32_t i, std::int32_t j);
    void updateBefore(std::int32_t i, std::int32_t j);
    void updateBetween(std::int32_t i, std::int32_t j);
    void update(std::int64_t n, double* first, const double* second, const double* sizes) const;
    void forget(std::int32_t k);
    void offer(std::int32_t k, std::int32_t i, std::int32_t j, double distance);

    Vector distances_;
    std::int32_t linkage_;
    std::int32_t width_;                  // places
    std::vector<std::int64_t> rowStart_;  // d(i, j) stands at rowStart_[i] + j
    std::vector<std::int32_t> labels_;
    Vector sizes_;
    bool isSearched_;
    Bounds bounds_;
    Vector seconds_;  // no more than the distances to all but the nearest
    std::vector<std::int32_t> nearest_;
    std::vector<std::int32_t> inUse_;  // places, ascending
    Vector toFirst_;                   // distances to the clusters that merge, gathered
    Vector toSecond_;
    Vector gatheredSizes_;
    LinkageCoefficients coefficients_{};
    WardSizes ward_{};
    bool isExact_ = true;  // to the last bit
};

Agglomeration::Agglomeration(Clusters clusters, std::int32_t linkage)
    : distances_(std::move(clusters.distances)),
      linkage_(linkage),
      width_(static_cast<std::int32_t>(clusters.labels.size())),
      rowStart_(clusters.labels.size()),
      labels_(std::move(clusters.labels)),
      sizes_(std::move(clusters.sizes)),
      isSearched_(!clusters.nearest.empty()),
      bounds_(Vector(labels_.size(), kInfinity)),
      seconds_(labels_.size(), 0.0),
      nearest_(labels_.size(), kUnknown),
      inUse_(labels_.size()),
      toFirst_(labels_.size()),
      toSecond_(labels_.size()),
      gatheredSizes_(labels_.size()) {
    layOut();
    std::int32_t i = 0;
    for (const auto& found : clusters.nearest) note(i++, found);
}

void Agglomeration::layOut() {
    for (std::int64_t i = 0; i < width_; ++i) {
        rowStart_[place(i)] = packedIndex(width_, i, i + 1) - (i + 1);
    }
    inUse_.resize(place(width_));
    std::iota(inUse_.begin(), inUse_.end(), 0);
}

std::optional<MergingHistory> Agglomeration::run(bool stopAtTies) {
    const auto merges = static_cast<std::size_t>(width_ - 1);
    MergingHistory history;
    history.reserve(merges);
    isExact_ = !stopAtTies;
    ProgressPhase phase("Merging clusters", packedSize(width_) * (isSearched_ ? 3 : 4));
    bounds_.set(width_ - 1, kInfinity);
    for (std::int32_t i = 0; !isSearched_ && i + 1 < width_; ++i) {
        search(i);
        phase.advance(place(width_ - i - 1));
    }
    while (inUse_.size() > 1) {
        if (2 * inUse_.size() <= place(width_)) moveTogether();
        const std::int32_t i = nearestPair();
        if (i == kUnknown) {
            if (stopAtTies) return std::nullopt;
            throw HierarchicalClusteringDistanceMatrixInvalid();
        }
        if (stopAtTies && isTied(i)) return std::nullopt;
        const std::int32_t j = nearest_[place(i)];
        const auto [first, second] = std::minmax(labels_[place(i)], labels_[place(j)]);
        history.push_back({first, second, bounds_[i]});
        labels_[place(i)] = history.back().first;
        merge(i, j);
        phase.advance(3 * inUse_.size());
    }
    return history;
}

/// Leaves out the places that are not in use. Nothing moves towards the end, so that no number is
/// written over before it has been read.
void Agglomeration::moveTogether() {
    const std::size_t count = inUse_.size();
    double* to = distances_.data();
    for (std::size_t r = 0; r < count; ++r) {
        for (std::size_t c = r + 1; c < count; ++c) *to++ = *entry(inUse_[r], inUse_[c]);
    }
    for (std::size_t r = 0; r < count; ++r) {
        const std::size_t old = place(inUse_[r]);
        labels_[r] = labels_[old];
        sizes_.data()[r] = sizes_.data()[old];
        bounds_.set(static_cast<std::int64_t>(r), bounds_[inUse_[r]]);
        seconds_.data()[r] = seconds_.data()[old];
        const std::int32_t nearest = nearest_[old];
        const auto found = std::lower_bound(inUse_.begin(), inUse_.end(), nearest);
        nearest_[r] =
            nearest == kUnknown ? kUnknown : static_cast<std::int32_t>(found - inUse_.begin());
    }
    width_ = static_cast<std::int32_t>(count);
    bounds_.resize(count);
    layOut();
}

/// The first cluster of the pair to merge; its nearest is the second. Unknown when no distance is
/// finite.
std::int32_t Agglomeration::nearestPair() {
    for (;;) {
        const auto i = static_cast<std::int32_t>(bounds_.placeOfLeast());
        if (!(bounds_[i] < kInfinity)) return kUnknown;
        if (nearest_[place(i)] != kUnknown) return i;
        search(i);
    }
}

/// Whether, beside the pair of i and its nearest, another pair is as near.
bool Agglomeration::isTied(std::int32_t i) {
    const double least = bounds_[i];
    const auto isAsNear = [least](double other) {
        return other < least || Veltrix::Util::equal(other, least);
    };
    if (isAsNear(seconds_.data()[i])) search(i);
    if (isAsNear(seconds_.data()[i])) return true;
    for (;;) {
        const auto k = static_cast<std::int32_t>(bounds_.placeOfLeast(i));
        if (k == i || !isAsNear(bounds_[k])) return false;
        if (nearest_[place(k)] != kUnknown) return true;
        search(k);
    }
}

/// Looks the nearest of the clusters after i up, and the distance to the next nearest. A bound of
/// infinity says that there is none at a finite distance.
void Agglomeration::search(std::int32_t i) {
    note(i, Kernels::clusterRows<double>().nearestTwo(width_ - i - 1, entry(i, i + 1)));
}

void Agglomeration::note(std::int32_t i, const Kernels::NearestTwo<double>& found) {
    bounds_.set(i, found.least);
    seconds_.data()[i] = found.second;
    nearest_[place(i)] =
        found.least < kInfinity ? static_cast<std::int32_t>(i + 1 + found.place) : kUnknown;
}

/// The nearest of k is not what it was; what is known is that the others are no nearer than the
/// next nearest.
void Agglomeration::forget(std::int32_t k) {
    bounds_.set(k, std::max(bounds_[k], seconds_.data()[k]));
    nearest_[place(k)] = kUnknown;
}

void Agglomeration::merge(std::int32_t i, std::int32_t j) {
    double* const sizes = sizes_.data();
    const double distance = bounds_[i];
    coefficients_ = coefficientsOf(linkage_, sizes[i], sizes[j], distance);
    ward_ = {sizes[j], sizes[i], distance};
    inUse_.erase(std::lower_bound(inUse_.begin(), inUse_.end(), j));
    updateBefore(i, j);
    updateBetween(i, j);
    update(width_ - j - 1, entry(i, j + 1), entry(j, j + 1), sizes + j + 1);
    *entry(i, j) = kInfinity;
    bounds_.set(j, kInfinity);
    nearest_[place(j)] = kUnknown;
    sizes[i] += sizes[j];
    search(i);
}

/// The distances of the clusters before i, which stand in their rows.
void Agglomeration::updateBefore(std::int32_t i, std::int32_t j) {
    std::int64_t count = 0;
    for (const std::int32_t k : inUse_) {
        if (k >= i) break;
        const std::int32_t ahead = std::min(soonAfter(place(count)), i);
        __builtin_prefetch(entry(ahead, i), 1);
        __builtin_prefetch(entry(ahead, j), 1);
        toFirst_.data()[count] = *entry(k, i);
        toSecond_.data()[count] = std::exchange(*entry(k, j), kInfinity);
        gatheredSizes_.data()[count] = sizes_.data()[k];
        ++count;
    }
    update(count, toFirst_.data(), toSecond_.data(), gatheredSizes_.data());
    for (std::int64_t c = 0; c < count; ++c) {
        const std::int32_t k = inUse_[place(c)];
        *entry(k, i) = toFirst_.data()[c];
        offer(k, i, j, toFirst_.data()[c]);
    }
}

/// Cluster k, before i, now has that distance to i; j is gone.
void Agglomeration::offer(std::int32_t k, std::int32_t i, std::int32_t j, double distance) {
    const double bound = bounds_[k];
    double& second = seconds_.data()[k];
    std::int32_t& nearest = nearest_[place(k)];
    const bool known = nearest != kUnknown;
    const bool wasOneOfThem = nearest == i || nearest == j;
    if (distance < bound) {
        if (!wasOneOfThem) second = std::min(second, bound);
        bounds_.set(k, distance);
        nearest = i;
    } else if (wasOneOfThem && (distance == bound || distance < second)) {
        // Of equals there is none before: what stood between i and j was farther.
        bounds_.set(k, distance);
        nearest = i;
    } else {
        if (distance < second) second = distance;
        if (wasOneOfThem) {
            forget(k);
        } else if (known && distance == bound && nearest > i) {
            nearest = i;
        }
    }
}

/// The distances of the clusters between i and j: to i they stand in its row, to j in their own.
void Agglomeration::updateBetween(std::int32_t i, std::int32_t j) {
    std::fill(toSecond_.data(), toSecond_.data() + (j - i - 1), kInfinity);
    const auto next = std::upper_bound(inUse_.begin(), inUse_.end(), i);
    for (auto c = static_cast<std::size_t>(next - inUse_.begin()); c < inUse_.size(); ++c) {
        const std::int32_t k = inUse_[c];
        if (k >= j) break;
        __builtin_prefetch(entry(std::min(soonAfter(c), j), j), 1);
        toSecond_.data()[k - i - 1] = std::exchange(*entry(k, j), kInfinity);
        if (nearest_[place(k)] == j) forget(k);
    }
    update(j - i - 1, entry(i, i + 1), toSecond_.data(), sizes_.data() + i + 1);
}

void Agglomeration::update(std::int64_t n, double* first, const double* second,
                           const double* sizes) const {
    const Kernels::LinkageUpdates& kernels = Kernels::linkageUpdates();
    if (linkage_ == kWard) {
        (isExact_ ? kernels.updateByWard : kernels.updateByWardQuickly)(n, first, second, sizes,
                                                                        ward_);
    } else {
        kernels.update(n, first, second, coefficients_);
    }
}

}  // namespace

Clusters recordsAsClusters(Vector distances, std::int32_t n) {
    const auto count = static_cast<std::size_t>(n);
    Clusters clusters{std::move(distances), std::vector<std::int32_t>(count), Vector(count, 1.0)};
    std::iota(clusters.labels.begin(), clusters.labels.end(), 1);
    return clusters;
}

MergingHistory agglomerate(Clusters clusters, std::int32_t linkage) {
    return *Agglomeration(std::move(clusters), linkage).run(false);
}

std::optional<MergingHistory> agglomerateUnlessTied(Clusters clusters, std::int32_t linkage) {
    return Agglomeration(std::move(clusters), linkage).run(true);
}

}  // namespace Veltrix::Engine::HC
