// Model files of the real program: those of earlier versions, damaged ones, and what they make of
// new data.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Veltrix/Engine/AR.h"
#include "Veltrix/Engine/HC.h"
#include "tests/support/CommandRun.h"
#include "tests/support/Containers.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using testing::AllOf;
using testing::HasSubstr;

const std::string kModels = std::string(kTestData) + "/models/";

TEST(ModelFiles, OfEarlierVersionsPredictAsTheyDid) {
    const auto cellsOf = [](std::string text) {
        text.erase(0, text.find("\nRow,"));
        std::ranges::replace(text, '\n', ',');
        return splitAt(",", text);
    };
    const std::string series = std::string(kTestData) + "/timeseries/series/strikes.csv";
    for (const std::string name :
         {"regress", "logistic", "knn", "naive-bayes", "tree", "discriminant", "network", "pca",
          "cva", "kmeans", "smooth", "arima", "text"}) {
        const bool ofSeries = name == "smooth" || name == "arima";
        const auto cells = cellsOf(
            predictionsOf(kModels + name + ".json", ofSeries ? series : kModels + "new.csv"));
        const auto expected = cellsOf(contentOf(kModels + name + ".csv"));
        ASSERT_EQ(cells.size(), expected.size()) << name;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const auto number = Support::parseNumber(std::string_view(expected[i]));
            if (!number || std::isnan(*number)) {
                EXPECT_EQ(cells[i], expected[i]) << name;
            } else {
                const double found = Detail::toNumber(cells[i], name);
                EXPECT_TRUE(isNear(found, *number, {1e-9, 1e-12})) << name;
            }
        }
    }
}

// Rules and hierarchical clusters score nothing: a host takes the model out of the file.
TEST(ModelFiles, OfEarlierVersionsAreReadByHosts) {
    const auto modelOf = [](const std::string& name) {
        const std::string text = contentOf(kModels + name + ".json");
        const std::size_t start = text.find("\"model\":") + 8;
        return WString::fromUtf8(text.substr(start, text.rfind('}') - start));
    };
    Engine::AR::TTree rules;
    rules.fromJsonString(modelOf("rules"));
    EXPECT_EQ(rules.computeSupport(std::vector<std::uint64_t>{0, 1, 4}), 2U);
    EXPECT_EQ(rules.generate({L"a", L"b", L"c", L"d", L"e"}, 1.0).getRules().size(), 6U);
    Engine::HC::Model clusters;
    clusters.fromJsonString(modelOf("hierarchical"));
    const ReferenceData reference("learners/eurodist.hierarchical");
    EXPECT_TRUE(allNear(clusters.predict(3), reference.vector("linkages.6.cuts.1.cluster"),
                        Tolerance{0.0, 0.0}));
}

TEST(ModelFiles, ThatAreDamagedAreNamed) {
    const TemporaryFolder folder;
    const auto expect = [&](const std::string& text, const Words& words) {
        const std::string bad = folder.write("bad.json", text);
        expectMistake(run({"predict --model", bad, "--data", kModels + "houses.csv", "--output",
                           folder.path("out.txt")}),
                      words);
        EXPECT_THAT(folder.files(), testing::ElementsAre("bad.json"));
    };
    for (const std::string& line : Detail::readLines("models/damages.txt")) {
        SCOPED_TRACE(line);
        if (line[0] == '#') continue;
        const auto parts = splitAt(" => ", line);
        const auto change = splitAt(" -> ", parts.at(0).substr(line.find(": ") + 2));
        const std::string model = contentOf(kModels + line.substr(0, line.find(':')) + ".json");
        ASSERT_NE(model.find(change.at(0)), std::string::npos);
        expect(std::string(model).replace(model.find(change[0]), change[0].size(), change.at(1)),
               parts.at(1).c_str());
    }
    const std::string model = contentOf(kModels + "tree.json");
    expect("", "--model | bad.json");
    expect(model.substr(0, model.size() / 2), "--model | bad.json | line 1");
}

