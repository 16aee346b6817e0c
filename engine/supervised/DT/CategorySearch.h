#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "engine/supervised/DT/Split.h"

/// @file
/// The search for the best subset of the categories of a column.

namespace Veltrix::Engine::DT {

/// Columns with more categories are not enumerated: 2²⁰ subsets take milliseconds a node.
constexpr int kMostEnumerated = 20;

/// Sums of the response by category for the categories that a node has. One object serves all
/// nodes of a tree: only the categories of the node at hand are touched.
class CategoryTotals {
  public:
    /// `size` numbers for each category of the column that has most.
    CategoryTotals(std::size_t size, int mostCategories)
        : size_(size), all_(static_cast<std::size_t>(mostCategories) * size, 0.0) {}

    template <class Target>
    void gather(const Target& target, std::span<const std::int32_t> records,
                const std::vector<int>& codes) {
        present_.clear();
        for (const std::int32_t record : records) {
            const int code = codes[static_cast<std::size_t>(record)];
            double* totals = of(code);
            if (totals[0] == 0.0) present_.push_back(code);
            target.addTo(totals, record);
        }
        std::ranges::sort(present_);
        totals_.clear();
        whole_.assign(size_, 0.0);
        for (const int code : present_) {
            double* totals = of(code);
            totals_.insert(totals_.end(), totals, totals + size_);
            add(whole_.data(), totals);
            std::fill_n(totals, size_, 0.0);
        }
    }

    std::size_t size() const { return size_; }
    const std::vector<int>& present() const { return present_; }
    /// Of the k-th present category.
    const double* operator[](std::size_t k) const { return totals_.data() + k * size_; }
    void add(double* sum, const double* totals) const {
        for (std::size_t i = 0; i < size_; ++i) sum[i] += totals[i];
    }
    /// rest = all categories less `part`.
    void subtract(const double* part, double* rest) const {
        for (std::size_t i = 0; i < size_; ++i) rest[i] = whole_[i] - part[i];
    }
    /// Sums over every subset of the categories [first, last), by bit mask.
    std::vector<double> subsetSums(std::size_t first, std::size_t last) const {
        std::vector<double> sums((std::size_t{1} << (last - first)) * size_, 0.0);
        for (std::size_t mask = 1; mask * size_ < sums.size(); ++mask) {
            const std::size_t rest = mask & (mask - 1);  // without the lowest bit
            std::size_t lowest = 0;
            while (((mask >> lowest) & 1U) == 0) ++lowest;
            double* sum = sums.data() + mask * size_;
            std::copy_n(sums.data() + rest * size_, size_, sum);
            add(sum, (*this)[first + lowest]);
        }
        return sums;
    }

  private:
    double* of(int code) { return all_.data() + static_cast<std::size_t>(code) * size_; }

    std::size_t size_;
    std::vector<double> all_;   ///< by code; zeros between two nodes
    std::vector<int> present_;  ///< ascending
    std::vector<double> totals_;
    std::vector<double> whole_;
};

/// Whether `left` as sums of the left child beats the best, which then is that of the column; the
/// caller adds the subset.
template <class Target>
bool improves(const Target& target, const CategoryTotals& totals, const double* left, double* right,
              std::size_t leastChild, int column, Split& best) {
    totals.subtract(left, right);
    const auto least = static_cast<double>(leastChild);
    if (left[0] < least || right[0] < least) return false;
    const double score = target.score(left, right);
    if (!(score > best.scoreToExceed)) return false;
    best = {column, 0.0, 0, {}, target.raised(score)};
    return true;
}

/// Every subset in ascending order of its mask. Categories that the node does not have are left out
/// of the subset, and so is the last one of those it has: a subset and the rest have one measure,
/// and of the two that without the last category comes first.
template <class Target>
void tryAllSubsets(const Target& target, const CategoryTotals& totals, std::size_t leastChild,
                   int column, Split& best) {
    const std::size_t count = totals.present().size() - 1;
    const std::size_t half = count / 2;
    // Sums over both halves of the categories, so that a subset costs one addition.
    const std::vector<double> low = totals.subsetSums(0, half);
    const std::vector<double> high = totals.subsetSums(half, count);
    std::vector<double> left(totals.size());
    std::vector<double> right(totals.size());
    std::size_t bestMask = 0;
    for (std::size_t mask = 1; mask < std::size_t{1} << count; ++mask) {
        const std::size_t lowMask = mask & ((std::size_t{1} << half) - 1);
        std::copy_n(low.data() + lowMask * totals.size(), totals.size(), left.data());
        totals.add(left.data(), high.data() + (mask >> half) * totals.size());
        if (improves(target, totals, left.data(), right.data(), leastChild, column, best)) {
            bestMask = mask;
        }
    }
    for (std::size_t k = 0; k < count; ++k) {
        if (((bestMask >> k) & 1U) != 0) best.subset.push_back(totals.present()[k]);
    }
}

/// The subsets that come first in the order of the categories' mean response, one of which is best
/// (Fisher 1958; Breiman et al. 1984, th. 4.5).
template <class Target>
void tryOrderedSubsets(const Target& target, const CategoryTotals& totals, std::size_t leastChild,
                       int column, Split& best) {
    const std::vector<int>& present = totals.present();
    std::vector<std::size_t> order(present.size());
    for (std::size_t k = 0; k < order.size(); ++k) order[k] = k;
    std::ranges::stable_sort(order, {}, [&](std::size_t k) { return target.mean(totals[k]); });
    std::vector<double> left(totals.size(), 0.0);
    std::vector<double> right(totals.size());
    std::size_t bestCut = 0;
    for (std::size_t cut = 1; cut < order.size(); ++cut) {
        totals.add(left.data(), totals[order[cut - 1]]);
        if (improves(target, totals, left.data(), right.data(), leastChild, column, best)) {
            bestCut = cut;
        }
    }
    if (bestCut == 0) return;
    // The part without the last category, as in the search of all subsets.
    const auto cut = order.begin() + static_cast<std::ptrdiff_t>(bestCut);
    const bool first = std::find(order.begin(), cut, present.size() - 1) == cut;
    for (auto k = first ? order.begin() : cut; k != (first ? cut : order.end()); ++k) {
        best.subset.push_back(present[*k]);
    }
    std::ranges::sort(best.subset);
}

}  // namespace Veltrix::Engine::DT
