#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/AR.h"
#include "Veltrix/Engine/Exceptions.h"
#include "engine/unsupervised/AR/Incidence.h"
#include "engine/unsupervised/AR/RuleWalk.h"

namespace Veltrix::Engine::AR {
namespace {

using Items = std::vector<std::uint64_t>;
using Map = std::unordered_map<std::wstring, Itemset>;

/// Itemsets of one size in their order; supports are 0 until they are counted.
struct Candidate {
    Items items;
    std::uint32_t support = 0;
};
using Candidates = std::vector<Candidate>;

constexpr std::size_t kMostItemsets = std::size_t{1} << 24U;

void append(Candidates& candidates, Items items, std::uint32_t support) {
    if (candidates.size() >= kMostItemsets) throw ItemsetsTooLargeForArchitecture();
    candidates.push_back({std::move(items), support});
}

/// Size by size: candidates, their supports, and the frequent ones among them.
class Levels {
  public:
    Levels(const Incidence& frequent, std::uint64_t minSupport, ProgressPhase& phase)
        : frequent_(frequent), minSupport_(minSupport), phase_(phase) {}

    Candidates singles() const {
        Candidates found;
        for (std::uint32_t rank = 0; rank < frequent_.numItems(); ++rank) {
            found.push_back({{frequent_.items()[rank]}, frequent_.supports()[rank]});
        }
        return found;
    }

    /// Candidates need not be made where all pairs of frequent items are some.
    Candidates pairs() const {
        Candidates found;
        PairCounts counts;
        for (std::uint32_t rank = 0; rank < frequent_.numItems(); ++rank) {
            frequent_.countPairs(rank, minSupport_, counts, phase_);
            for (std::size_t k = 0; k < counts.ranks.size(); ++k) {
                append(found, {frequent_.items()[rank], frequent_.items()[counts.ranks[k]]},
                       counts.supports[k]);
            }
            phase_.advance(0);
        }
        return found;
    }

    /// The frequent itemsets of one item more than the last ones.
    Candidates next(const Candidates& last, const Map& known) const {
        Candidates found = join(last, known);
        computeSupport(frequent_, found, 0);
        std::erase_if(found, [](const Candidate& each) { return each.support == 0; });
        return found;
    }

  private:
    /// Two that differ in their last items make one; those of which a subset is not frequent are
    /// left out.
    Candidates join(const Candidates& last, const Map& known) const {
        Candidates joined;
        for (auto a = last.begin(); a != last.end(); ++a, phase_.advance(0)) {
            for (auto b = a + 1; b != last.end(); ++b) {
                if (!std::equal(a->items.begin(), a->items.end() - 1, b->items.begin())) break;
                Items items(a->items);
                items.push_back(b->items.back());
                if (hasSubsets(items, known)) append(joined, std::move(items), 0);
            }
        }
        return joined;
    }

    /// Whether the itemsets without one of the items but the last two are frequent.
    static bool hasSubsets(const Items& items, const Map& known) {
        Items rest(items.begin() + 1, items.end());
        for (std::size_t place = 0; place + 2 < items.size(); ++place) {
            if (!known.contains(Itemset::toString(rest))) return false;
            rest[place] = items[place];
        }
        return true;
    }

    /// Counts candidates that agree in their first `depth` items, in the transactions that hold
    /// these.
    void computeSupport(const Incidence& incidence, std::span<Candidate> candidates,
                        std::size_t depth) const {
        PairCounts pairs;
        for (std::size_t first = 0, last = 0; first < candidates.size(); first = last) {
            const std::uint64_t item = candidates[first].items[depth];
            while (last < candidates.size() && candidates[last].items[depth] == item) ++last;
            const std::span<Candidate> alike = candidates.subspan(first, last - first);
            const std::uint32_t rank = rankOf(incidence, item);
            if (depth + 2 == alike.front().items.size()) {
                incidence.countPairs(rank, minSupport_, pairs, phase_);
                take(incidence, pairs, alike);
            } else {
                const auto behind = ranksBehind(incidence, alike, depth + 1);
                computeSupport(Incidence(incidence, rank, behind, phase_), alike, depth + 1);
            }
            phase_.advance(0);
        }
    }

    static std::uint32_t rankOf(const Incidence& incidence, std::uint64_t item) {
        const auto& items = incidence.items();
        return static_cast<std::uint32_t>(std::ranges::lower_bound(items, item) - items.begin());
    }

    /// The ranks of the items that the candidates have from a position on.
    static std::vector<std::uint32_t> ranksBehind(const Incidence& incidence,
                                                  std::span<const Candidate> candidates,
                                                  std::size_t position) {
        std::vector<std::uint32_t> ranks;
        for (const Candidate& each : candidates) {
            for (std::size_t k = position; k < each.items.size(); ++k) {
                ranks.push_back(rankOf(incidence, each.items[k]));
            }
        }
        std::ranges::sort(ranks);
        ranks.erase(std::unique(ranks.begin(), ranks.end()), ranks.end());
        return ranks;
    }

