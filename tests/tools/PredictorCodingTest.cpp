// Text predictors in the regression commands of the real program.
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Json.h"
#include "tests/support/Paths.h"
#include "tests/support/Process.h"

namespace Veltrix::Testing {
namespace {

using testing::AllOf;
using testing::HasSubstr;

// The level "west" and the last "é" stand only in rows without a grade or a region.
constexpr const char* kData =
    "price,region,grade,店,code\n"
    "1.5,south,3,红😀,1\n"
    "2.5,north,2,é,x\n"
    "3.5,south,4,é,2\n"
    "4.5,east,1,红😀,1\n"
    "5.5,south,6,é,2\n"
    "3.0,north,5,红😀,1\n"
    "2.0,,5,é,2\n"
    "4.0,west,NA,é,1\n"
    "6.0,east,2,é,x\n"
    "5.0,east,3,é,2\n";

// The complete rows of the same table, coded by hand.
constexpr const char* kCoded =
    "price,region_north,region_south,grade,店_红😀,code_2,code_x\n"
    "1.5,0,1,3,1,0,0\n"
    "2.5,1,0,2,0,0,1\n"
    "3.5,0,1,4,0,1,0\n"
    "4.5,0,0,1,1,0,0\n"
    "5.5,0,1,6,0,1,0\n"
    "3.0,1,0,5,1,0,0\n"
    "6.0,0,0,2,0,0,1\n"
    "5.0,0,0,3,0,1,0\n";

/// The rows of a table of a report printed as JSON.
std::string rowsOf(const std::string& report, const std::string& title) {
    const auto document = Support::JsonDocument::parse(report);
    const Support::JsonView tables = document.root().at("tables");
    for (std::int64_t k = 0; k < tables.size(); ++k) {
        if (tables.at(k).at("title").asString() == title) return tables.at(k).at("rows").toJson();
    }
    throw std::runtime_error("No table " + title);
}

class PredictorCoding : public testing::Test {
  protected:
    ProcessResult regress(const std::string& content, std::vector<std::string> options = {}) const {
        options.insert(options.begin(), {"regress", "--data", folder.write("data.csv", content),
                                         "--target", "price", "--format", "json"});
        return runProgram(kVeltrix, options);
    }
    ProcessResult predict(const std::string& content, const std::string& format = "json") const {
        return runProgram(kVeltrix, {"predict", "--model", model, "--data",
                                     folder.write("new.csv", content), "--format", format});
    }

    TemporaryFolder folder;
    std::string model = folder.path("model.json");
};

TEST_F(PredictorCoding, TextColumnsActAsColumnsCodedByHand) {
    for (const std::vector<std::string>& options :
         {std::vector<std::string>(), {"--no-intercept"}}) {
        const ProcessResult text = regress(kData, options);
        const ProcessResult coded = regress(kCoded, options);
        ASSERT_EQ(text.exitCode, 0) << text.err;
        for (const char* title : {"Analysis of variance", "Coefficients"}) {
            EXPECT_EQ(rowsOf(text.out, title), rowsOf(coded.out, title));
        }
        EXPECT_THAT(text.out, HasSubstr(R"(\"region\" are differences from level \"east\")"));
        EXPECT_THAT(text.out, HasSubstr(R"x(["Rows left out (missing values)",2])x"));
    }
}

TEST_F(PredictorCoding, ScoresByTheLevelsOfTheModel) {
    ASSERT_EQ(regress(kData, {"--save", model}).exitCode, 0);
    const ProcessResult scored = predict(kData, "csv");
    ASSERT_EQ(scored.exitCode, 0) << scored.err;
    // Other columns first, other rows, fewer levels; a column of codes that is all numbers here.
    const ProcessResult few = predict(
        "店,code,region,extra,grade\n红😀,1,south,?,3\né,,east,?,2\né,2,east,?,3\n,2,east,?,3\n",
        "csv");
    ASSERT_EQ(few.exitCode, 0) << few.err;
    const auto lineOf = [](const std::string& text, const std::string& row) {
        const std::size_t start = text.find("\n" + row + ",") + 2 + row.size();
        return text.substr(start, text.find('\n', start) - start);
    };
    EXPECT_EQ(lineOf(few.out, "1"), lineOf(scored.out, "1"));
    EXPECT_EQ(lineOf(few.out, "3"), lineOf(scored.out, "10"));
    EXPECT_EQ(lineOf(few.out, "2"), lineOf(scored.out, "7"));  // both without a value
    EXPECT_NE(lineOf(few.out, "1"), lineOf(few.out, "2"));

    const ProcessResult unseen =
        predict("region,grade,店,code\nsouth,1,é,x\n,1,é,x\nwest,NA,é,x\nwest,2,é,x\n");
    EXPECT_EQ(unseen.exitCode, 2);
    EXPECT_THAT(unseen.err, AllOf(HasSubstr("--data"), HasSubstr("\"region\""), HasSubstr("row 4"),
                                  HasSubstr("\"west\"")));
}

TEST_F(PredictorCoding, MistakesAreNamed) {
    const std::pair<const char*, std::vector<std::string>> mistakes[] = {
        {"price,a\n1,x\n2,x\n3,x\n", {"\"a\"", "only \"x\"", "two levels"}},
        {"price,a\n1,1\n2,2\n3,4x\n", {"\"a\"", "row 3", "\"4x\"", "number", "fewer levels"}},
        {"price,name\n1,u\n2,v\nNA,w\n", {"\"name\"", "row 1", "\"u\"", "rows used (2)"}},
    };
    for (const auto& [content, words] : mistakes) {
        SCOPED_TRACE(content);
        const ProcessResult result = regress(content);
        EXPECT_EQ(result.exitCode, 2);
        for (const std::string& word : words) EXPECT_THAT(result.err, HasSubstr(word));
    }
}

TEST_F(PredictorCoding, DamagedLevelsAreNamed) {
    ASSERT_EQ(regress(kData, {"--save", model}).exitCode, 0);
    const std::string stored = contentOf(model);
    const char* const damages[][3] = {
        {"\"name\":\"region\"", "\"name\":\"area\"", "\"area\" is no predictor"},
        {"[\"east\",\"north\",\"south\"]", "[]", "no level of \"region\""},
        {"[\"east\",\"north\",\"south\"]", "[\"east\",\"east\",\"south\"]", "occurs twice"},
    };
    for (const auto& [from, to, word] : damages) {
        std::string text = stored;
        const std::size_t where = text.find(from);
        ASSERT_NE(where, std::string::npos);
        folder.write("model.json", text.replace(where, std::string(from).size(), to));
        const ProcessResult result = predict(kData);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.err, HasSubstr(word));
    }
}

}  // namespace
}  // namespace Veltrix::Testing
