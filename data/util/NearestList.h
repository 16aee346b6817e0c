#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "Veltrix/Data/Matrix.h"

namespace Veltrix {

/// A row and how far it is from a point.
struct Neighbour {
    double distance;
    int row;
};

/// The k nearest of the rows offered so far, and those equal to the k-th when asked for.
class NearestList {
  public:
    NearestList(std::uint64_t k, bool includeTies) : k_(k), includeTies_(includeTies) {}

    void clear();
    /// NaN distances are passed over.
    void offer(const Neighbour& candidate);
    /// Whether there are k rows.
    bool full() const { return nearest_.size() == k_; }
    /// Whether there were too many ties to keep.
    bool crowded() const { return crowded_; }
    /// The greatest distance that is still wanted, but for ties.
    double reach() const {
        return full() ? nearest_.front().distance : std::numeric_limits<double>::infinity();
    }
    /// Rows (index, distance) in ascending order, equal distances by index; the list is then empty.
    Matrix take();

  private:
    void keepTie(const Neighbour& candidate);

    std::uint64_t k_;
    bool includeTies_;
    bool crowded_ = false;
    std::vector<Neighbour> nearest_;  // a heap with the farthest in front
    std::vector<Neighbour> ties_;     // some may have fallen behind meanwhile
};

}  // namespace Veltrix
