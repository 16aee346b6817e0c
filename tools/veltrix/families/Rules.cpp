#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "Veltrix/Engine/AR.h"
#include "Veltrix/Engine/Exceptions.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/host/ItemColumns.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/TransactionReader.h"
#include "tools/veltrix/report/NumberFormat.h"

namespace Veltrix::Tool {

namespace {

using Engine::AR::Itemset;
using Engine::AR::Rule;

constexpr const char* kRules = "Rules";
constexpr const char* kMinSupport = "--min-support";
constexpr const char* kMaxItems = "--max-items";

enum class Layout { Columns, Transactions };
enum class Order { Lift, Confidence, Support };

const Choices<Layout> kLayouts{{"columns", Layout::Columns},
                               {"transactions", Layout::Transactions}};
const Choices<Order> kOrders{
    {"lift", Order::Lift}, {"confidence", Order::Confidence}, {"support", Order::Support}};
const Choices<char> kSeparators{{"comma", ','}, {"semicolon", ';'}, {"tab", '\t'}, {"blank", ' '}};

std::string joined(const std::vector<std::wstring>& names) {
    std::string text;
    for (const std::wstring& name : names) {
        text += (text.empty() ? "" : ", ") + WString(name).toUtf8();
    }
    return text;
}

class Rules : public StoredFamily<Rules, Family>, public OwnInput {
  public:
    FamilyNames names() const override {
        return {"rules", "Finds items that occur together in transactions, and rules of them",
                "association rules"};
    }
    Needs needs() const override { return {.scores = false}; }

    void options(OptionGroup& own) override {
        own.file(file_,
                 "CSV file with a column for each item, or text file with a transaction a "
                 "line")
            .required();
        own.choice("--layout", layout_,
                   "Cells of 0/1 or yes/no in columns named as the items, or lines of item names",
                   kLayouts);
        own.list("--columns", columns_,
                 "Columns of items, separated by commas; may be repeated, also for a name that "
                 "holds a comma. All columns when left out");
        own.choice("--separator", separator_, "What stands between the names of a line",
                   kSeparators);
        own.countOrShare(kMinSupport, minSupport_,
                         "Fewest transactions that hold an itemset, as a number or a share of all")
            .shown("10%");
        own.share("--min-confidence", minConfidence_, "Least confidence of a rule").shown("0.5");
        own.number("--min-lift", minLift_, "Least lift of a rule", 0.0).shown("0");
        own.count(kMaxItems, maxItems_, "Most items of an itemset; any number when left out", 1);
        own.choice("--sort", order_, "What the rules are ordered by, largest first", kOrders);
    }

    void checkOptions() const override {
        if (layout_ == Layout::Columns || columns_.empty()) return;
        throw UserError("--columns: given with --layout transactions, which has no columns");
    }

    const FileOption& file() const override { return file_; }

    void read() override {
        if (layout_ == Layout::Columns) {
            ItemColumns items = readItemColumns(file_.path, columns_);
            data_ = std::move(items.data);
            emptyCells_ = items.emptyCells;
            return;
        }
        try {
            ReadTransactions read = readTransactions(file_.path, separator_);
            data_ = std::move(read.data);
            repeated_ = read.repeated;
        } catch (const UserError& error) {
            throw UserError(fmt::format("{}: {}", file_.option, error.what()));
        }
    }

    void fit() override {
        const auto numTransactions = static_cast<std::int64_t>(data_.getNumTransactions());
        model_.setMinSupport(static_cast<std::uint64_t>(minSupport_.of(numTransactions)))
            .setMaxItems(static_cast<std::uint64_t>(maxItems_));
        try {
            model_.fit(data_).generate(data_.getItemNames(), minConfidence_);
        } catch (const Engine::ItemsetsTooLargeForArchitecture&) {
            throw UserError(fmt::format(
                "{}: {} of {}, which more itemsets reach than can be kept; expected a higher one, "
                "or {}",
                kMinSupport,
                counted(static_cast<std::int64_t>(model_.getMinSupport()), "transaction"),
                numTransactions, kMaxItems));
        }
        select();
    }

    std::string title(const std::string& /*target*/) const override { return "Association rules"; }

    void summarize(Table& summary) const override {
        summary.entry("Layout", nameOf(layout_, kLayouts));
        std::int64_t empty = 0;
        std::uint64_t longest = 0;
        for (std::uint64_t t = 0; t < data_.getNumTransactions(); ++t) {
            const std::uint64_t size = data_.getTransaction(t).size();
            empty += size == 0 ? 1 : 0;
            longest = std::max(longest, size);
        }
        summary.entry("Transactions", asInteger(data_.getNumTransactions()))
            .entry("Transactions without items", empty)
            .entry("Items", asInteger(data_.getNumItems()))
            .entry("Most items of a transaction", asInteger(longest));
        if (layout_ == Layout::Columns) {
            summary.entry("Empty cells (taken as without the item)", emptyCells_);
        } else {
            summary.entry("Names repeated in a line (counted once)", repeated_);
        }
        summary.entry("Minimum support", asInteger(model_.getMinSupport()))
            .entry("Minimum confidence", minConfidence_)
            .entry("Minimum lift", minLift_)
            .entry("Most items of an itemset", maxItems_ > 0 ? Value(maxItems_) : Value("any"))
            .entry("Frequent itemsets", asInteger(model_.getNumItemsets()))
            .entry("Rules", static_cast<std::int64_t>(selected_.size()))
            .entry("Rules sorted by", nameOf(order_, kOrders));
    }

