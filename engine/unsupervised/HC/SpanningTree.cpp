#include "engine/unsupervised/HC/SpanningTree.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "Veltrix/Data/PackedDistances.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Data/Vector.h"
#include "support/kernels/Arrays.h"

namespace Veltrix::Engine::HC {
namespace {

using Kernels::kInnerPanel;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The records outside the tree, each with its distance to the tree, in panels as the kernels want
/// them. Where one leaves, the last one takes its place.
class Outside {
  public:
    explicit Outside(const Matrix& x);

    std::int64_t count() const { return count_; }
    /// The record that joined last moved the tree: takes the distances to it into account.
    void approach();
    /// Lets the record nearest to the tree join; false when no distance is finite.
    bool join(MergeRecord& edge);

  private:
    double& coordinate(std::int64_t slot, std::int64_t k) {
        const std::int64_t panel = slot / kInnerPanel * kInnerPanel;
        return panels_.data()[panel * depth_ + k * kInnerPanel + (slot - panel)];
    }
    void leave(std::int64_t slot);

    std::int64_t depth_;
    std::int64_t count_;
    Vector panels_;
    std::vector<std::int32_t> records_;
    Vector squares_;  // distances to the tree
    Vector from_;     // the records of the tree that they are counted from
    Vector fresh_;
    Vector joined_;  // the record that joined last
    std::int32_t joinedRecord_ = 0;
};

Outside::Outside(const Matrix& x)
    : depth_(x.getNumCols()),
      count_(x.getNumRows()),
      panels_(static_cast<std::uint64_t>((count_ + kInnerPanel - 1) / kInnerPanel * kInnerPanel *
                                         depth_)),
      records_(static_cast<std::size_t>(count_)),
      squares_(static_cast<std::uint64_t>(count_), kNaN),
      from_(static_cast<std::uint64_t>(count_)),
      fresh_(static_cast<std::uint64_t>(count_)),
      joined_(static_cast<std::uint64_t>(depth_)) {
    std::iota(records_.begin(), records_.end(), 0);
    for (std::int64_t slot = 0; slot < count_; ++slot) {
        for (std::int64_t k = 0; k < depth_; ++k) {
            coordinate(slot, k) = x(static_cast<int>(slot), static_cast<int>(k));
        }
    }
    leave(0);
}

void Outside::leave(std::int64_t slot) {
    const std::int64_t last = --count_;
    joinedRecord_ = records_[static_cast<std::size_t>(slot)];
    for (std::int64_t k = 0; k < depth_; ++k) {
        joined_.data()[k] = coordinate(slot, k);
        coordinate(slot, k) = coordinate(last, k);
    }
    records_[static_cast<std::size_t>(slot)] = records_[static_cast<std::size_t>(last)];
    squares_.data()[slot] = squares_.data()[last];
    from_.data()[slot] = from_.data()[last];
}

void Outside::approach() {
    Kernels::DistanceStrip strip{};
    strip.depth = depth_;
    strip.outer = joined_.data();
    strip.outerWidth = 1;
    strip.outerCount = 1;
    strip.inner = panels_.data();
    strip.innerCount = count_;
    strip.target = fresh_.data();
    strip.targetStep = count_;
    Kernels::arrays().squaredDifferences(strip);
    Kernels::arrays().keepSmaller(count_, fresh_.data(), joinedRecord_, squares_.data(),
                                  from_.data());
}

bool Outside::join(MergeRecord& edge) {
    const double least = Kernels::arrays().smallest(count_, squares_.data());
    if (!std::isfinite(least)) return false;
    const double* const found = std::find(squares_.data(), squares_.data() + count_, least);
    const std::int64_t slot = found - squares_.data();
    edge.first = static_cast<std::int32_t>(from_.data()[slot]);
    leave(slot);
    edge.second = joinedRecord_;
    edge.distance = std::sqrt(least);
    return true;
}

/// Turns edges between records, from 0, into merges of labels, from 1.
void relabel(MergingHistory& edges) {
    std::vector<std::int32_t> leader(edges.size() + 1);
    std::iota(leader.begin(), leader.end(), 0);
    const auto find = [&](std::int32_t record) {
        while (leader[static_cast<std::size_t>(record)] != record) {
            std::int32_t& up = leader[static_cast<std::size_t>(record)];
            up = leader[static_cast<std::size_t>(up)];
            record = up;
        }
        return record;
    };
    for (MergeRecord& edge : edges) {
        const auto [first, second] = std::minmax({find(edge.first), find(edge.second)});
        leader[static_cast<std::size_t>(second)] = first;
        edge.first = first + 1;
        edge.second = second + 1;
    }
}

}  // namespace

std::optional<MergingHistory> mergeBySpanningTree(const Matrix& x) {
    Outside outside(x);
    ProgressPhase phase("Merging clusters", packedSize(x.getNumRows()));
    MergingHistory edges(static_cast<std::size_t>(outside.count()));
    for (MergeRecord& edge : edges) {
        phase.advance(static_cast<std::uint64_t>(outside.count()));
        outside.approach();
        if (!outside.join(edge)) return std::nullopt;
    }
    std::ranges::sort(edges, {}, &MergeRecord::distance);
    const auto near =
        std::ranges::adjacent_find(edges, Veltrix::Util::equal, &MergeRecord::distance);
    if (near != edges.end()) return std::nullopt;
    relabel(edges);
    return edges;
}

}  // namespace Veltrix::Engine::HC
