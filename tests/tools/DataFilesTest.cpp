// One table in the forms in which programs export it: every one gives the model of the plain file.
#include <string>
#include <vector>

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

}  // namespace
}  // namespace Veltrix::Testing
