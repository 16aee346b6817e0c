#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Export.h"

/// @file
/// Association rules: which items occur together in transactions (Agrawal, Imieliński and Swami
/// 1993).

namespace Veltrix::Engine::AR {

class SupportTree;

/// Transactions: which items each of them holds, as ascending indexes counted from 0.
///
/// At most 2³² − 1 items may occur in all transactions together. What memory cannot hold throws
/// `ItemsetsTooLargeForArchitecture`.
class VELTRIX_ENGINE_API Data {
  public:
    Data() = default;
    /// No transactions yet, of items with these names.
    explicit Data(std::vector<std::wstring> itemNames);
    /// A row is a transaction, a column an item: a cell whose whole number (`Convert::toInt`) is
    /// not 0 says that the transaction holds the item. Throws the bad-cast error, with column and
    /// row, for a cell that is no whole number.
    explicit Data(const DataFrame& frame);

    /// One transaction more, its items in any order; an item that is named twice counts once.
    /// Throws `Exception` for an index that is no item's.
    Data& append(std::span<const std::uint64_t> items);

    std::uint64_t getNumTransactions() const noexcept { return ends_.size(); }
    std::uint64_t getNumItems() const noexcept { return itemNames_.size(); }
    const std::vector<std::wstring>& getItemNames() const noexcept { return itemNames_; }
    /// The items of a transaction, ascending; valid until the data change. Throws `Exception` for
    /// an index that is none.
    std::span<const std::uint32_t> getTransaction(std::uint64_t index) const;
    /// All of them, one transaction after the other.
    std::span<const std::uint32_t> getOccurrences() const noexcept { return items_; }

  private:
    std::vector<std::wstring> itemNames_;
    std::vector<std::uint32_t> items_;
    std::vector<std::uint32_t> ends_;  ///< where each transaction ends among the items
};

/// Items that occur together in `support` transactions.
struct VELTRIX_ENGINE_API Itemset {
    Itemset() = default;
    Itemset(std::uint64_t itemsetSupport, std::vector<std::uint64_t> itemIndexes);

    std::uint64_t numItems() const noexcept { return items.size(); }
    /// Number of items and then each of them, with blanks between: "2 0 17".
    static std::wstring toString(std::span<const std::uint64_t> items);

    std::uint64_t support = 0;
    std::vector<std::uint64_t> items;  ///< ascending
    std::wstring key;                  ///< `toString(items)`
};

/// A transaction that holds the antecedent A is likely to hold the consequent C as well. With n
/// transactions and the supports s:
struct VELTRIX_ENGINE_API Rule {
    double confidence = 0.0;              ///< s(A and C)/s(A)
    std::uint64_t antecedentSupport = 0;  ///< s(A)
    std::uint64_t consequentSupport = 0;  ///< s(C)
    std::uint64_t itemsetSupport = 0;     ///< s(A and C)
    std::vector<std::wstring> antecedent;
    std::vector<std::wstring> consequent;

    /// confidence/(s(C)/n): how much more often than among all transactions.
    double lift(std::uint64_t numTransactions) const;
    /// s(A and C)/n − s(A)/n·s(C)/n (Piatetsky-Shapiro 1991).
    double leverage(std::uint64_t numTransactions) const;
    /// (1 − s(C)/n)/(1 − confidence) (Brin, Motwani, Ullman and Tsur 1997); infinite for a rule
    /// without exception, NaN when every transaction holds the consequent.
    double conviction(std::uint64_t numTransactions) const;
};

/// Finds the frequent itemsets of transactions, those with a support (number of transactions that
/// hold all their items) of at least minSupport, and makes rules of them. Both miners find the same
/// itemsets, ordered by size and then by their items, and the same rules in the same order.
///
/// `fit` throws `ItemsetsTooLargeForArchitecture` when there are more frequent itemsets than the
/// model can hold (`TTree` 2²⁷, `Apriori` 2²⁴), and leaves the model as it was; a higher support or
/// `setMaxItems` keeps them fewer. Fitting and
/// making rules report progress. A fitted model may be read from several threads.
class VELTRIX_ENGINE_API Model : public JSON::Storable {
  public:
    ~Model() override;

    /// Settings take effect with the next fit. A support of 0 is taken as 1.
    Model& setMinSupport(std::uint64_t minSupport);
    /// Most items of an itemset; 0, the default, sets no limit.
    Model& setMaxItems(std::uint64_t maxItems);

    /// Finds the frequent itemsets, and drops the rules made before. The frame form throws what
    /// `Data` throws.
    virtual Model& fit(const DataFrame& frame) = 0;
    virtual Model& fit(const Data& data) = 0;
    /// Makes the rules A ⇒ I without A, I a frequent itemset of two items or more and A a non-empty
    /// proper subset of it, whose confidence is at least minConfidence (a fraction; NaN makes
    /// none). Itemsets come in their order, of each the antecedents by size and then by their
    /// items. The rules replace those made before. Throws `Exception` when the model is not fitted,
    /// or when the names do not number as many as the items.
    virtual Model& generate(const std::vector<std::wstring>& itemNames, double minConfidence) = 0;