// What the report says of every record is what the stored model says of it again.
TEST(ModelFiles, PredictAsTheReportDoes) {
    const TemporaryFolder folder;
    const std::string data = kModels + "houses.csv";
    const std::string model = folder.path("m.json");
    const Arguments parts{"--partition-column part --predictors region,size,kind --data", data,
                          "--save", model};
    const struct {
        Arguments command;
        std::string column;
        Arguments both;
    } cases[] = {{"regress --target price", "Prediction", {}},
                 {"regress --target price", "Confidence lower 80%", "--confidence 0.8"},
                 {"regress --target price", "Confidence upper 80%", "--confidence 0.8"},
                 {"regress --target price", "Prediction lower 80%", "--confidence 0.8"},
                 {"regress --target price", "Prediction upper 80%", "--confidence 0.8"},
                 {"knn --target price --regression --k 3", "Prediction", {}},
                 {"knn --target sold --max-k 5", "P(yes)", {}},
                 {"logistic --target sold", "P(yes)", {}},
                 {"select --target price --use 2", "Prediction", {}},
                 {"select --target sold --model logistic --use 1", "P(yes)", {}},
                 {"network --target sold --epochs 5", "P(yes)", {}},
                 {"network --target price --regression --no-standardize", "Prediction", {}},
                 {"tree --target sold --min-records 1", "P(yes)", {}},
                 {"tree --target price --regression --min-records 2", "Prediction", {}}};
    for (const auto& [command, column, both] : cases) {
        const JsonReport report = reportOf({command, parts, both});
        const auto again = reportOf({"predict --model", model, "--data", data, both})
                               .column("Predictions", column);
        for (const std::string title : {"Scores: validation", "Scores: test"}) {
            const auto rows = report.column(title, "Row");
            const auto scores = report.column(title, column);
            for (std::size_t i = 0; i < rows.size(); ++i) {
                const double stored = again.at(static_cast<std::size_t>(rows[i]) - 1);
                EXPECT_TRUE(isNear(stored, scores[i], {1e-12})) << column;
            }
        }
    }
    // Clusters have numbers; the row without y has none.
    const std::string file = folder.write("rows.csv", "x,y\n0,0\n0,1\n9,9\n9,8\n");
    outputOf({"kmeans --data", file, "--clusters 2 --seed 7 --save", model});
    EXPECT_THAT(predictionsOf(model, folder.write("new.csv", "y,x\n8.5,9\n,1\n0.5,0\n")),
                AllOf(HasSubstr("Rows scored,2\n"), HasSubstr("\n2,,NaN,NaN\n"),
                      testing::AnyOf(HasSubstr("\n1,1,0,12.041594578792296\n"),
                                     HasSubstr("\n1,2,12.041594578792296,0\n"))));
}

// The level "west" and the last "é" stand only in rows without a grade or a region.
constexpr const char* kText =
    "price,region,grade,店,code\n1.5,south,3,红😀,1\n2.5,north,2,é,x\n3.5,south,4,é,2\n"
    "4.5,east,1,红😀,1\n5.5,south,6,é,2\n3.0,north,5,红😀,1\n2.0,,5,é,2\n4.0,west,NA,é,1\n"
    "6.0,east,2,é,x\n5.0,east,3,é,2\n";

// The complete rows of the same table, coded by hand.
constexpr const char* kCoded =
    "price,region_north,region_south,grade,店_红😀,code_2,code_x\n1.5,0,1,3,1,0,0\n"
    "2.5,1,0,2,0,0,1\n3.5,0,1,4,0,1,0\n4.5,0,0,1,1,0,0\n5.5,0,1,6,0,1,0\n3.0,1,0,5,1,0,0\n"
    "6.0,0,0,2,0,0,1\n5.0,0,0,3,0,1,0\n";

TEST(TextPredictors, ActAsColumnsCodedByHand) {
    const TemporaryFolder folder;
    const Arguments regress{"regress --target price --data"};
    for (const Arguments& options : {Arguments(), Arguments{"--no-intercept"}}) {
        const JsonReport text =
            reportOf(regress + Arguments{folder.write("t.csv", kText)} + options);
        const JsonReport coded =
            reportOf(regress + Arguments{folder.write("c.csv", kCoded)} + options);
        EXPECT_EQ(text.table("Analysis of variance").toJson(),
                  coded.table("Analysis of variance").toJson());
        EXPECT_EQ(text.table("Coefficients").at("rows").toJson(),
                  coded.table("Coefficients").at("rows").toJson());
        EXPECT_THAT(text.table("Coefficients").toJson(),
                    HasSubstr(R"(\"region\" are differences from level \"east\")"));
        EXPECT_EQ(text.entry("Rows left out (missing values)"), 2.0);
    }
}

TEST(TextPredictors, AreScoredByTheLevelsOfTheModel) {
    const TemporaryFolder folder;
    const std::string model = folder.path("m.json");
    outputOf({"regress --target price --data", folder.write("t.csv", kText), "--save", model});
    const auto lineOf = [](const std::string& text, const std::string& row) {
        const std::size_t start = text.find("\n" + row + ",") + 2 + row.size();
        return text.substr(start, text.find('\n', start) - start);
    };
    const std::string scored = predictionsOf(model, folder.path("t.csv"));
    // Other columns first, other rows, fewer levels; a column of codes that is all numbers here.
    const std::string few = predictionsOf(
        model, folder.write("few.csv",
                            "店,code,region,extra,grade\n红😀,1,south,?,3\né,,east,?,2\n"
                            "é,2,east,?,3\n,2,east,?,3\n"));
    EXPECT_EQ(lineOf(few, "1"), lineOf(scored, "1"));
    EXPECT_EQ(lineOf(few, "3"), lineOf(scored, "10"));
    EXPECT_EQ(lineOf(few, "2"), lineOf(scored, "7"));  // both without a value
    EXPECT_NE(lineOf(few, "1"), lineOf(few, "2"));
    const std::pair<const char*, Words> files[] = {
        {"region,grade,店,code\nsouth,1,é,x\n,1,é,x\nwest,NA,é,x\nwest,2,é,x\n",
         "--data | \"region\" | row 4 | \"west\""},
        {"region,grade\neast,1\n", "--data | no column \"店\" | new.csv"}};
    for (const auto& [content, words] : files) {
        expectMistake(run({"predict --model", model, "--data", folder.write("new.csv", content)}),
                      words);
    }
}

}  // namespace
}  // namespace Veltrix::Testing
