#include "engine/unsupervised/AR/TreeGrowth.h"

#include <algorithm>
#include <deque>
#include <utility>
#include <vector>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/Exceptions.h"
#include "engine/unsupervised/AR/Incidence.h"
#include "support/kernels/BitRows.h"

namespace Veltrix::Engine::AR {
namespace {

constexpr std::uint32_t kRoot = SupportTree::kRoot;

/// What is kept of an itemset while its supersets are counted.
struct Level {
    std::vector<std::uint64_t> common;  ///< the transactions that hold it
    std::vector<std::uint32_t> behind;  ///< how many of them lie behind each block of words
    std::vector<std::uint32_t> items;   ///< candidates for the next item
    std::vector<const std::uint64_t*> rows;
    std::vector<std::uint32_t> supports;
};

class Growth {
  public:
    Growth(const Data& data, std::uint64_t minSupport, std::uint64_t maxItems)
        : minSupport_(minSupport),
          maxItems_(maxItems),
          tree_(static_cast<std::uint32_t>(data.getNumTransactions())) {}

    SupportTree grow(const Incidence& frequent) {
        create(frequent);
        if (maxItems_ > 1) {
            ProgressPhase phase("Finding frequent itemsets", frequent.totalWork());
            phase_ = &phase;
            table_.rows.resize(frequent.items().empty() ? 0 : frequent.items().back() + 1);
            makeChildren(frequent, kRoot, kRoot, 0);
        }
        return std::move(tree_);
    }

  private:
    /// The itemsets of one item.
    void create(const Incidence& frequent) {
        for (std::uint32_t rank = 0; rank < frequent.numItems(); ++rank) {
            tree_.append(kRoot, frequent.items()[rank], frequent.supports()[rank]);
        }
    }

    /// Grows what is below the children of a node of `depth` items, which are the items of the
    /// incidence. `without` is the node of the same items without the first.
    void makeChildren(const Incidence& incidence, std::uint32_t node, std::uint32_t without,
                      std::size_t depth) {
        PairCounts pairs;
        for (std::uint32_t rank = incidence.numItems(); rank-- > 0;) {
            const std::uint32_t child = tree_[node].firstChild + rank;
            const bool projected =
                depth + 2 < maxItems_ &&
                incidence.countAndProject(rank, minSupport_, pairs, table_, *phase_);
            if (!projected) incidence.countPairs(rank, minSupport_, pairs, *phase_);
            for (std::size_t k = 0; k < pairs.ranks.size(); ++k) {
                tree_.append(child, incidence.items()[pairs.ranks[k]], pairs.supports[k]);
            }
            if (pairs.ranks.size() > 1 && depth + 2 < maxItems_) {
                const std::uint32_t below =
                    depth == 0 ? kRoot : tree_.child(without, incidence.items()[rank]);
                if (projected || incidence.isProjectable(rank, pairs.ranks.size())) {
                    if (!projected) incidence.project(rank, pairs.ranks, table_, *phase_);
                    extend(child, below, depth + 1, table_.common);
                } else {
                    const Incidence narrowed(incidence, rank, pairs.ranks, *phase_);
                    makeChildren(narrowed, child, below, depth + 1);
                }
            }
            phase_->advance(depth == 0 ? incidence.work(rank) : 0);
        }
    }

    /// Grows what is below the children of a node of `depth` items, whose rows of bits are in the
    /// table. `common` are the transactions that hold them; null for all that rows have bits for.
    void extend(std::uint32_t node, std::uint32_t without, std::size_t depth,
                const std::uint64_t* common) {
        if (levels_.size() < depth) levels_.resize(depth);
        const std::uint32_t first = tree_[node].firstChild;
        const std::uint32_t last = first + tree_[node].numChildren - 1;
        for (std::uint32_t child = first; child < last; ++child) {
            const std::uint32_t item = tree_[child].item;
            const std::uint32_t below = tree_.child(without, item);
            Level& level = levels_[depth - 1];
            findCandidates(child, last, below, level);
            if (level.items.empty()) continue;
            const std::uint64_t* held = table_.rows[item];
            if (common != nullptr) held = intersect(common, held, level);
            addSupport(held, level);
            prune(child, level);
            if (tree_[child].numChildren > 1 && depth + 2 < maxItems_) {
                extend(child, below, depth + 1, held);
            }
        }
    }

