#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/AR.h"

namespace Veltrix::Engine::AR {

/// Rows of bits by item: which of some transactions hold it.
struct BitTable {
    std::int64_t words = 0;
    std::vector<const std::uint64_t*> rows;  ///< valid for the items asked for
    /// The transactions in question, when the rows have bits for others too.
    const std::uint64_t* common = nullptr;
    std::vector<std::uint64_t> bits;   ///< rows that are made for this table
    std::vector<std::uint32_t> slots;  ///< their places by rank; 0 between uses

    std::uint64_t* slot(std::size_t place) {
        return bits.data() + place * static_cast<std::size_t>(words);
    }
};

/// The items that are frequent beside one of them, as ranks in ascending order, and in how many
/// transactions.
struct PairCounts {
    std::vector<std::uint32_t> ranks;
    std::vector<std::uint32_t> supports;
    std::vector<std::uint32_t> counts;  ///< by rank; zeros between uses
    std::vector<std::uint32_t> seen;    ///< ranks whose counts are not 0
};

/// Transactions of frequent items and where each of them occurs. The items of a transaction are
/// kept as their ranks among the frequent ones; transactions of fewer than two are left out.
class Incidence {
  public:
    /// The items of the data that occur at least minSupport times.
    Incidence(const Data& data, std::uint64_t minSupport);
    /// The transactions of another one that hold `first`, with those of the ranks `wanted`, all
    /// above `first`, that they hold.
    Incidence(const Incidence& whole, std::uint32_t first, std::span<const std::uint32_t> wanted,
              ProgressPhase& phase);

    std::uint32_t numItems() const { return static_cast<std::uint32_t>(items_.size()); }
    /// Ranks as items of the data.
    const std::vector<std::uint32_t>& items() const { return items_; }
    /// Of the items in the data; a narrowed incidence has none.
    const std::vector<std::uint32_t>& supports() const { return supports_; }
    /// What an item costs, for progress.
    std::uint64_t work(std::uint32_t rank) const { return 1 + later_[rank]; }
    std::uint64_t totalWork() const;

    /// The ranks above `first` that at least minSupport transactions hold together with it.
    void countPairs(std::uint32_t first, std::uint64_t minSupport, PairCounts& pairs,
                    ProgressPhase& phase) const;
    /// Whether rows of bits for so many items take no more room than a few times the occurrences
    /// that they stand for.
    bool isProjectable(std::uint32_t first, std::size_t numWanted) const;
    /// Rows of the items of the ranks `wanted`, all above `first`, for the transactions that hold
    /// `first`. `table.rows` has room for every item.
    void project(std::uint32_t first, std::span<const std::uint32_t> wanted, BitTable& table,
                 ProgressPhase& phase) const;
    /// Both `countPairs` and `project` for its result. False, and nothing is done, where rows of
    /// all ranks above `first` would take too much room or are there already.
    bool countAndProject(std::uint32_t first, std::uint64_t minSupport, PairCounts& pairs,
                         BitTable& table, ProgressPhase& phase) const;

  private:
    static constexpr std::uint32_t kEnd = 0xFFFFFFFF;  ///< behind each transaction

    /// Appends a transaction that is given by ranks, or `kEnd`, for its items.
    template <class Items, class RankOf>
    void addTransaction(const Items& items, const RankOf& rankOf);
    void findPlaces(ProgressPhase& phase);
    void fillRows(ProgressPhase& phase);
    /// Whether an item is in a quarter of the transactions.
    bool isCommon(std::uint32_t rank) const {
        return 4 * std::uint64_t{numPlaces(rank)} >= numTransactions_;
    }
    /// Whether an item is taken over all transactions, as rows of bits, not over its own.
    bool isWide(std::uint32_t rank) const;
    const std::uint64_t* wideRow(std::uint32_t rank) const {
        return rows_.data() + rank * static_cast<std::size_t>(words_);
    }
    std::uint32_t numPlaces(std::uint32_t rank) const { return starts_[rank + 1] - starts_[rank]; }
    void countLater(std::uint32_t first, PairCounts& pairs, ProgressPhase& phase) const;
    void countWide(std::uint32_t first, PairCounts& pairs, ProgressPhase& phase) const;
    /// Makes the rows of slots 1 to `numSlots` of the table; `slotOf` says where a rank belongs, in
    /// slot 0 when nobody wants its row.
    template <class SlotOf>
    void fillSlots(std::uint32_t first, std::size_t numSlots, const SlotOf& slotOf, BitTable& table,
                   ProgressPhase& phase) const;
    /// visit(k, ranks) for the k-th transaction that holds `first`; the ranks behind it end with
    /// `kEnd`.
    template <class Visit>
    void forEachTransaction(std::uint32_t first, ProgressPhase& phase, const Visit& visit) const;

    std::vector<std::uint32_t> items_;
    std::vector<std::uint32_t> supports_;
    std::uint64_t numTransactions_ = 0;
    std::vector<std::uint32_t> ranks_;   ///< of all transactions
    std::vector<std::uint32_t> starts_;  ///< by rank where its places begin; at last their end
    std::vector<std::uint32_t> places_;  ///< where each rank stands among `ranks_`
    std::vector<std::uint64_t> later_;   ///< by rank, how many ranks stand behind it
    std::int64_t words_ = 0;
    std::vector<std::uint64_t> rows_;  ///< a row for each rank; empty where they would be sparse
};

}  // namespace Veltrix::Engine::AR
