#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/DT.h"
#include "Veltrix/Engine/Sampling.h"
#include "data/util/ProgressMeter.h"
#include "engine/supervised/DT/CategorySearch.h"
#include "engine/supervised/DT/Features.h"
#include "engine/supervised/DT/SortedColumns.h"
#include "engine/supervised/DT/Split.h"
#include "engine/supervised/DT/TrainingRecord.h"

namespace Veltrix::Engine::DT {

struct GrownTree {
    std::shared_ptr<Node> root;
    int numNodes = 0;
    std::vector<std::vector<int>> categories;  ///< codes seen, by column
    Vector accumulators;
    Vector riskLog;
};

/// The categorical columns of the training features.
struct Categories {
    std::vector<int> counts;              ///< largest code + 1 by column, 0 for a continuous one
    std::vector<std::vector<int>> codes;  ///< by record; empty for a continuous column
    std::vector<std::vector<int>> seen;   ///< the distinct codes, ascending
};

/// Throws `Exception` for a column that does not exist, and, with row and column, for a cell that
/// is no code.
Categories readCategories(const Features& features, const IntVector& categorical);

/// Grows one tree. `Target` says what the response is; see `ClassTarget` and `NumberTarget`.
template <class Target>
class Growth {
  public:
    Growth(const Features& features, Categories categories, const Params& params, Target target)
        : features_(features),
          params_(params),
          target_(std::move(target)),
          numCategories_(std::move(categories.counts)),
          codes_(std::move(categories.codes)),
          meter_("Growing the tree", static_cast<std::uint64_t>(features.numRows())),
          sorted_(features, numCategories_, meter_),
          training_(std::make_shared<TrainingRecord>(target_.makeRecord())),
          goesLeft_(static_cast<std::size_t>(features.numRows())),
          scratch_(goesLeft_.size()),
          leastChild_(params.minRecords < 1 ? 1 : static_cast<std::size_t>(params.minRecords)),
          inSubset_(static_cast<std::size_t>(*std::ranges::max_element(numCategories_)), 0),
          totals_(target_.totalsSize(), static_cast<int>(inSubset_.size())) {
        tree_.categories = std::move(categories.seen);
    }

    GrownTree run() {
        init();
        grow();
        return std::move(tree_);
    }

  private:
    void init();
    void grow();
    /// Finds the best split of a node and makes its children; false when there is none.
    bool split(Node& node);
    int numTried(int columns) const;
    void trySplits(const Node& node, int column, Split& best);
    /// Notes who goes left; returns how many do.
    std::size_t markLeft(const Node& node, const Split& best);
    void labelChildren(Node& node, std::size_t numLeft);
    std::shared_ptr<Node> makeNode(std::size_t first, std::size_t count, int depth);
    bool canSplit(const Node& node) const {
        const auto count = static_cast<std::size_t>(node.numRecords);
        return node.numRecords > params_.minRecords && count >= 2 * leastChild_ &&
               target_.worthSplitting(node);
    }
    std::span<std::int32_t> recordsOf(const Node& node) {
        return {training_->order.data() + node.firstRecord,
                static_cast<std::size_t>(node.numRecords)};
    }