    void describe(ReportBuilder& report) const override {
        const std::vector<Itemset> itemsets = model_.getItemsets();
        addSizes(report.table("Itemsets by size"), itemsets);
        addItemsets(report.records("Itemsets"), itemsets);
        addRules(report.records(kRules));
        report.chart("Support and confidence").x(kRules, "Support").y(kRules, "Confidence");
    }

    static void describeFields(auto& a, auto& self) { storedModel(a, "model", self.model_); }

  private:
    static std::int64_t asInteger(std::uint64_t count) { return static_cast<std::int64_t>(count); }

    double shareOf(std::uint64_t support) const {
        return static_cast<double>(support) / static_cast<double>(model_.getNumTransactions());
    }
    double liftOf(const Rule& rule) const { return rule.lift(model_.getNumTransactions()); }

    double keyOf(const Rule& rule) const {
        if (order_ == Order::Lift) return liftOf(rule);
        if (order_ == Order::Confidence) return rule.confidence;
        return static_cast<double>(rule.itemsetSupport);
    }

    /// The rules of enough lift in the order asked for; equal ones as they were found.
    void select() {
        const std::vector<Rule>& rules = model_.getRules();
        for (std::size_t k = 0; k < rules.size(); ++k) {
            if (liftOf(rules[k]) >= minLift_) selected_.push_back(k);
        }
        std::ranges::stable_sort(selected_, std::ranges::greater(),
                                 [&](std::size_t k) { return keyOf(rules[k]); });
    }

    static void addSizes(Table& table, const std::vector<Itemset>& itemsets) {
        std::vector<std::int64_t> counts;
        for (const Itemset& itemset : itemsets) {
            counts.resize(itemset.numItems());
            ++counts.back();
        }
        table.counted("Items", counts.size());
        table.integers("Itemsets", std::move(counts));
    }

    void addItemsets(Table& table, const std::vector<Itemset>& itemsets) const {
        std::vector<std::string> texts;
        std::vector<std::int64_t> sizes;
        std::vector<std::int64_t> counts;
        Vector shares;
        for (const Itemset& itemset : itemsets) {
            std::vector<std::wstring> names;
            for (const std::uint64_t item : itemset.items) {
                names.push_back(data_.getItemNames()[item]);
            }
            texts.push_back(joined(names));
            sizes.push_back(asInteger(itemset.numItems()));
            counts.push_back(asInteger(itemset.support));
            shares.push_back(shareOf(itemset.support));
        }
        table.text("Itemset", std::move(texts))
            .integers("Items", std::move(sizes))
            .integers("Transactions", std::move(counts))
            .series("Support", std::move(shares));
    }

    void addRules(Table& table) const {
        const auto numbers = [&](const auto& numberOf) {
            Vector values;
            values.reserve(selected_.size());
            for (const std::size_t k : selected_) values.push_back(numberOf(model_.getRules()[k]));
            return values;
        };
        const auto counts = [&](std::uint64_t Rule::*support) {
            std::vector<std::int64_t> values;
            for (const std::size_t k : selected_) {
                values.push_back(asInteger(model_.getRules()[k].*support));
            }
            return values;
        };
        const auto texts = [&](std::vector<std::wstring> Rule::*side) {
            std::vector<std::string> values;
            for (const std::size_t k : selected_) {
                values.push_back(joined(model_.getRules()[k].*side));
            }
            return values;
        };
        const std::uint64_t n = model_.getNumTransactions();
        table.text("Antecedent", texts(&Rule::antecedent))
            .text("Consequent", texts(&Rule::consequent))
            .integers("Transactions", counts(&Rule::itemsetSupport))
            .series("Support", numbers([&](const Rule& r) { return shareOf(r.itemsetSupport); }))
            .series("Confidence", numbers([](const Rule& r) { return r.confidence; }))
            .series("Lift", numbers([n](const Rule& r) { return r.lift(n); }))
            .series("Leverage", numbers([n](const Rule& r) { return r.leverage(n); }))
            .series("Conviction", numbers([n](const Rule& r) { return r.conviction(n); }))
            .integers("Antecedent transactions", counts(&Rule::antecedentSupport))
            .integers("Consequent transactions", counts(&Rule::consequentSupport));
    }

    FileOption file_{"--data", {}};
    Layout layout_ = Layout::Columns;
    std::vector<std::string> columns_;
    char separator_ = ',';
    CountOrShare minSupport_{0, 10.0};
    double minConfidence_ = 0.5;
    double minLift_ = 0.0;
    std::int64_t maxItems_ = 0;
    Order order_ = Order::Lift;

    Engine::AR::Data data_;
    std::int64_t emptyCells_ = 0;
    std::int64_t repeated_ = 0;
    Engine::AR::TTree model_;
    std::vector<std::size_t> selected_;  ///< of the rules, in the order shown
};

}  // namespace

std::unique_ptr<Family> makeRules() { return std::make_unique<Rules>(); }

}  // namespace Veltrix::Tool
