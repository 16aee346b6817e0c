// The sampling commands of the real program.
#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Veltrix/Engine/Sampling.h"
#include "tests/support/CommandRun.h"

namespace Veltrix::Testing {
namespace {

const std::string kTitanic = std::string(kTestData) + "/learners/titanic_class.csv";

/// The lines that the program prints, the header left out.
std::vector<std::string> rowsOf(const Arguments& arguments) {
    std::vector<std::string> lines = splitAt("\n", outputOf(arguments));
    lines.erase(lines.begin());
    return lines;
}

TEST(SampleCommand, DrawsTheRowsOfTheLibrary) {
    const TemporaryFolder folder;
    std::string text = "row\n";
    for (int i = 0; i < 1000; ++i) text += std::to_string(i) + "\n";
    const std::string data = folder.write("data.csv", text);
    for (const std::uint32_t seed : {42U, 12345U}) {
        std::vector<std::string> expected;
        Engine::Sampling::ScalableSRS sampler(1000, 100);
        for (const int row : sampler.setSeed(seed).sample()) {
            expected.push_back(std::to_string(row));
        }
        const Arguments given = seed == 42 ? "--seed 42" : Arguments();
        EXPECT_EQ(rowsOf({"sample --size 100 --data", data, given}), expected);
    }
}

// Keys of exactly 1 are left out when nearly everything is drawn; all rows must come even so.
TEST(SampleCommand, CanDrawEveryRow) {
    const TemporaryFolder folder;
    std::string text = "row,half\n";
    for (int i = 0; i < 150000; ++i) text += std::to_string(i) + (i % 2 == 0 ? ",a\n" : ",b\n");
    const std::string data = folder.write("data.csv", text);
    for (const Arguments& strata : {Arguments(), Arguments("--strata half")}) {
        const auto rows = rowsOf({"sample --size 150000 --data", data, strata});
        EXPECT_EQ(std::set<std::string>(rows.begin(), rows.end()).size(), 150000u);
    }
}

TEST(PartitionCommand, KeepsEveryCellAndRow) {
    const TemporaryFolder folder;
    const std::string data = folder.write(
        "data.csv",
        "id,\"size, cm\",note\n1.50,1.50,\" lead\"\n2,,\"x,y\"\n3e2,NA,\"q\"\"q\"\n-0.10,007,Mü\n"
        "5,nan,\"a\nb\"\n");
    EXPECT_EQ(outputOf({"partition --train 0.6 --validation 0.4 --data", data, "--column",
                        std::string("my part"), "--output", folder.path("out.csv")}),
              "");
    EXPECT_EQ(contentOf(folder.path("out.csv")),
              "id,\"size, cm\",note,my part\n"
              "1.50,1.50,\" lead\",train\n2,,\"x,y\",train\n3e2,NA,\"q\"\"q\",valid\n"
              "-0.10,007,Mü,valid\n5,nan,\"a\nb\",train\n");
    // A single empty cell must not become an empty line, which readers pass over.
    const std::string single = folder.write("single.csv", "a\n\"\"\nx\n");
    EXPECT_EQ(outputOf({"sample --size 2 --data", single}), "a\n\"\"\nx\n");
}

TEST(PartitionCommand, GivesTrainingTheShareOfTheClass) {
    std::map<std::string, int> count;
    for (const std::string& row :
         rowsOf({"partition --train 0.6 --validation 0.2 --target stratum --success-class 2nd "
                 "--success-share 0.25 --data",
                 kTitanic})) {
        const bool success = row.substr(0, row.find(',')) == "2nd";
        ++count[row.substr(row.find(',') + 1) + (success ? " success" : " other")];
    }
    // 285 of 2201 passengers: ceil(171), ceil(57), the rest; others 3 to 1 in training, then
    // ceil(0.2 * 1916) and ceil(57 * 1916/285).
    const std::map<std::string, int> expected{
        {"train success", 171}, {"valid success", 57}, {"test success", 57}, {"train other", 513},
        {"valid other", 384},   {"test other", 384},   {" other", 635}};
    EXPECT_EQ(count, expected);
    // In a column of numbers the class is a number too.
    const TemporaryFolder folder;
    const std::string data = folder.write("data.csv", "y\n1\n0\n0\n1\n");
    EXPECT_EQ(rowsOf({"partition --train 1 --target y --success-class 1.0 --data", data}),
              (std::vector<std::string>{"1,train", "0,train", "0,train", "1,train"}));
}

}  // namespace
}  // namespace Veltrix::Testing
