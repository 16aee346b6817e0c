#include <algorithm>
#include <iterator>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/AR.h"
#include "engine/unsupervised/AR/RuleWalk.h"
#include "engine/unsupervised/AR/SupportTree.h"
#include "engine/unsupervised/AR/TreeGrowth.h"

namespace Veltrix::Engine::AR {
namespace {

/// The supports of all subsets of an itemset, each found from the one without its last item.
class SubsetSupports {
  public:
    explicit SubsetSupports(const SupportTree& tree) : tree_(tree) {}

    void find(std::span<const std::uint64_t> items) {
        nodes_.resize(std::size_t{1} << items.size());
        nodes_[0] = SupportTree::kRoot;
        for (std::size_t last = 0; last < items.size(); ++last) {
            const auto item = static_cast<std::uint32_t>(items[last]);
            const std::size_t bit = std::size_t{1} << last;
            for (std::size_t rest = 0; rest < bit; ++rest) {
                nodes_[rest | bit] = tree_.child(nodes_[rest], item);
            }
        }
    }
    std::uint32_t operator[](std::uint64_t mask) const { return tree_[nodes_[mask]].support; }

  private:
    const SupportTree& tree_;
    std::vector<std::uint32_t> nodes_;
};

}  // namespace

TTree::~TTree() = default;

TTree& TTree::fit(const DataFrame& frame) { return fit(Data(frame)); }

TTree& TTree::fit(const Data& data) {
    TTree fitted;
    fitted.start(*this, data);
    fitted.tree_ = std::make_shared<const SupportTree>(growTree(data, minSupport_, maxItems_));
    return *this = std::move(fitted);
}

TTree& TTree::generate(const std::vector<std::wstring>& itemNames, double minConfidence) {
    checkGenerate(tree_ != nullptr, itemNames);
    TTree made(*this);
    made.rules_.clear();
    ProgressPhase phase("Making rules", tree_->numItemsets());
    const auto forEachItemset = [&](const auto& visit) {
        const auto visitNode = [&](std::span<const std::uint64_t> items, std::uint32_t) {
            visit(items);
            phase.advance();
        };
        for (std::size_t size = 2; tree_->forEach(size, visitNode) > 0; ++size) {
        }
    };
    SubsetSupports supports(*tree_);
    std::uint64_t count = 0;
    std::vector<std::uint64_t> antecedent;
    std::vector<std::uint64_t> consequent;
    forEachRule(forEachItemset, supports, minConfidence, phase, [&](const FoundRule& rule) {
        pick(rule.items, rule.antecedent, antecedent);
        subtract(rule.items, antecedent, consequent);
        made.add(antecedent, consequent, itemNames, supports[rule.antecedent],
                 supports[rule.consequent], supports[rule.antecedent | rule.consequent],
                 rule.confidence, count);
    });
    return *this = std::move(made);
}

std::vector<Itemset> TTree::getItemsets() const {
    std::vector<Itemset> itemsets;
    if (tree_ == nullptr) return itemsets;
    itemsets.reserve(tree_->numItemsets());
    const auto append = [&](std::span<const std::uint64_t> items, std::uint32_t node) {
        itemsets.emplace_back((*tree_)[node].support,
                              std::vector<std::uint64_t>(items.begin(), items.end()));
    };
    for (std::size_t size = 1; tree_->forEach(size, append) > 0; ++size) {
    }
    return itemsets;
}

std::uint64_t TTree::getNumItemsets() const { return tree_ == nullptr ? 0 : tree_->numItemsets(); }

std::uint64_t TTree::computeSupport(std::span<const std::uint64_t> items) const {
    if (tree_ == nullptr) return 0;
    const std::uint32_t node = tree_->find(items);
    return node == SupportTree::kNone ? 0 : (*tree_)[node].support;
}

void TTree::subtract(std::span<const std::uint64_t> a, std::span<const std::uint64_t> b,
                     std::vector<std::uint64_t>& out) {
    out.clear();
    std::ranges::set_difference(a, b, std::back_inserter(out));
}

}  // namespace Veltrix::Engine::AR
