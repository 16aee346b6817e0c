#include "engine/unsupervised/HC/History.h"

#include <cstdint>
#include <numeric>
#include <vector>

namespace Veltrix::Engine::HC {
namespace {

std::size_t place(std::int64_t index) { return static_cast<std::size_t>(index); }

}  // namespace

std::size_t firstFault(const MergingHistory& history) {
    std::vector<bool> isCluster(history.size() + 2, true);
    isCluster.front() = false;
    const auto names = [&](std::int32_t label) {
        return label >= 1 && place(label) < isCluster.size() && isCluster[place(label)];
    };
    for (std::size_t m = 0; m < history.size(); ++m) {
        const auto& [first, second, distance] = history[m];
        if (!names(first) || !names(second) || first == second) return m;
        isCluster[place(second)] = false;
    }
    return history.size();
}

IntVector cutIntoClusters(const MergingHistory& history, int k) {
    const std::size_t n = history.size() + 1;
    // Backwards, a cluster finds the label of what it was merged into at its end.
    std::vector<std::int32_t> labels(n + 1);
    std::iota(labels.begin(), labels.end(), 0);
    for (std::size_t m = n - place(k); m-- > 0;) {
        labels[place(history[m].second)] = labels[place(history[m].first)];
    }
    std::vector<std::int32_t> numbers(n + 1, 0);
    for (std::size_t record = 1; record <= n; ++record) numbers[place(labels[record])] = 1;
    std::partial_sum(numbers.begin(), numbers.end(), numbers.begin());
    IntVector result(n);
    for (std::size_t i = 0; i < n; ++i) result[i] = numbers[place(labels[i + 1])];
    return result;
}

Dendrogram drawnTree(const MergingHistory& history, const IntVector& clusters, int k) {
    Dendrogram tree;
    tree.members.resize(place(k));
    for (std::uint64_t i = 0; i < clusters.size(); ++i) {
        tree.members[place(clusters[i] - 1)].push_back(static_cast<int>(i) + 1);
    }
    // Leaves as chains: the right side of a merge follows the last leaf of the left one.
    std::vector<std::int32_t> next(place(k) + 1, 0);
    std::vector<std::int32_t> last(place(k) + 1);
    std::iota(last.begin(), last.end(), 0);
    std::int32_t start = 1;
    for (std::size_t m = history.size() + 1 - place(k); m < history.size(); ++m) {
        const std::int32_t left = clusters[place(history[m].first - 1)];
        const std::int32_t right = clusters[place(history[m].second - 1)];
        tree.merges.push_back({left, right, history[m].distance});
        next[place(last[place(left)])] = right;
        last[place(left)] = last[place(right)];
        start = left;
    }
    tree.leaves.reserve(place(k));
    for (std::int32_t leaf = start; leaf != 0; leaf = next[place(leaf)]) {
        tree.leaves.push_back(leaf);
    }
    return tree;
}

}  // namespace Veltrix::Engine::HC
