#include "data/util/NearestList.h"

#include <algorithm>
#include <cmath>

#include "Veltrix/Data/Util.h"

namespace Veltrix {
namespace {

/// Ties that a list keeps beyond its rows.
constexpr std::size_t kMostTies = 1024;

constexpr auto kNearer = [](const Neighbour& a, const Neighbour& b) {
    return a.distance < b.distance || (a.distance == b.distance && a.row < b.row);
};

}  // namespace

void NearestList::clear() {
    nearest_.clear();
    ties_.clear();
    crowded_ = false;
}

void NearestList::offer(const Neighbour& candidate) {
    if (std::isnan(candidate.distance)) return;
    if (!full()) {
        nearest_.push_back(candidate);
        std::push_heap(nearest_.begin(), nearest_.end(), kNearer);
        return;
    }
    Neighbour left = candidate;
    if (kNearer(candidate, nearest_.front())) {
        std::pop_heap(nearest_.begin(), nearest_.end(), kNearer);
        std::swap(left, nearest_.back());
        std::push_heap(nearest_.begin(), nearest_.end(), kNearer);
    }
    if (includeTies_) keepTie(left);
}

void NearestList::keepTie(const Neighbour& candidate) {
    const auto apart = [this](const Neighbour& tie) {
        return !Util::equal(tie.distance, nearest_.front().distance);
    };
    if (crowded_ || apart(candidate)) return;
    ties_.push_back(candidate);
    if (ties_.size() < kMostTies) return;
    std::erase_if(ties_, apart);
    crowded_ = ties_.size() > kMostTies / 2;
}

Matrix NearestList::take() {
    std::sort_heap(nearest_.begin(), nearest_.end(), kNearer);
    if (!nearest_.empty()) {
        const double last = nearest_.back().distance;
        std::erase_if(ties_,
                      [last](const Neighbour& tie) { return !Util::equal(tie.distance, last); });
        std::sort(ties_.begin(), ties_.end(), kNearer);
        nearest_.insert(nearest_.end(), ties_.begin(), ties_.end());
    }
    Matrix result(static_cast<int>(nearest_.size()), 2);
    for (int i = 0; i < result.getNumRows(); ++i) {
        const Neighbour& neighbour = nearest_[static_cast<std::size_t>(i)];
        result(i, 0) = neighbour.row;
        result(i, 1) = neighbour.distance;
    }
    clear();
    return result;
}

}  // namespace Veltrix
