#include <limits>
#include <string>
#include <type_traits>
#include <utility>

#include "Veltrix/Engine/AR.h"
#include "engine/core/Checks.h"

namespace Veltrix::Engine::AR {

static_assert(std::is_nothrow_move_constructible_v<TTree> &&
              std::is_nothrow_move_assignable_v<TTree>);
static_assert(std::is_nothrow_move_constructible_v<Apriori> &&
              std::is_nothrow_move_assignable_v<Apriori>);

Itemset::Itemset(std::uint64_t itemsetSupport, std::vector<std::uint64_t> itemIndexes)
    : support(itemsetSupport), items(std::move(itemIndexes)), key(toString(items)) {}

std::wstring Itemset::toString(std::span<const std::uint64_t> items) {
    std::wstring text = std::to_wstring(items.size());
    for (const std::uint64_t item : items) {
        text += L' ';
        text += std::to_wstring(item);
    }
    return text;
}

double Rule::lift(std::uint64_t numTransactions) const {
    return confidence /
           (static_cast<double>(consequentSupport) / static_cast<double>(numTransactions));
}

double Rule::leverage(std::uint64_t numTransactions) const {
    const auto n = static_cast<double>(numTransactions);
    return static_cast<double>(itemsetSupport) / n -
           static_cast<double>(antecedentSupport) / n *
               (static_cast<double>(consequentSupport) / n);
}

double Rule::conviction(std::uint64_t numTransactions) const {
    // By counts, so that neither difference loses digits.
    const auto withoutConsequent = static_cast<double>(numTransactions - consequentSupport);
    const auto exceptions = static_cast<double>(antecedentSupport - itemsetSupport);
    return withoutConsequent / static_cast<double>(numTransactions) *
           (static_cast<double>(antecedentSupport) / exceptions);
}

Model::~Model() = default;

Model& Model::setMinSupport(std::uint64_t minSupport) {
    minSupport_ = minSupport;
    return *this;
}

Model& Model::setMaxItems(std::uint64_t maxItems) {
    maxItems_ = maxItems;
    return *this;
}

void Model::start(const Model& settings, const Data& data) {
    minSupport_ = settings.minSupport_;
    maxItems_ = settings.maxItems_;
    numTransactions_ = data.getNumTransactions();
    numItems_ = data.getNumItems();
    fitted_ = true;
}

void Model::checkGenerate(bool isFitted, const std::vector<std::wstring>& itemNames) const {
    constexpr const char* kOperation = "Association rules";
    Checks::fitted(kOperation, isFitted);
    Veltrix::Checks::counts(kOperation, itemNames.size(), "item names", numItems_, "items");
}

void Model::add(std::span<const std::uint64_t> antecedent,
                std::span<const std::uint64_t> consequent,
                const std::vector<std::wstring>& itemNames, std::uint64_t antecedentSupport,
                std::uint64_t consequentSupport, std::uint64_t itemsetSupport, double confidence,
                std::uint64_t& ruleCount) {
    const auto named = [&](std::span<const std::uint64_t> items) {
        std::vector<std::wstring> names;
        names.reserve(items.size());
        for (const std::uint64_t item : items) names.push_back(itemNames[item]);
        return names;
    };
    rules_.push_back({confidence, antecedentSupport, consequentSupport, itemsetSupport,
                      named(antecedent), named(consequent)});
    ++ruleCount;
}

}  // namespace Veltrix::Engine::AR
