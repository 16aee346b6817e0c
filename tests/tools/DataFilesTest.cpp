// One table in the forms in which programs export it: every one gives the model of the plain file.
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include "tests/support/CommandRun.h"

namespace Veltrix::Testing {
namespace {

class DataFiles : public testing::Test {
  protected:
    JsonReport regress(const Arguments& data) const {
        return JsonReport(outputOf(Arguments{"regress --target y --format json"} + data));
    }
    std::vector<double> estimates(const Arguments& data) const {
        return regress(data).column("Coefficients", "Estimate");
    }

    const TemporaryFolder folder;
    const std::string plain = folder.write("plain.csv",
                                           "y,a,b\n1.5,1,2\n2.5,2.25,1\n4,3,5\n7.5,5,4\n"
                                           "1000.5,1000,3\n9,NA,2\n");
    const std::vector<double> expected = estimates({"--data", plain});
};

TEST_F(DataFiles, FormsAreRecognised) {
    const std::string packed = folder.path("plain.csv.gz");
    const gzFile file = gzopen(packed.c_str(), "wb");
    const std::string content = contentOf(plain);
    gzwrite(file, content.data(), static_cast<unsigned>(content.size()));
    gzclose(file);
    EXPECT_EQ(estimates({"--data", packed}), expected);
    const std::string cut = folder.write("cut.gz", contentOf(packed).substr(0, 40));
    expectMistake(run({"regress --target y --data", cut}), "--data | cut.gz | damaged or cut");
    EXPECT_EQ(estimates({"--data", folder.write("s.csv",
                                                "y;a;b\r\n1,5;1;2\r\n2,5;2,25;1\r\n4;3;5\r\n"
                                                "7,5;5;4\r\n1000,5;1000;3\r\n9;;2\r\n")}),
              expected);
    EXPECT_EQ(estimates({"--missing", std::string("-,?"), "--thousands . --data",
                         folder.write("t.csv",
                                      "y\ta\tb\t\n1,5\t1\t2\t\n2,5\t2,25\t1\t\n4\t3\t5\t\n"
                                      "7,5\t5\t4\t\n1.000,5\t1.000\t3\t\n9\t-\t2\t\n")}),
              expected);
    std::string wide = "\xFF\xFE";
    for (const char c : content) wide += {c, '\0'};
    EXPECT_EQ(estimates({"--data", folder.write("wide.csv", wide)}), expected);
    EXPECT_EQ(estimates({"--encoding latin-1 --exclude \xC3\xA9 --data",
                         folder.write("latin.csv",
                                      "y,a,\xE9,b\n1.5,1,x,2\n2.5,2.25,x,1\n4,3,x,5\n"
                                      "7.5,5,x,4\n1000.5,1000,\xE8,3\n")}),
              expected);
    EXPECT_EQ(estimates({"--exclude column1 --data",
                         folder.write("rows.csv",
                                      "\"\",\"y\",\"a\",\"b\"\n\"1\",1.5,1,2\n\"2\",2.5,2.25,1\n"
                                      "\"3\",4,3,5\n\"4\",7.5,5,4\n\"5\",1000.5,1000,3\n"
                                      "\"6\",9,NA,2\n")}),
              expected);
}

TEST_F(DataFiles, RowsAreChosen) {
    const std::string more = folder.write("more.csv",
                                          "y,a,b,part,town\n0,0,0,train,X\n1.5,1,2,train,N\n"
                                          "2.5,2.25,1,,N\n4,3,5,train,N\n,8,8,odd,N\n"
                                          "7.5,5,4,train,N\n9,9,9,,S\n1000.5,1000,3,train,N\n"
                                          "3,3,9,test,N\n");
    const Arguments chosen{"--predictors a,b --rows 2-8,1 --where town=N --where b<=5 --data",
                           more};
    const JsonReport report = regress(chosen);
    EXPECT_EQ(report.column("Coefficients", "Estimate"), expected);
    EXPECT_EQ(report.entry("Rows read"), 9.0);
    EXPECT_EQ(report.entry("Rows chosen"), 5.0);
    EXPECT_EQ(report.entry("Rows left out (missing values)"), 0.0);

    // The part of a row that is not chosen is not looked at, and predictions keep row numbers.
    const std::string model = folder.path("m.json");
    outputOf(Arguments{"regress --target y"} + chosen +
             Arguments{"--partition-column part --save", model});
    const JsonReport scores(outputOf(
        {"predict --format json --rows 4- --where part!=odd --model", model, "--data", more}));
    EXPECT_EQ(scores.column("Predictions", "Row"), (std::vector<double>{4, 6, 8, 9}));
}

TEST_F(DataFiles, PartsHaveSeveralNamesAndAreNoticed) {
    const std::string parts =
        folder.write("parts.csv",
                     "y,a,Partition\n1,1,Training\n2,3,TRAIN\n4,4,train\n5,7,Validation\n"
                     "3,2,valid\n6,5,testing\n7,9,Test\n");
    const JsonReport report = regress({"--partition-column Partition --data", parts});
    EXPECT_EQ(report.column("Parts", "Rows used"), (std::vector<double>{3, 2, 2}));
    const std::string unnamed = folder.write(
        "unnamed.csv", "y,a,Partition\n1,1,train\n2,3,Train\n4,4,train\n5,7,train\n3,2,Train\n");
    EXPECT_THAT(outputOf({"regress --target y --data", unnamed}),
                testing::HasSubstr("Partition\" is a predictor, but looks as if it said"));
}

// The example of each model runs on data of its kind.
TEST_F(DataFiles, ExamplesOfAllModelsRun) {
    std::string records = "y,a,b\n";
    for (int i = 0; i < 60; ++i) {
        records += fmt::format("{},{},{}\n", i * i % 7 % 2, i * i % 7 % 3 > 0 ? 1 : 0, i / 7 % 2);
    }
    const std::string data = folder.write("records.csv", records);
    const std::string texts = folder.write("texts.csv", "note\nred apples\ngreen pears\n");
    const JsonReport models(outputOf("models --format json"));
    const std::vector<std::string> examples = models.texts("Examples", "Example");
    EXPECT_GE(examples.size(), 15U);
    for (const std::string& example : examples) {
        const std::vector<std::string> words = splitAt(" ", example);
        Arguments arguments;
        for (std::size_t k = 1; k < words.size(); ++k) {
            arguments.add(words[k] == "FILE.csv"     ? (words[1] == "text" ? texts : data)
                          : words[k] == "TEXT"       ? std::string("note")
                          : words[k] == "COLUMN"     ? std::string("y")
                          : words[k] == "MODEL.json" ? folder.path("m.json")
                                                     : words[k]);
        }
        const ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 0) << example << ": " << result.err;
    }
}

// Figures of pandas 1.5.3.
TEST(Describe, ColumnsAsOtherSoftwareDescribesThem) {
    const JsonReport report(outputOf({"describe --correlations --format json --data",
                                      std::string(kTestData) + "/learners/airquality_tree.csv"}));
    const std::vector<std::pair<const char*, double>> figures = {
        {"Values", 111},
        {"Missing", 0},
        {"Distinct", 93},
        {"Mean", 184.80180180180182},
        {"Std. deviation", 91.15230210226278},
        {"Minimum", 7},
        {"Lower quartile", 113.5},
        {"Median", 207},
        {"Upper quartile", 255.5},
        {"Maximum", 334},
        {"Skewness", -0.49293305191831843},
        {"Kurtosis", -0.9164161551530232}};
    for (const auto& [heading, value] : figures) {
        EXPECT_NEAR(report.column("Columns of numbers", heading)[0], value, 1e-12) << heading;
    }
    const std::vector<double> correlations = report.column("Correlations", "Solar.R");
    EXPECT_NEAR(correlations[1], -0.127183453498, 1e-12);
    EXPECT_NEAR(correlations[4], 0.348341692994, 1e-12);
    EXPECT_EQ(report.texts("Most frequent categories", "Category").front(), "train");
}

// Two cells are missing and one row is not chosen; constants have no shape, and the sum of squares
// of the last column is beyond all doubles.
TEST_F(DataFiles, DescribedWithMissingAndExtremeValues) {
    const std::string odd = folder.write("odd.csv",
                                         "x,c,kind,big\n1,7,b,1e200\n,7,a,-1e200\n3,7,a,1e200\n"
                                         "5,7,,-1e200\n99,0,b,0\n");
    const JsonReport report(
        outputOf({"describe --correlations --rows 1-4 --format json --data", odd}));
    const std::string table = "Columns of numbers";
    EXPECT_EQ(report.column(table, "Missing"), (std::vector<double>{1, 0, 0}));
    EXPECT_EQ(report.column(table, "Mean"), (std::vector<double>{3, 7, 0}));
    const std::vector<double> deviations = report.column(table, "Std. deviation");
    EXPECT_EQ(deviations[0], 2.0);
    EXPECT_EQ(deviations[1], 0.0);
    EXPECT_NEAR(deviations[2] / 1e200, std::sqrt(4.0 / 3.0), 1e-14);
    EXPECT_TRUE(std::isnan(report.column(table, "Skewness")[1]));
    EXPECT_EQ(report.texts("Most frequent categories", "Category"),
              (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(report.column("Columns of text", "Missing"), (std::vector<double>{1}));
    EXPECT_TRUE(std::isnan(report.column("Correlations", "c")[0]));
    // Of x and big, the rows 1, 3 and 4: both fall together once.
    EXPECT_NEAR(report.column("Correlations", "x")[2], -std::sqrt(3.0) / 2.0, 1e-14);
}

}  // namespace
}  // namespace Veltrix::Testing
