// Association rules by the real program, from both layouts.
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Veltrix/Engine/AR.h"
#include "support/Json.h"
#include "tests/support/CommandRun.h"
#include "tests/support/ReferenceData.h"

namespace Veltrix::Testing {
namespace {

using testing::ElementsAre;

const std::string kNine = std::string(kTestData) + "/rules/nine_transactions.csv";

TEST(RulesCommand, ShowsItemsetsAndRulesOfATable) {
    const TemporaryFolder folder;
    const std::string model = folder.path("rules.json");
    const Arguments mine{"rules --data", kNine, "--min-support 2 --min-confidence 0.7 --save",
                         model};
    const JsonReport report = reportOf(mine);
    EXPECT_EQ(report.entry("Transactions"), 9);
    EXPECT_EQ(report.entry("Frequent itemsets"), 13);
    EXPECT_EQ(report.column("Itemsets by size", "Itemsets"), (std::vector<double>{5, 6, 2}));
    EXPECT_EQ(report.texts("Itemsets", "Itemset").at(12), "I1, I2, I5");
    EXPECT_EQ(report.column("Itemsets", "Transactions").at(12), 2);
    // Those of lift 9/2 first, then 9/6 and 9/7, each as they were found.
    EXPECT_THAT(report.texts("Rules", "Antecedent"),
                ElementsAre("I5", "I5", "I2, I5", "I4", "I5", "I1, I5"));
    EXPECT_THAT(report.texts("Rules", "Consequent"),
                ElementsAre("I1, I2", "I1", "I1", "I2", "I2", "I2"));
    EXPECT_DOUBLE_EQ(report.column("Rules", "Lift").at(0), 9.0 / 4.0);
    EXPECT_DOUBLE_EQ(report.column("Rules", "Support").at(0), 2.0 / 9.0);
    EXPECT_DOUBLE_EQ(report.column("Rules", "Leverage").at(0), 2.0 / 9.0 - 2.0 / 9.0 * 4.0 / 9.0);

    std::ifstream file(model);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const auto stored = Support::JsonDocument::parse(text);
    Engine::AR::TTree tree;
    tree.fromJsonString(WString::fromUtf8(stored.root().at("model").toJson()));
    EXPECT_EQ(tree.getNumItemsets(), 13U);
    expectMistake(run({"predict --model", model, "--data", kNine}),
                  "--model | \"association rules\" | scores no records");
}

TEST(RulesCommand, SelectsAndSortsTheRules) {
    const Arguments mine{"rules --data", kNine, "--min-support 20% --min-confidence 0.5 --columns",
                         "I1,I2,I3 --max-items 2"};
    const Arguments options[] = {"--sort support", "--sort confidence --min-lift 0.9"};
    const JsonReport bySupport = reportOf({mine, options[0]});
    EXPECT_EQ(bySupport.entry("Minimum support"), 2);  // 1.8 of 9
    EXPECT_EQ(bySupport.column("Rules", "Transactions"), (std::vector<double>(6, 4)));
    const JsonReport byConfidence = reportOf({mine, options[1]});
    EXPECT_THAT(byConfidence.texts("Rules", "Antecedent"), ElementsAre("I1", "I3"));
    EXPECT_THAT(byConfidence.texts("Rules", "Consequent"), ElementsAre("I3", "I1"));
}

TEST(RulesCommand, ReadsWordsAndLinesOfNames) {
    const TemporaryFolder folder;
    const std::string words = folder.write("words.csv",
                                           "tea,\"milk, cold\",cake\n"
                                           "YES,1,t\nno,,F\nn,2,y\ntrue,NA,\n");
    const std::string lines = folder.write(
        "lines.txt", "\"milk, cold\", tea ,cake,tea\r\n\r\n,cake,\"milk, cold\",,\ntea");
    const Arguments settings{"--min-support 1 --min-confidence 0 --sort support"};
    const JsonReport table = reportOf({"rules --data", words, settings});
    const JsonReport list = reportOf({"rules --layout transactions --data", lines, settings});
    EXPECT_EQ(table.entry("Empty cells (taken as without the item)"), 3);
    EXPECT_EQ(list.entry("Names repeated in a line (counted once)"), 1);
    EXPECT_EQ(list.entry("Transactions without items"), 1);
    EXPECT_EQ(list.entry("Most items of a transaction"), 3);
    EXPECT_THAT(list.texts("Itemsets", "Itemset"),
                ElementsAre("cake", "milk, cold", "tea", "cake, milk, cold", "cake, tea",
                            "milk, cold, tea", "cake, milk, cold, tea"));
    EXPECT_EQ(list.column("Itemsets", "Transactions"), (std::vector<double>{2, 2, 2, 2, 1, 1, 1}));
    EXPECT_EQ(table.column("Itemsets", "Transactions"), (std::vector<double>{2, 2, 2, 1, 1, 2, 1}));
    EXPECT_EQ(table.column("Rules", "Confidence").size(),
              list.column("Rules", "Confidence").size());
}

}  // namespace
}  // namespace Veltrix::Testing
