#include "engine/unsupervised/AR/Incidence.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

#include "Veltrix/Engine/Exceptions.h"
#include "support/kernels/BitRows.h"

namespace Veltrix::Engine::AR {
namespace {

/// Transactions between two looks at the progress.
constexpr std::uint32_t kStride = 1024;

std::int64_t wordsFor(std::uint64_t bits) { return static_cast<std::int64_t>((bits + 63) / 64); }

void setBit(std::uint64_t* row, std::uint64_t bit) {
    row[bit / 64] |= std::uint64_t{1} << (bit % 64);
}

}  // namespace

Incidence::Incidence(const Data& data, std::uint64_t minSupport) {
    std::vector<std::uint32_t> counts(data.getNumItems());
    for (const std::uint32_t item : data.getOccurrences()) ++counts[item];
    std::uint64_t size = data.getNumTransactions();
    std::vector<std::uint32_t> rankOf(counts.size(), kEnd);
    for (std::size_t item = 0; item < counts.size(); ++item) {
        if (counts[item] == 0 || counts[item] < minSupport) continue;
        rankOf[item] = numItems();
        items_.push_back(static_cast<std::uint32_t>(item));
        supports_.push_back(counts[item]);
        size += counts[item];
    }
    if (size > kEnd) throw ItemsetsTooLargeForArchitecture();
    ranks_.reserve(size);
    ProgressPhase phase("Ordering transactions", data.getNumTransactions());
    for (std::uint64_t t = 0; t < data.getNumTransactions(); ++t) {
        addTransaction(data.getTransaction(t), [&](std::uint32_t item) { return rankOf[item]; });
        if (t % kStride == kStride - 1) phase.advance(kStride);
    }
    findPlaces(phase);
    fillRows(phase);
}

Incidence::Incidence(const Incidence& whole, std::uint32_t first,
                     std::span<const std::uint32_t> wanted, ProgressPhase& phase) {
    std::vector<std::uint32_t> rankOf(whole.numItems(), kEnd);
    for (const std::uint32_t rank : wanted) {
        rankOf[rank] = numItems();
        items_.push_back(whole.items_[rank]);
    }
    whole.forEachTransaction(first, phase, [&](std::uint32_t, const std::uint32_t* ranks) {
        const std::uint32_t* end = ranks;
        while (*end != kEnd) ++end;
        addTransaction(std::span(ranks, end), [&](std::uint32_t rank) { return rankOf[rank]; });
    });
    findPlaces(phase);
    fillRows(phase);
}

template <class Items, class RankOf>
void Incidence::addTransaction(const Items& items, const RankOf& rankOf) {
    const std::size_t before = ranks_.size();
    for (const std::uint32_t item : items) {
        const std::uint32_t rank = rankOf(item);
        if (rank != kEnd) ranks_.push_back(rank);
    }
    if (ranks_.size() < before + 2) return ranks_.resize(before);
    ranks_.push_back(kEnd);
    ++numTransactions_;
}

void Incidence::findPlaces(ProgressPhase& phase) {
    std::vector<std::uint32_t> next(items_.size() + 1);
    for (const std::uint32_t rank : ranks_) {
        if (rank != kEnd) ++next[rank + 1];
    }
    std::partial_sum(next.begin(), next.end(), next.begin());
    starts_ = next;
    places_.resize(starts_.back());
    later_.resize(items_.size());
    // From behind, the ranks that stand later in a transaction are known.
    std::uint64_t later = 0;
    for (std::size_t place = ranks_.size(); place-- > 0;) {
        const std::uint32_t rank = ranks_[place];
        if (rank == kEnd) {
            later = 0;
        } else {
            places_[--next[rank + 1]] = static_cast<std::uint32_t>(place);
            later_[rank] += later++;
        }
        if (place % kStride == 0) phase.advance(0);
    }
}

void Incidence::fillRows(ProgressPhase& phase) {
    words_ = wordsFor(numTransactions_);
    const std::uint64_t size = items_.size() * static_cast<std::uint64_t>(words_);
    bool any = false;
    for (std::uint32_t rank = 0; rank < numItems(); ++rank) any = any || isCommon(rank);
    if (!any || 2 * size > ranks_.size()) return;
    rows_.resize(size);
    std::uint64_t transaction = 0;
    for (const std::uint32_t rank : ranks_) {
        if (rank == kEnd) {
            if (++transaction % kStride == 0) phase.advance(0);
        } else {
            setBit(rows_.data() + rank * static_cast<std::uint64_t>(words_), transaction);
        }
    }
}

std::uint64_t Incidence::totalWork() const {
    return std::accumulate(later_.begin(), later_.end(), std::uint64_t{items_.size()});
}

bool Incidence::isWide(std::uint32_t rank) const {
    if (rows_.empty()) return false;
    // A word of bits is done in a fraction of the time that an occurrence takes.
    constexpr std::uint64_t kWordsPerOccurrence = 8;
    const std::uint64_t words = (numItems() - rank) * static_cast<std::uint64_t>(words_);
    return isCommon(rank) && kWordsPerOccurrence * later_[rank] > words;
}

template <class Visit>
void Incidence::forEachTransaction(std::uint32_t first, ProgressPhase& phase,
                                   const Visit& visit) const {
    constexpr std::uint32_t kAhead = 16;
    const std::uint32_t* const places = places_.data() + starts_[first];
    const std::uint32_t count = numPlaces(first);
    for (std::uint32_t k = 0; k < count; ++k) {
        if (k + kAhead < count) __builtin_prefetch(ranks_.data() + places[k + kAhead]);
        visit(k, ranks_.data() + places[k] + 1);
        if (k % kStride == kStride - 1) phase.advance(0);
    }
}

void Incidence::countLater(std::uint32_t first, PairCounts& pairs, ProgressPhase& phase) const {
    std::uint32_t* const counts = pairs.counts.data();
    forEachTransaction(first, phase, [&](std::uint32_t, const std::uint32_t* rank) {
        for (; *rank != kEnd; ++rank) {
            if (counts[*rank]++ == 0) pairs.seen.push_back(*rank);
        }
    });
    std::ranges::sort(pairs.seen);
}

void Incidence::countWide(std::uint32_t first, PairCounts& pairs, ProgressPhase& phase) const {
    constexpr std::uint32_t kRows = 16;
    std::array<const std::uint64_t*, kRows> rows{};
    for (std::uint32_t rank = first + 1; rank < numItems();) {
        const std::uint32_t start = rank;
        std::int64_t count = 0;
        for (; rank < numItems() && count < kRows; ++rank) {
            rows.data()[count++] = wideRow(rank);
            pairs.seen.push_back(rank);
        }
        Kernels::bitRows().count(
            {words_, wideRow(first), nullptr, 0, count, rows.data(), pairs.counts.data() + start});
        phase.advance(0);
    }
}

void Incidence::countPairs(std::uint32_t first, std::uint64_t minSupport, PairCounts& pairs,
                           ProgressPhase& phase) const {
    pairs.counts.resize(numItems());
    pairs.ranks.clear();
    pairs.supports.clear();
    pairs.seen.clear();
    if (isWide(first)) {
        countWide(first, pairs, phase);
    } else {
        countLater(first, pairs, phase);
    }
    for (const std::uint32_t rank : pairs.seen) {
        const std::uint32_t support = std::exchange(pairs.counts[rank], 0);
        if (support == 0 || support < minSupport) continue;
        pairs.ranks.push_back(rank);
        pairs.supports.push_back(support);
    }
}

bool Incidence::isProjectable(std::uint32_t first, std::size_t numWanted) const {
    constexpr std::uint64_t kFew = 4096;
    const auto words = static_cast<std::uint64_t>(wordsFor(numPlaces(first)));
    return isWide(first) || words * numWanted <= later_[first] + kFew;
}

void Incidence::project(std::uint32_t first, std::span<const std::uint32_t> wanted, BitTable& table,
                        ProgressPhase& phase) const {
    if (isWide(first)) {
        table.words = words_;
        table.common = wideRow(first);
        for (const std::uint32_t rank : wanted) table.rows[items_[rank]] = wideRow(rank);
        return;
    }
    if (table.slots.size() < numItems()) table.slots.resize(numItems());
    for (std::size_t k = 0; k < wanted.size(); ++k) {
        table.slots[wanted[k]] = static_cast<std::uint32_t>(k + 1);
    }
    fillSlots(
        first, wanted.size(), [&](std::uint32_t rank) { return table.slots[rank]; }, table, phase);
    for (const std::uint32_t rank : wanted) {
        table.rows[items_[rank]] = table.slot(std::exchange(table.slots[rank], 0));
    }
}

template <class SlotOf>
void Incidence::fillSlots(std::uint32_t first, std::size_t numSlots, const SlotOf& slotOf,
                          BitTable& table, ProgressPhase& phase) const {
    table.words = wordsFor(numPlaces(first));
    table.common = nullptr;
    table.bits.assign((numSlots + 1) * static_cast<std::size_t>(table.words), 0);
    forEachTransaction(first, phase, [&](std::uint32_t k, const std::uint32_t* rank) {
        for (; *rank != kEnd; ++rank) setBit(table.slot(slotOf(*rank)), k);
    });
}

bool Incidence::countAndProject(std::uint32_t first, std::uint64_t minSupport, PairCounts& pairs,
                                BitTable& table, ProgressPhase& phase) const {
    const std::uint32_t numLater = numItems() - first - 1;
    if (isWide(first) || !isProjectable(first, numLater)) return false;
    pairs.ranks.clear();
    pairs.supports.clear();
    fillSlots(
        first, numLater, [first](std::uint32_t rank) { return rank - first; }, table, phase);
    for (std::uint32_t rank = first + 1; rank < numItems(); ++rank) {
        const std::uint64_t* const row = table.slot(rank - first);
        std::uint32_t support = 0;
        Kernels::bitRows().count({table.words, row, nullptr, 0, 1, &row, &support});
        if (support == 0 || support < minSupport) continue;
        pairs.ranks.push_back(rank);
        pairs.supports.push_back(support);
        table.rows[items_[rank]] = row;
    }
    return true;
}

}  // namespace Veltrix::Engine::AR