    /// The frequent itemsets in their order; none before a fit.
    virtual std::vector<Itemset> getItemsets() const = 0;
    virtual std::uint64_t getNumItemsets() const = 0;

    std::uint64_t getMinSupport() const noexcept { return minSupport_; }
    std::uint64_t getMaxItems() const noexcept { return maxItems_; }
    /// Of the data fitted; 0 before.
    std::uint64_t getNumTransactions() const noexcept { return numTransactions_; }
    std::uint64_t getNumItems() const noexcept { return numItems_; }
    bool isFitted() const noexcept { return fitted_; }
    const std::vector<Rule>& getRules() const noexcept { return rules_; }

  protected:
    friend struct Stored<Model>;

    Model() = default;
    explicit Model(std::uint64_t minSupport) : minSupport_(minSupport) {}
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model& other) = default;
    Model& operator=(Model&&) noexcept = default;

    /// Settings with the sizes of the data, without rules.
    void start(const Model& settings, const Data& data);
    void checkGenerate(bool isFitted, const std::vector<std::wstring>& itemNames) const;
    /// Appends a rule to `rules_` and counts it.
    void add(std::span<const std::uint64_t> antecedent, std::span<const std::uint64_t> consequent,
             const std::vector<std::wstring>& itemNames, std::uint64_t antecedentSupport,
             std::uint64_t consequentSupport, std::uint64_t itemsetSupport, double confidence,
             std::uint64_t& ruleCount);

    std::uint64_t minSupport_ = 1;
    std::uint64_t maxItems_ = 0;
    std::uint64_t numTransactions_ = 0;
    std::uint64_t numItems_ = 0;
    bool fitted_ = false;
    std::vector<Rule> rules_;
};

/// Keeps the frequent itemsets in a tree, in which a node's path from the root is an itemset in
/// ascending order. The subtree of each item is grown depth first over the transactions that hold
/// the item: their other items are rows of bits, and what an itemset's rows have in common is its
/// support (Zaki 2000). Items are taken from the last to the first, so that an itemset is counted
/// only when all its subsets without its first item are known to be frequent, as are those without
/// one of its last two.
///
/// Time of the pairs is the number of pairs that all transactions hold, or, where an item is in at
/// least a quarter of the transactions and that is less, of bits; memory about 12 bytes an
/// occurrence of a frequent item and 16 bytes an itemset. Copies of a model share the tree.
class VELTRIX_ENGINE_API TTree : public Model {
  public:
    TTree() = default;
    explicit TTree(std::uint64_t minSupport) : Model(minSupport) {}
    TTree(const TTree&) = default;
    TTree(TTree&&) noexcept = default;
    TTree& operator=(const TTree& other) { return *this = TTree(other); }
    TTree& operator=(TTree&&) noexcept = default;
    ~TTree() override;

    TTree& fit(const DataFrame& frame) override;
    TTree& fit(const Data& data) override;
    TTree& generate(const std::vector<std::wstring>& itemNames, double minConfidence) override;

    std::vector<Itemset> getItemsets() const override;
    std::uint64_t getNumItemsets() const override;
    /// Support of ascending items, of none all transactions; 0 when they are not frequent together,
    /// and before a fit.
    std::uint64_t computeSupport(std::span<const std::uint64_t> items) const;
    /// The items of a that are not in b; both ascending.
    static void subtract(std::span<const std::uint64_t> a, std::span<const std::uint64_t> b,
                         std::vector<std::uint64_t>& out);

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<TTree>;

    std::shared_ptr<const SupportTree> tree_;
};

/// Finds the itemsets size by size (Agrawal and Srikant 1994): those of k + 1 items are joined from
/// two frequent ones of k items that differ in the last, when all their other subsets are frequent,
/// and then counted. They are kept in a map by their keys. Slower than `TTree` and larger, with
/// look-ups of itemsets by key.
class VELTRIX_ENGINE_API Apriori : public Model {
  public:
    Apriori() = default;
    explicit Apriori(std::uint64_t minSupport) : Model(minSupport) {}
    Apriori(const Apriori&) = default;
    Apriori(Apriori&&) noexcept = default;
    Apriori& operator=(const Apriori& other) { return *this = Apriori(other); }
    Apriori& operator=(Apriori&&) noexcept = default;
    ~Apriori() override;

    Apriori& fit(const DataFrame& frame) override;
    Apriori& fit(const Data& data) override;
    Apriori& generate(const std::vector<std::wstring>& itemNames, double minConfidence) override;

    std::vector<Itemset> getItemsets() const override;
    std::uint64_t getNumItemsets() const override { return itemsets_.size(); }
    /// The frequent itemset of a key. Throws `std::out_of_range` with the text
    /// "invalid unordered_map<K, T> key" when there is none.
    const Itemset& getItemset(const std::wstring& key) const;

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<Apriori>;

    std::unordered_map<std::wstring, Itemset> itemsets_;
};

}  // namespace Veltrix::Engine::AR
