#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

#include "Veltrix/Data/Progress.h"
#include "engine/core/Checks.h"
#include "engine/supervised/LinearModel/SweptModel.h"

namespace Veltrix::Engine::LinearModel::FeatureSelection {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
/// RSS that agree so far are equal.
constexpr double kAgreement = 1e-12;

/// A set of columns beside the intercept.
struct Subset {
    double rss;
    IntVector columns;
};

/// The best subsets of every size from 1.
class Champions {
  public:
    Champions(int numSubsets, std::vector<double> bounds)
        : count_(static_cast<std::size_t>(numSubsets)),
          bounds_(std::move(bounds)),
          lists_(bounds_.size()) {}

    int largestSize() const { return static_cast<int>(bounds_.size()) - 1; }

    /// Whether a subset of that size and RSS would be among them.
    bool admits(int size, double rss) const {
        const auto s = static_cast<std::size_t>(size);
        if (!(rss <= bounds_[s])) return false;
        return lists_[s].size() < count_ || rss < lists_[s].back().rss * (1.0 - kAgreement);
    }

    void add(Subset subset) {
        std::vector<Subset>& list = lists_[subset.columns.size()];
        const auto place =
            std::upper_bound(list.begin(), list.end(), subset.rss,
                             [](double rss, const Subset& other) { return rss < other.rss; });
        list.insert(place, std::move(subset));
        if (list.size() > count_) list.pop_back();
    }

    std::vector<Subset>& list(int size) { return lists_[static_cast<std::size_t>(size)]; }

  private:
    std::size_t count_;
    std::vector<double> bounds_;
    std::vector<std::vector<Subset>> lists_;
};

/// A model from which only its free columns may go: B = the free part of (XᵀX)⁻¹, and their
/// coefficients. Columns that stay for good need no row of B.
struct Node {
    std::vector<int> fixed;
    std::vector<int> free;
    std::vector<double> inverse;
    std::vector<double> coefficients;
    double rss = 0.0;
    std::size_t next = 0;  ///< the free column that goes next

    double& at(std::size_t i, std::size_t j) { return inverse[i * free.size() + j]; }
    double at(std::size_t i, std::size_t j) const { return inverse[i * free.size() + j]; }
    double cost(std::size_t j) const { return coefficients[j] * coefficients[j] / at(j, j); }

    /// The columns that cost most to lose come first: what is tried without them soon proves bad.
    void sortFree() {
        std::vector<std::size_t> order(free.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::vector<double> costs(free.size());
        for (std::size_t j = 0; j < free.size(); ++j) costs[j] = cost(j);
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return costs[a] > costs[b]; });
        const Node old = *this;
        for (std::size_t i = 0; i < order.size(); ++i) {
            free[i] = old.free[order[i]];
            coefficients[i] = old.coefficients[order[i]];
            for (std::size_t j = 0; j < order.size(); ++j) at(i, j) = old.at(order[i], order[j]);
        }
    }

    /// `child` becomes this model without free column k; the ones before it stay for good.
    void drop(std::size_t k, Node& child) const {
        child.fixed.assign(fixed.begin(), fixed.end());
        child.fixed.insert(child.fixed.end(), free.begin(),
                           free.begin() + static_cast<std::ptrdiff_t>(k));
        child.free.assign(free.begin() + static_cast<std::ptrdiff_t>(k) + 1, free.end());
        const std::size_t size = child.free.size();
        child.inverse.resize(size * size);
        child.coefficients.resize(size);
        child.rss = rss + cost(k);
        child.next = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const double share = at(k + 1 + i, k) / at(k, k);
            child.coefficients[i] = coefficients[k + 1 + i] - share * coefficients[k];
            for (std::size_t j = 0; j < size; ++j) {
                child.at(i, j) = at(k + 1 + i, k + 1 + j) - share * at(k, k + 1 + j);
            }
        }
    }

    IntVector columns() const {
        IntVector all(fixed.begin(), fixed.end());
        for (const int j : free) all.push_back(j);
        std::sort(all.begin(), all.end());
        return all;
    }
};

/// The model of all columns.
Node rootOf(SweptModel model) {
    const int first = model.problem().numForced();
    for (int j = first; j < model.numColumns(); ++j) {
        if (!(model.reduction(j) >= 0.0)) {
            Checks::fail(ErrorCode::singular, "Best subsets",
                         "column " + std::to_string(j) + " depends linearly on the ones before it");
        }
        model.turn(j);
    }
    const Matrix& s = model.problem().swept;
    Node root;
    for (int j = first; j < model.numColumns(); ++j) {
        root.free.push_back(j);
        root.coefficients.push_back(s(j, model.numColumns()));
        for (int k = first; k < model.numColumns(); ++k) root.inverse.push_back(s(j, k));
    }
    root.rss = model.rss();
    root.sortFree();
    return root;
}

