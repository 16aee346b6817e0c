#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "Veltrix/Data/Enumerations.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Progress.h"
#include "engine/unsupervised/HC/Groups.h"
#include "support/kernels/ClusterRows.h"

namespace Veltrix::Engine::HC {

/// Distances between clusters, one cluster against all later ones at a time, from the coordinates
/// of their records. The clusters must not change meanwhile.
template <class Number>
class GroupDistances {
  public:
    /// The rows of x are the records; the coordinates are taken over as (x − centre) · scale.
    /// Euclidean, Manhattan and maximum distances; linkages 2 to 7, of which 5 and 6 for records
    /// only.
    GroupDistances(const Matrix& x, const Vector& centre, double scale, DissimilarityType type,
                   const Groups& groups, std::int32_t linkage);

    /// visit(group, distances, n): to the n later groups, in their order. They may be written over.
    template <class Visitor>
    void visit(const Visitor& visitor);

  private:
    using Numbers = std::vector<Number>;
    static constexpr std::int64_t kPanel = Kernels::kInnerPanelOf<Number>;
    static constexpr std::int64_t kOuter = Kernels::kOuterPanel;
    /// Clusters of one size, which follow each other.
    struct Class {
        std::int64_t first;
        std::int64_t end;
    };

    static std::size_t place(std::int64_t i) { return static_cast<std::size_t>(i); }
    void packOuter(std::int64_t firstRow, std::int64_t count);
    void computeStrip(std::int64_t firstRow);
    Number* gathered(std::int64_t group, std::int64_t row, Number* line);
    void reduce(std::int64_t group, const Number* line);
    void reduceClass(std::int64_t group, const Class& groups, const Number* line);