    /// Items of the later children `child` + 1, ..., `last` that occur below `below` too.
    void findCandidates(std::uint32_t child, std::uint32_t last, std::uint32_t below,
                        Level& level) const {
        level.items.clear();
        const auto known = tree_.children(below);
        auto place = known.begin();
        for (++child; child <= last && place != known.end(); ++child) {
            const std::uint32_t item = tree_[child].item;
            while (place != known.end() && place->item < item) ++place;
            if (place != known.end() && place->item == item) level.items.push_back(item);
        }
    }

    const std::uint64_t* intersect(const std::uint64_t* common, const std::uint64_t* row,
                                   Level& level) const {
        level.common.resize(static_cast<std::size_t>(table_.words));
        Kernels::bitRows().intersect(table_.words, common, row, level.common.data());
        return level.common.data();
    }

    /// Supports of the candidates among the transactions `held`; too small ones may be less.
    void addSupport(const std::uint64_t* held, Level& level) {
        constexpr std::size_t kWords = std::size_t{1} << 19U;  // between two looks at the progress
        countBehind(held, level);
        level.rows.clear();
        for (const std::uint32_t item : level.items) level.rows.push_back(table_.rows[item]);
        level.supports.resize(level.items.size());
        const auto words = static_cast<std::size_t>(table_.words);
        const std::size_t step = std::max<std::size_t>(1, kWords / (words + 1));
        const auto least = static_cast<std::uint32_t>(std::min<std::uint64_t>(minSupport_, ~0U));
        for (std::size_t k = 0; k < level.items.size(); k += step) {
            const std::size_t count = std::min(step, level.items.size() - k);
            Kernels::bitRows().count({table_.words, held,
                                      level.behind.empty() ? nullptr : level.behind.data(), least,
                                      static_cast<std::int64_t>(count), level.rows.data() + k,
                                      level.supports.data() + k});
            phase_->advance(0);
        }
    }

    void countBehind(const std::uint64_t* held, Level& level) const {
        constexpr std::int64_t kBlock = Kernels::kBitBlock;
        level.behind.clear();
        if (table_.words <= kBlock) return;
        std::vector<std::uint32_t>& behind = level.behind;
        for (std::int64_t word = 0; word < table_.words; word += kBlock) {
            const std::uint64_t* const block = held + word;
            Kernels::bitRows().count({std::min(kBlock, table_.words - word), block, nullptr, 0, 1,
                                      &block, &behind.emplace_back()});
        }
        std::uint32_t total = 0;
        for (std::size_t k = behind.size(); k-- > 0;) total += std::exchange(behind[k], total);
    }

    /// Only frequent candidates become children.
    void prune(std::uint32_t child, const Level& level) {
        for (std::size_t k = 0; k < level.items.size(); ++k) {
            if (level.supports[k] < minSupport_) continue;
            tree_.append(child, level.items[k], level.supports[k]);
        }
    }

    std::uint64_t minSupport_;
    std::uint64_t maxItems_;
    SupportTree tree_;
    ProgressPhase* phase_ = nullptr;
    BitTable table_;
    std::deque<Level> levels_;  ///< by depth
};

}  // namespace

SupportTree growTree(const Data& data, std::uint64_t minSupport, std::uint64_t maxItems) {
    if (data.getNumTransactions() > ~0U) throw ItemsetsTooLargeForArchitecture();
    const std::uint64_t least = std::max<std::uint64_t>(minSupport, 1);
    const Incidence frequent(data, least);
    return Growth(data, least, maxItems == 0 ? ~std::uint64_t{0} : maxItems).grow(frequent);
}

}  // namespace Veltrix::Engine::AR
