#include <memory>
#include <optional>
#include <utility>

#include "Veltrix/Engine/AR.h"
#include "engine/core/Stored.h"
#include "engine/unsupervised/AR/SupportTree.h"

namespace Veltrix {

using Engine::AR::Apriori;
using Engine::AR::Itemset;
using Engine::AR::Rule;
using Engine::AR::SupportTree;
using Engine::AR::TTree;

template <>
struct Stored<std::wstring> {
    static void write(Support::JsonWriter& json, const std::wstring& text) {
        Stored<WString>::write(json, text);
    }
    static std::wstring read(const Support::JsonView& view) {
        return Stored<WString>::read(view).str();
    }
};

/// The key follows from the items.
template <>
struct Stored<Itemset> {
    static void fields(Support::StoredWriter& a, const Itemset& itemset) {
        a("items", itemset.items)("support", itemset.support);
    }
    static void fields(Support::StoredReader& a, Itemset& itemset) {
        a("items", itemset.items)("support", itemset.support);
        itemset.key = Itemset::toString(itemset.items);
    }
};

template <>
struct Stored<Rule> {
    static void fields(auto& a, auto& rule) {
        a("antecedent", rule.antecedent)("consequent", rule.consequent);
        a("confidence", rule.confidence)("antecedentSupport", rule.antecedentSupport);
        a("consequentSupport", rule.consequentSupport)("itemsetSupport", rule.itemsetSupport);
    }
};

/// What both miners have; how they keep the itemsets is said by `take`.
template <>
struct Stored<Engine::AR::Model> {
    template <class Archive, class Miner>
    static void fields(Archive& a, Miner& model) {
        a("minSupport", model.minSupport_)("maxItems", model.maxItems_);
        a("fitted", model.fitted_);
        a("numTransactions", model.numTransactions_)("numItems", model.numItems_);
        std::vector<Itemset> itemsets;
        if constexpr (!Archive::kReads) itemsets = model.getItemsets();
        a("itemsets", itemsets);
        if constexpr (Archive::kReads) {
            std::optional<SupportTree> tree =
                SupportTree::build(itemsets, model.numTransactions_, model.numItems_);
            if (!tree || (!model.fitted_ && !itemsets.empty())) {
                a.view()
                    .at("itemsets")
                    .fail(
                        "expected itemsets of a fitted model in order, each with all its subsets");
            }
            Stored<Miner>::take(model, itemsets, *tree);
        }
        a("rules", model.rules_);
    }
};

template <>
struct Stored<TTree> {
    static void take(TTree& model, std::vector<Itemset>& /*itemsets*/, SupportTree& tree) {
        if (model.fitted_) model.tree_ = std::make_shared<const SupportTree>(std::move(tree));
    }
    static void fields(auto& a, auto& model) { Stored<Engine::AR::Model>::fields(a, model); }
};

template <>
struct Stored<Apriori> {
    static void take(Apriori& model, std::vector<Itemset>& itemsets, SupportTree& /*tree*/) {
        for (Itemset& itemset : itemsets) {
            std::wstring key = itemset.key;
            model.itemsets_.emplace(std::move(key), std::move(itemset));
        }
    }
    static void fields(auto& a, auto& model) { Stored<Engine::AR::Model>::fields(a, model); }
};

namespace Engine::AR {

void TTree::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, "AR::TTree", *this); }

void TTree::readJson(std::string_view utf8) { *this = readStoredText<TTree>("AR::TTree", utf8); }

void Apriori::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, "AR::Apriori", *this); }

void Apriori::readJson(std::string_view utf8) {
    *this = readStoredText<Apriori>("AR::Apriori", utf8);
}

}  // namespace Engine::AR
}  // namespace Veltrix