    /// Supports of candidates that differ in their last items only.
    static void take(const Incidence& incidence, const PairCounts& pairs,
                     std::span<Candidate> candidates) {
        auto place = candidates.begin();
        for (std::size_t k = 0; k < pairs.ranks.size(); ++k) {
            const std::uint64_t item = incidence.items()[pairs.ranks[k]];
            while (place != candidates.end() && place->items.back() < item) ++place;
            if (place == candidates.end()) return;
            if (place->items.back() == item) place->support = pairs.supports[k];
        }
    }

    const Incidence& frequent_;
    std::uint64_t minSupport_;
    ProgressPhase& phase_;
};

void keep(const Candidates& frequent, Map& itemsets) {
    if (itemsets.size() + frequent.size() > kMostItemsets) throw ItemsetsTooLargeForArchitecture();
    for (const Candidate& each : frequent) {
        Itemset itemset(each.support, each.items);
        std::wstring key = itemset.key;
        itemsets.emplace(std::move(key), std::move(itemset));
    }
}

/// The supports of all subsets of an itemset, by their keys.
class KeyedSupports {
  public:
    explicit KeyedSupports(const Apriori& model) : model_(model) {}

    void find(std::span<const std::uint64_t> items) {
        supports_.resize(std::size_t{1} << items.size());
        for (std::uint64_t mask = 1; mask < supports_.size(); ++mask) {
            pick(items, mask, subset_);
            supports_[mask] = model_.getItemset(Itemset::toString(subset_)).support;
        }
    }
    std::uint64_t operator[](std::uint64_t mask) const { return supports_[mask]; }

  private:
    const Apriori& model_;
    Items subset_;
    std::vector<std::uint64_t> supports_;
};

void extractRule(const FoundRule& rule, Items& antecedent, Items& consequent) {
    pick(rule.items, rule.antecedent, antecedent);
    pick(rule.items, rule.consequent, consequent);
}

}  // namespace

Apriori::~Apriori() = default;

Apriori& Apriori::fit(const DataFrame& frame) { return fit(Data(frame)); }

Apriori& Apriori::fit(const Data& data) {
    Apriori fitted;
    fitted.start(*this, data);
    const std::uint64_t least = std::max<std::uint64_t>(minSupport_, 1);
    const Incidence frequent(data, least);
    ProgressPhase phase("Finding frequent itemsets", 0);
    const Levels levels(frequent, least, phase);
    Candidates found = levels.singles();
    keep(found, fitted.itemsets_);
    for (std::uint64_t size = 2; found.size() > 1 && (maxItems_ == 0 || size <= maxItems_);
         ++size) {
        found = size == 2 ? levels.pairs() : levels.next(found, fitted.itemsets_);
        keep(found, fitted.itemsets_);
    }
    return *this = std::move(fitted);
}

Apriori& Apriori::generate(const std::vector<std::wstring>& itemNames, double minConfidence) {
    checkGenerate(fitted_, itemNames);
    Apriori made(*this);
    made.rules_.clear();
    const std::vector<Itemset> itemsets = getItemsets();
    ProgressPhase phase("Making rules", itemsets.size());
    const auto forEachItemset = [&](const auto& visit) {
        for (const Itemset& each : itemsets) {
            if (each.numItems() > 1) visit(std::span<const std::uint64_t>(each.items));
            phase.advance();
        }
    };
    KeyedSupports supports(*this);
    Items antecedent;
    Items consequent;
    std::uint64_t count = 0;
    forEachRule(forEachItemset, supports, minConfidence, phase, [&](const FoundRule& rule) {
        extractRule(rule, antecedent, consequent);
        made.add(antecedent, consequent, itemNames, supports[rule.antecedent],
                 supports[rule.consequent], supports[rule.antecedent | rule.consequent],
                 rule.confidence, count);
    });
    return *this = std::move(made);
}

std::vector<Itemset> Apriori::getItemsets() const {
    std::vector<Itemset> all;
    all.reserve(itemsets_.size());
    for (const auto& [key, itemset] : itemsets_) all.push_back(itemset);
    std::ranges::sort(all, [](const Itemset& a, const Itemset& b) {
        return a.numItems() != b.numItems() ? a.numItems() < b.numItems() : a.items < b.items;
    });
    return all;
}

const Itemset& Apriori::getItemset(const std::wstring& key) const {
    const auto found = itemsets_.find(key);
    if (found == itemsets_.end()) throw std::out_of_range("invalid unordered_map<K, T> key");
    return found->second;
}

}  // namespace Veltrix::Engine::AR