    const Features& features_;
    const Params& params_;
    Target target_;
    std::vector<int> numCategories_;
    std::vector<std::vector<int>> codes_;
    ProgressMeter meter_;  ///< counts the records of leaves
    SortedColumns sorted_;
    std::shared_ptr<TrainingRecord> training_;
    std::vector<std::uint8_t> goesLeft_;  ///< by record
    std::vector<std::int32_t> scratch_;
    std::size_t leastChild_;
    std::vector<std::uint8_t> inSubset_;  ///< by category code; zeros between two nodes
    CategoryTotals totals_;
    GrownTree tree_;
};

template <class Target>
std::shared_ptr<Node> Growth<Target>::makeNode(std::size_t first, std::size_t count, int depth) {
    auto node = std::make_shared<Node>();
    node->id = ++tree_.numNodes;
    node->depth = depth;
    node->firstRecord = static_cast<int>(first);
    node->numRecords = static_cast<int>(count);
    node->training = training_;
    target_.label(*node, recordsOf(*node), *training_);
    node->init();
    return node;
}

template <class Target>
void Growth<Target>::init() {
    training_->order.resize(goesLeft_.size());
    std::iota(training_->order.begin(), training_->order.end(), 0);
    tree_.root = makeNode(0, goesLeft_.size(), 0);
}

template <class Target>
void Growth<Target>::grow() {
    double totalRisk = tree_.root->risk;
    tree_.riskLog.push_back(totalRisk);
    tree_.accumulators.assign(numCategories_.size(), 0.0);
    std::vector<Node*> queue{tree_.root.get()};
    int splits = 0;
    int level = 0;
    for (std::size_t front = 0; front < queue.size(); ++front) {
        Node& node = *queue[front];
        const bool allowed = splits < params_.maxSplits && level < params_.maxLevels &&
                             std::int64_t{tree_.numNodes} < std::int64_t{params_.maxNodes} - 1;
        if (!allowed) break;  // none of the limits is ever lifted again
        if (!split(node)) {
            meter_.add(0, static_cast<std::uint64_t>(node.numRecords));
            continue;
        }
        level = node.depth + 1;
        ++splits;
        tree_.accumulators[static_cast<std::uint64_t>(node.splitVariable)] += totalRisk;
        totalRisk += node.left->risk + node.right->risk - node.risk;
        tree_.riskLog.push_back(totalRisk);
        queue.push_back(node.left.get());
        queue.push_back(node.right.get());
    }
}

template <class Target>
bool Growth<Target>::split(Node& node) {
    if (!canSplit(node)) return false;
    const auto columns = static_cast<int>(numCategories_.size());
    const int tried = numTried(columns);
    Sampling::ScalableSRS sampler(columns, tried);
    sampler.setSeed(static_cast<std::uint32_t>(params_.seed) +
                    static_cast<std::uint32_t>(tree_.numNodes));
    Split best;
    best.scoreToExceed = target_.begin(node, recordsOf(node), *training_);
    for (const int column : sampler.sample()) {
        trySplits(node, column, best);
        meter_.add(100 + 5 * static_cast<std::uint64_t>(node.numRecords), 0);
    }
    if (!best.found()) return false;

    node.splitVariable = best.column;
    node.splitSubset = best.subset;
    if (numCategories_[static_cast<std::size_t>(best.column)] == 0) {
        node.splitValue = best.threshold;
    }
    const std::size_t numLeft = markLeft(node, best);
    const auto records = recordsOf(node);
    partitionRecords(records, goesLeft_.data(), scratch_.data());
    labelChildren(node, numLeft);
    if (canSplit(*node.left) || canSplit(*node.right)) {
        sorted_.split(static_cast<std::size_t>(node.firstRecord), records.size(), goesLeft_.data(),
                      meter_);
    }
    return true;
}

template <class Target>
int Growth<Target>::numTried(int columns) const {
    if (params_.variablesPerSplit < 1) return columns;
    // A sample of so many times the population takes every column in turn, and so does a larger
    // one.
    constexpr std::int64_t kPlenty = 100;
    return static_cast<int>(
        std::min(std::int64_t{params_.variablesPerSplit}, kPlenty * std::int64_t{columns}));
}

template <class Target>
void Growth<Target>::trySplits(const Node& node, int column, Split& best) {
    const auto j = static_cast<std::size_t>(column);
    const int categories = numCategories_[j];
    if (categories == 0) {
        const auto entries = sorted_.range(column, static_cast<std::size_t>(node.firstRecord),
                                           static_cast<std::size_t>(node.numRecords));
        target_.sweep(entries, {features_, leastChild_}, column, best);
        return;
    }
    totals_.gather(target_, recordsOf(node), codes_[j]);
    if (totals_.present().size() < 2) return;
    if (categories <= kMostEnumerated) {
        meter_.add(std::uint64_t{10} << totals_.present().size(), 0);
        tryAllSubsets(target_, totals_, leastChild_, column, best);
    } else {
        tryOrderedSubsets(target_, totals_, leastChild_, column, best);
    }
}

template <class Target>
std::size_t Growth<Target>::markLeft(const Node& node, const Split& best) {
    const auto first = static_cast<std::size_t>(node.firstRecord);
    const auto j = static_cast<std::size_t>(best.column);
    std::size_t numLeft = 0;
    if (numCategories_[j] == 0) {
        for (const auto entry :
             sorted_.range(best.column, first, static_cast<std::size_t>(node.numRecords))) {
            goesLeft_[SortedColumns::recordOf(entry)] = numLeft < best.numBelow ? 1 : 0;
            if (numLeft < best.numBelow) ++numLeft;
        }
        return numLeft;
    }
    for (const int code : best.subset) inSubset_[static_cast<std::size_t>(code)] = 1;
    for (const std::int32_t record : recordsOf(node)) {
        const auto r = static_cast<std::size_t>(record);
        goesLeft_[r] = inSubset_[static_cast<std::size_t>(codes_[j][r])];
        numLeft += goesLeft_[r];
    }
    for (const int code : best.subset) inSubset_[static_cast<std::size_t>(code)] = 0;
    return numLeft;
}

template <class Target>
void Growth<Target>::labelChildren(Node& node, std::size_t numLeft) {
    const auto first = static_cast<std::size_t>(node.firstRecord);
    const auto count = static_cast<std::size_t>(node.numRecords);
    node.left = makeNode(first, numLeft, node.depth + 1);
    node.right = makeNode(first + numLeft, count - numLeft, node.depth + 1);
}

}  // namespace Veltrix::Engine::DT