    const Groups& groups_;
    const Kernels::ClusterRows<Number>& kernels_ = Kernels::clusterRows<Number>();
    DissimilarityType type_;
    std::int32_t linkage_;
    std::int64_t depth_;
    std::int64_t count_;
    std::vector<Class> classes_;
    Numbers panels_;
    Numbers outer_;
    Numbers lines_;    // distances from the records of a strip
    Numbers sums_;     // over the records of a cluster
    Numbers reduced_;  // by clusters
    Numbers spreads_;
};

template <class Number>
GroupDistances<Number>::GroupDistances(const Matrix& x, const Vector& centre, double scale,
                                       DissimilarityType type, const Groups& groups,
                                       std::int32_t linkage)
    : groups_(groups),
      type_(type),
      linkage_(linkage),
      depth_(x.getNumCols()),
      count_(x.getNumRows()),
      panels_(place((count_ + kPanel - 1) / kPanel * kPanel * depth_)),
      outer_(place(kOuter * depth_)),
      lines_(place(kOuter * count_)),
      sums_(place(count_)),
      reduced_(place(groups.count())),
      spreads_(place(groups.count())) {
    for (std::int64_t slot = 0; slot < count_; ++slot) {
        const std::int32_t record = groups.records[place(slot)];
        Number* const panel = panels_.data() + slot / kPanel * kPanel * depth_ + slot % kPanel;
        for (int k = 0; k < depth_; ++k) {
            panel[k * kPanel] = static_cast<Number>((x(record, k) - centre.data()[k]) * scale);
        }
    }
    for (std::int64_t g = 0; g < groups.count(); ++g) {
        spreads_[place(g)] = static_cast<Number>(groups.spreads.data()[g] * scale);
        if (g == 0 || groups.size(g) != groups.size(g - 1)) classes_.push_back({g, g});
        classes_.back().end = g + 1;
    }
}

template <class Number>
void GroupDistances<Number>::packOuter(std::int64_t firstRow, std::int64_t count) {
    std::fill(outer_.begin(), outer_.end(), Number{0});
    for (std::int64_t r = 0; r < count; ++r) {
        const std::int64_t slot = firstRow + r;
        const Number* const panel =
            panels_.data() + slot / kPanel * kPanel * depth_ + slot % kPanel;
        for (std::int64_t k = 0; k < depth_; ++k) outer_[place(k * kOuter + r)] = panel[k * kPanel];
    }
}

/// The distances from the next records to those from their panel on.
template <class Number>
void GroupDistances<Number>::computeStrip(std::int64_t firstRow) {
    const std::int64_t firstColumn = firstRow / kPanel * kPanel;
    Kernels::DistanceStripOf<Number> strip{};
    strip.depth = depth_;
    strip.outer = outer_.data();
    strip.outerWidth = kOuter;
    strip.outerCount = std::min(kOuter, count_ - firstRow);
    strip.inner = panels_.data() + firstColumn * depth_;
    strip.innerCount = count_ - firstColumn;
    strip.target = lines_.data() + firstColumn;
    strip.targetStep = count_;
    packOuter(firstRow, strip.outerCount);
    switch (type_) {
        case DissimilarityType::manhattan:
            return kernels_.absoluteDifferences(strip);
        case DissimilarityType::maximum:
            return kernels_.largestDifferences(strip);
        default:
            kernels_.squaredDifferences(strip);
    }
}

/// The distances from the records of a cluster so far, up to this row of it, joined into one line.
template <class Number>
Number* GroupDistances<Number>::gathered(std::int64_t group, std::int64_t row, Number* line) {
    const std::int64_t first = groups_.start(group + 1);
    const std::int64_t count = count_ - first;
    if (type_ == DissimilarityType::euclidean) kernels_.squareRoots(count, line + first);
    if (groups_.size(group) == 1) return line;
    if (linkage_ == 4) {
        const auto share = static_cast<Number>(groups_.shares.data()[row]);
        for (std::int64_t k = first; k < count_; ++k) line[k] *= share;
    }
    if (row == groups_.start(group)) {
        std::copy(line + first, line + count_, sums_.data() + first);
    } else if (linkage_ == 2) {
        kernels_.keepLarger(count, line + first, sums_.data() + first);
    } else {
        kernels_.add(count, line + first, sums_.data() + first);
    }
    return sums_.data();
}

template <class Number>
void GroupDistances<Number>::reduceClass(std::int64_t group, const Class& groups,
                                         const Number* line) {
    const std::int64_t size = groups_.size(groups.first);
    const std::int64_t count = groups.end - groups.first;
    const Number* const from = line + groups_.start(groups.first);
    Number* const to = reduced_.data() + groups.first;
    if (linkage_ == 2) return kernels_.largestOfGroups(count, size, from, to);
    kernels_.sumsOfGroups(count, size, from, to);
    const auto own = static_cast<Number>(groups_.size(group));
    const auto other = static_cast<Number>(size);
    const Number* const spreads = spreads_.data() + groups.first;
    if (linkage_ == 3) kernels_.combine(count, to, 1 / (own * other), 0, 0, spreads);
    if (linkage_ == 7) {
        kernels_.combine(count, to, 2 / (own + other), 2 * own * other / (own + other),
                         spreads_[place(group)], spreads);
    }
}

template <class Number>
void GroupDistances<Number>::reduce(std::int64_t group, const Number* line) {
    for (const Class& each : classes_) {
        const std::int64_t first = std::max(each.first, group + 1);
        if (first < each.end) reduceClass(group, {first, each.end}, line);
    }
}

template <class Number>
template <class Visitor>
void GroupDistances<Number>::visit(const Visitor& visitor) {
    ProgressPhase phase("Computing distances", static_cast<std::uint64_t>(count_ * count_ / 2));
    std::int64_t group = 0;
    for (std::int64_t firstRow = 0; firstRow < count_; firstRow += kOuter) {
        computeStrip(firstRow);
        const std::int64_t end = std::min(firstRow + kOuter, count_);
        for (std::int64_t row = firstRow; row < end; ++row) {
            Number* line = gathered(group, row, lines_.data() + (row - firstRow) * count_);
            if (row + 1 < groups_.start(group + 1)) continue;
            const std::int64_t later = groups_.count() - group - 1;
            if (classes_.size() == 1 && groups_.size(group) == 1) {
                visitor(group, line + row + 1, later);
            } else {
                if (linkage_ == 4) {
                    for (std::int64_t k = row + 1; k < count_; ++k) {
                        line[k] *= static_cast<Number>(groups_.shares.data()[k]);
                    }
                }
                reduce(group, line);
                visitor(group, reduced_.data() + group + 1, later);
            }
            ++group;
        }
        phase.advance(static_cast<std::uint64_t>((end - firstRow) * (count_ - firstRow)));
    }
}

}  // namespace Veltrix::Engine::HC
