#include <algorithm>
#include <bit>
#include <cmath>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/AR.h"
#include "support/NumberText.h"
#include "tests/support/Paths.h"

namespace Veltrix::Testing {
namespace {

using namespace Engine::AR;
using Names = std::vector<std::wstring>;
using Items = std::vector<std::uint64_t>;

/// Rules and itemsets as the reference writes them.
std::string joined(const Names& names) {
    std::string text;
    for (const std::wstring& name : names) {
        if (!text.empty()) text += ' ';
        text += WString(name).toUtf8();
    }
    return text;
}

std::string ruleText(const Rule& rule) {
    std::string confidence = Support::numberText(rule.confidence);
    if (confidence == "1") confidence = "1.0";
    return joined(rule.antecedent) + "|" + joined(rule.consequent) + "|" + confidence + "|" +
           std::to_string(rule.antecedentSupport) + "|" + std::to_string(rule.consequentSupport) +
           "|" + std::to_string(rule.itemsetSupport);
}

std::vector<std::string> ruleTexts(const Model& model) {
    std::vector<std::string> texts;
    for (const Rule& rule : model.getRules()) texts.push_back(ruleText(rule));
    return texts;
}

std::vector<std::string> itemsetTexts(const Model& model) {
    std::vector<std::string> texts;
    for (const Itemset& itemset : model.getItemsets()) {
        // The key without the number of items.
        texts.push_back(WString(itemset.key.substr(itemset.key.find(L' ') + 1)).toUtf8() + "|" +
                        std::to_string(itemset.support));
    }
    return texts;
}

/// Item numbers as names.
Names numbered(std::size_t count) {
    Names names;
    for (std::size_t j = 0; j < count; ++j) names.push_back(std::to_wstring(j));
    return names;
}

DataFrame readItems(const std::string& name) {
    std::ifstream file(std::string(kTestData) + "/rules/" + name + ".csv");
    std::string line;
    std::getline(file, line);
    std::vector<IntVector> columns(1 + static_cast<std::size_t>(std::ranges::count(line, ',')));
    while (std::getline(file, line)) {
        for (std::size_t j = 0; j < columns.size(); ++j) columns[j].push_back(line[2 * j] - '0');
    }
    DataFrame frame;
    for (const IntVector& column : columns) frame.append(column);
    return frame;
}

/// Quantities of the reference by case and name.
using Quantities = std::map<std::string, std::map<std::string, std::vector<std::string>>>;

Quantities readCases() {
    Quantities cases;
    std::ifstream file(std::string(kTestData) + "/rules/rule_cases.txt");
    for (std::string line; std::getline(file, line);) {
        std::istringstream cells(line);
        std::string key;
        std::string cell;
        std::getline(cells, key, '\t');
        std::getline(cells, cell, '\t');
        auto& values = cases[key.substr(0, key.find('.'))][key.substr(key.find('.') + 1)];
        while (std::getline(cells, cell, '\t')) values.push_back(cell);
    }
    return cases;
}

template <class Miner>
class Rules : public testing::Test {};
using Miners = testing::Types<TTree, Apriori>;
TYPED_TEST_SUITE(Rules, Miners);

TYPED_TEST(Rules, AreThoseOfTheReference) {
    for (auto& [name, quantities] : readCases()) {
        SCOPED_TRACE(name);
        const DataFrame frame = readItems(quantities.at("data").at(0));
        TypeParam model(std::stoul(quantities.at("min_support").at(0)));
        model.fit(frame).generate(numbered(static_cast<std::size_t>(frame.getNumCols())),
                                  std::stod(quantities.at("min_confidence").at(0)));
        EXPECT_THAT(itemsetTexts(model),
                    testing::UnorderedElementsAreArray(quantities.at("itemsets")));
        EXPECT_THAT(ruleTexts(model), testing::UnorderedElementsAreArray(quantities.at("rules")));
    }
}

/// Transactions as bits of a number, in which items are more or less common.
std::vector<unsigned> randomTransactions(std::mt19937& random, unsigned numItems) {
    std::vector<unsigned> transactions(random() % 100);
    for (unsigned& held : transactions) {
        held =
            static_cast<unsigned>(random() | (random() % 2 == 0 ? random() : 0)) % (1U << numItems);
    }
    return transactions;
}

Items itemsOf(unsigned bits) {
    Items items;
    for (std::uint64_t j = 0; bits >> j != 0; ++j) {
        if ((bits >> j & 1U) != 0) items.push_back(j);
    }
    return items;
}

Names namesOf(unsigned bits) {
    Names names;
    for (const std::uint64_t item : itemsOf(bits)) names.push_back(std::to_wstring(item));
    return names;
}

/// Sets of items by size, then by their items.
bool comesBefore(unsigned a, unsigned b) {
    if (std::popcount(a) != std::popcount(b)) return std::popcount(a) < std::popcount(b);
    return itemsOf(a) < itemsOf(b);
}

TYPED_TEST(Rules, AreThoseOfAllSubsetsInOrder) {
    std::mt19937 random(5);
    for (int repeat = 0; repeat < 60; ++repeat) {
        const unsigned numItems = 1 + static_cast<unsigned>(random() % 7);
        const std::vector<unsigned> transactions = randomTransactions(random, numItems);
        const std::uint64_t least = random() % (1 + transactions.size() / 2);
        const std::uint64_t most = random() % 5;
        const double confidence = std::vector{0.0, 0.5, 2.0 / 3.0, 1.0}[random() % 4];
        SCOPED_TRACE(repeat);
        Data data(numbered(numItems));
        for (const unsigned held : transactions) {
            Items items = itemsOf(held);
            std::ranges::reverse(items);  // in any order, and the first item twice
            if (!items.empty()) items.push_back(items.front());
            data.append(items);
        }
        std::vector<std::uint64_t> supports(1U << numItems);
        std::vector<unsigned> subsets;
        for (unsigned set = 1; set < supports.size(); ++set) {
            subsets.push_back(set);
            supports[set] = static_cast<std::uint64_t>(std::ranges::count_if(
                transactions, [set](unsigned held) { return (held & set) == set; }));
        }
        std::ranges::sort(subsets, comesBefore);
        std::vector<std::string> itemsets;
        std::vector<std::string> rules;
        for (const unsigned set : subsets) {
            if (supports[set] < std::max<std::uint64_t>(least, 1)) continue;
            if (most > 0 && static_cast<unsigned>(std::popcount(set)) > most) continue;
            itemsets.push_back(joined(namesOf(set)) + "|" + std::to_string(supports[set]));
            for (const unsigned part : subsets) {
                const double share =
                    static_cast<double>(supports[set]) / static_cast<double>(supports[part]);
                if (part == set || (part & set) != part || share < confidence) continue;
                const unsigned rest = set & ~part;
                rules.push_back(ruleText({share, supports[part], supports[rest], supports[set],
                                          namesOf(part), namesOf(rest)}));
            }
        }
        TypeParam model(least);
        model.setMaxItems(most);
        model.fit(data).generate(data.getItemNames(), confidence);
        EXPECT_EQ(itemsetTexts(model), itemsets);
        EXPECT_EQ(ruleTexts(model), rules);
    }
}

/// Many rare items beside one that all transactions hold: rows of bits would be large.
TEST(RulesOfRareItems, AreTheSameByBothMiners) {
    std::mt19937 random(3);
    Data data(numbered(900));
    for (int t = 0; t < 6000; ++t) {
        Items items{0};
        const std::uint64_t base = 1 + random() % 100 * 8;
        for (int k = 0; k < 4; ++k) items.push_back(base + random() % 9);
        data.append(items);
    }
    TTree tree(5);
    Apriori levels(5);
    tree.fit(data).generate(data.getItemNames(), 0.1);
    levels.fit(data).generate(data.getItemNames(), 0.1);
    EXPECT_EQ(itemsetTexts(tree), itemsetTexts(levels));
    EXPECT_EQ(ruleTexts(tree), ruleTexts(levels));
    EXPECT_GE(tree.getItemsets().back().numItems(), 4U);
}

TEST(RuleMeasures, FollowTheirFormulas) {
    const Rule rule{0.75, 8, 10, 6, {}, {}};
    EXPECT_DOUBLE_EQ(rule.lift(20), 1.5);
    EXPECT_DOUBLE_EQ(rule.leverage(20), 0.3 - 0.4 * 0.5);
    EXPECT_DOUBLE_EQ(rule.conviction(20), 2.0);
    const Rule always{1.0, 8, 10, 8, {}, {}};
    EXPECT_EQ(always.conviction(20), HUGE_VAL);
    EXPECT_TRUE(std::isnan(always.conviction(10)));
}

TEST(RulesOfATree, SupportsAndDifferencesOfItems) {
    TTree tree(4);
    tree.fit(readItems("nine_transactions"));
    EXPECT_EQ(tree.computeSupport(Items{0, 1}), 4U);
    EXPECT_EQ(tree.computeSupport(Items{0, 1, 2}), 0U);  // twice, which is not frequent
    EXPECT_EQ(tree.computeSupport(Items{}), 9U);
    EXPECT_EQ(TTree().computeSupport(Items{}), 0U);
    Items rest{7};
    TTree::subtract(Items{1, 3, 4, 9}, Items{3, 9}, rest);
    EXPECT_EQ(rest, (Items{1, 4}));
}

TEST(RulesByKey, AreFoundOrRefused) {
    Apriori model(4);
    model.fit(readItems("nine_transactions"));
    EXPECT_EQ(model.getItemset(L"2 0 1").support, 4U);
    EXPECT_THAT([&] { (void)model.getItemset(L"1 3"); },
                testing::ThrowsMessage<std::out_of_range>("invalid unordered_map<K, T> key"));
}

TYPED_TEST(Rules, MistakesChangeNothing) {
    TypeParam model(2);
    model.fit(readItems("nine_transactions")).generate(numbered(5), 0.7);
    const WString before = model.toJson();
    DataFrame text;
    text.append(StringVector{L"1", L"yes"}, L"milk");
    EXPECT_THROW(model.fit(text), std::bad_cast);
    EXPECT_THROW(model.generate(numbered(4), 0.5), Exception);
    EXPECT_THROW(TypeParam().generate({}, 0.5), Exception);
    Data data(numbered(400));
    EXPECT_THROW(data.append(Items{1, 400}), Exception);
    EXPECT_EQ(data.getNumTransactions(), 0U);
    EXPECT_THROW(static_cast<void>(data.getTransaction(0)), Exception);
    // Ends when it is asked to.
    std::mt19937 random(1);
    for (int t = 0; t < 30000; ++t) {
        Items items;
        for (int k = 0; k < 60; ++k) items.push_back(random() % 400);
        data.append(items);
    }
    int reports = 0;
    const ProgressScope scope([&](const Progress& progress) {
        EXPECT_LE(progress.fraction, 1.0);
        return ++reports < 3;
    });
    EXPECT_THROW(model.fit(data), Cancelled);
    EXPECT_EQ(reports, 3);
    EXPECT_EQ(model.toJson(), before);
}

}  // namespace
}  // namespace Veltrix::Testing