/// For every size an RSS that the last of its champions cannot exceed: that of the models of
/// sequential replacement and of those one exchange away.
std::vector<double> boundsOf(SweptModel model, int numSubsets, int largest) {
    constexpr double kSlack = 1.0 + 1e-9;
    std::vector<double> bounds(static_cast<std::size_t>(largest) + 1, kInfinity);
    const int first = model.problem().numForced();
    const History found = searchSequentially(model, largest);
    for (int m = 0; m < found.getNumModels(); ++m) {
        const IntVector columns = found.getColumns(m);
        for (int j = first; j < model.numColumns(); ++j) {
            const bool wanted = std::ranges::binary_search(columns, j);
            if (wanted != model.contains(j)) model.turn(j);
        }
        std::vector<double> rss{model.rss()};
        for (int out = first; out < model.numColumns(); ++out) {
            for (int in = first; in < model.numColumns() && model.contains(out); ++in) {
                if (!model.contains(in)) rss.push_back(model.exchanged(out, in));
            }
        }
        const auto place = static_cast<std::size_t>(numSubsets) - 1;
        if (place >= rss.size()) continue;
        std::ranges::nth_element(rss, rss.begin() + static_cast<std::ptrdiff_t>(place));
        bounds[columns.size() - static_cast<std::size_t>(first)] = rss[place] * kSlack;
    }
    return bounds;
}

/// Visits the subsets of the root's columns once each, those of a node without its first free
/// column first. Every subset of a node has at least its RSS.
class Search {
  public:
    Search(Node root, Champions champions, bool exhaustive)
        : champions_(std::move(champions)), exhaustive_(exhaustive), path_(root.free.size() + 1) {
        path_[0] = std::move(root);
    }

    Champions run() {
        constexpr std::uint64_t kTogether = 256;
        ProgressPhase phase("Searching all subsets", 0);
        std::uint64_t visited = 0;
        std::size_t depth = 0;
        record(path_[0]);
        while (true) {
            Node& node = path_[depth];
            if (node.next == node.free.size()) {
                if (depth == 0) return std::move(champions_);
                --depth;
                continue;
            }
            const std::size_t k = node.next++;
            if (!isPromising(node, k)) continue;
            Node& child = path_[++depth];
            node.drop(k, child);
            child.sortFree();
            record(child);
            if (++visited % kTogether == 0) phase.advance();
        }
    }

  private:
    bool isPromising(const Node& node, std::size_t k) const {
        if (exhaustive_) return true;
        const double rss = node.rss + node.cost(k);
        const int least = std::max(static_cast<int>(node.fixed.size() + k), 1);
        const int most = std::min(static_cast<int>(node.fixed.size() + node.free.size()) - 1,
                                  champions_.largestSize());
        for (int size = least; size <= most; ++size) {
            if (champions_.admits(size, rss)) return true;
        }
        return false;
    }

    void record(const Node& node) {
        const auto size = static_cast<int>(node.fixed.size() + node.free.size());
        if (size < 1 || size > champions_.largestSize()) return;
        if (champions_.admits(size, node.rss)) champions_.add({node.rss, node.columns()});
    }

    Champions champions_;
    bool exhaustive_;
    std::vector<Node> path_;
};

/// RSS of a subset from the start, without what rounding left on the way to it.
double rssOf(SweptModel model, const IntVector& columns) {
    for (const int j : columns) model.turn(j);
    return model.rss();
}

}  // namespace

History searchBestSubsets(SweptModel& model, int numSubsets, bool exhaustive, int maxSize) {
    Checks::atLeast("Best subsets", "subsets of a size", numSubsets, 1);
    Checks::atLeast("Best subsets", "columns as the largest size", maxSize, 0);
    const Problem& problem = model.problem();
    const int first = problem.numForced();
    const int largest = std::min(maxSize, model.numColumns() - first);
    Champions start(numSubsets, boundsOf(model, numSubsets, largest));
    Champions found = Search(rootOf(model), std::move(start), exhaustive).run();
    History history(problem.intercept, problem.numRecords, model.numColumns());
    for (int size = 1; size <= largest; ++size) {
        std::vector<Subset>& list = found.list(size);
        for (Subset& subset : list) subset.rss = rssOf(model, subset.columns);
        std::ranges::stable_sort(list, {}, &Subset::rss);
        for (Subset& subset : list) {
            if (problem.intercept) subset.columns.insert(0, 0);
            history.recordSubset(subset.columns, subset.rss);
        }
    }
    return history;
}

}  // namespace Veltrix::Engine::LinearModel::FeatureSelection
