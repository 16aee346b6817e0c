// How values become text.
#include <algorithm>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/report/CsvRenderer.h"
#include "tools/veltrix/report/JsonRenderer.h"
#include "tools/veltrix/report/NumberFormat.h"
#include "tools/veltrix/report/Report.h"
#include "tools/veltrix/report/TextRenderer.h"
#include "tools/veltrix/report/WorkbookRenderer.h"

namespace Veltrix::Tool {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(NumberFormat, RoundsForReading) {
    const std::pair<double, const char*> numbers[] = {{-0.0, "0"},
                                                      {-3482258.6346, "-3482259"},
                                                      {9.9999996, "10.0000"},
                                                      {1e-5, "0.0000100000"},
                                                      {4.984030528e-10, "4.98403e-10"},
                                                      {999999999.7, "1000000000"},
                                                      {1e9, "1.00000e+09"},
                                                      {-kInfinity, "-Infinity"}};
    for (const auto& [number, text] : numbers) EXPECT_EQ(formatSingle(number), text);
    const std::pair<double, const char*> probabilities[] = {
        {0.0035604, "0.003560"}, {0.00009999, "1.00e-04"}, {1e-17, "<2.2e-16"}, {kNaN, "NaN"}};
    for (const auto& [number, text] : probabilities) EXPECT_EQ(formatProbability(number), text);
    EXPECT_EQ(formatDecimals(-0.0004, 3), "0.000");
    EXPECT_EQ(withoutTrailingZeros("0.950000"), "0.95");
    EXPECT_EQ(withoutTrailingZeros("1.00000e+10"), "1.00000e+10");
}

/// A table with every kind of cell.
Report mixedReport() {
    Table table{.title = "All, kinds", .columns = {}};
    table.columns = {
        {"Name",
         std::vector<std::string>{"pl\xC3\xA4in", "say \"hi\"", "\xE6\x97\xA5\xE6\x9C\xAC"}},
        {"Count", std::vector<std::int64_t>{1, -20, 300}},
        {"Number", Vector{0.1 + 0.2, kNaN, -kInfinity}},
        {"Series", Vector{100.25, -0.00001, 7}, NumberStyle::Series},
        {"Any", std::vector<Value>{Value{}, Value{std::int64_t{4}}, Value{std::string("x")}}},
        {"Blank", std::vector<std::string>{"", "", ""}}};
    table.notes = {"Two\nlines"};
    return {.title = "Title", .tables = {table}};
}

TEST(Renderers, WriteEveryKindOfCell) {
    EXPECT_EQ(renderText(mixedReport(), false),
              "Title\n"
              "=====\n"
              "\n"
              "All, kinds\n"
              "----------\n"
              "Name      Count     Number   Series  Any\n"
              "pl\xC3\xA4in         1   0.300000  100.250\n"
              "say \"hi\"    -20        NaN    0.000  4\n"
              "\xE6\x97\xA5\xE6\x9C\xAC        300  -Infinity    7.000  x\n"
              "Note: Two\\nlines\n");
    EXPECT_EQ(renderCsv(mixedReport()),
              "\"All, kinds\"\n"
              "Name,Count,Number,Series,Any,Blank\n"
              "pl\xC3\xA4in,1,0.30000000000000004,100.25,,\n"
              "\"say \"\"hi\"\"\",-20,NaN,-1e-05,4,\n"
              "\xE6\x97\xA5\xE6\x9C\xAC,300,-Infinity,7,x,\n"
              "\"Two\nlines\"\n\n");
    EXPECT_EQ(renderJson(mixedReport()),
              "{\"title\":\"Title\",\"tables\":[{\"title\":\"All, kinds\",\"columns\":[\"Name\","
              "\"Count\",\"Number\",\"Series\",\"Any\",\"Blank\"],\"rows\":["
              "[\"pl\xC3\xA4in\",1,0.30000000000000004,100.25,null,null],"
              "[\"say \\\"hi\\\"\",-20,\"NaN\",-1.0000000000000001e-05,4,null],"
              "[\"\xE6\x97\xA5\xE6\x9C\xAC\",300,\"-Infinity\",7,\"x\",null]],"
              "\"notes\":[\"Two\\u000alines\"]}]}\n");
}

TEST(Renderers, WideTablesAreSplitIntoPanelsThatRepeatTheFirstColumn) {
    Table table{.title = "Wide", .columns = {{"Key", std::vector<std::int64_t>{7}}}};
    for (int k = 0; k < 9; ++k) {
        table.columns.push_back({"Heading number " + std::to_string(k), Vector{1.0}});
    }
    const std::string text = renderText({.title = "T", .tables = {table}}, false);
    std::size_t keys = 0;
    std::size_t widest = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        keys += line.compare(0, 3, "Key") == 0 ? 1 : 0;
        widest = std::max(widest, line.size());
    }
    EXPECT_EQ(keys, 2);
    EXPECT_LE(widest, 110);
    EXPECT_NE(text.find("Heading number 8"), std::string::npos);
}

TEST(Renderers, SheetNamesAreValidAndDistinct) {
    std::vector<Table> tables;
    for (const char* title :
         {"A/B: [x]*?", "ab x", "Charts", "'", "A title longer than a sheet's name",
          "A title longer than a sheet's name too"}) {
        tables.push_back({.title = title, .columns = {}});
    }
    EXPECT_EQ(sheetNames(tables), (std::vector<std::string>{"AB x", "ab x 2", "Charts 2", "Table",
                                                            "A title longer than a sheets na",
                                                            "A title longer than a sheets 2"}));
}

TEST(UserErrors, QuoteInOneLine) {
    EXPECT_EQ(Tool::quoted("a\nb\x01"), "\"a\\nb\\x01\"");
    std::string longText(79, 'x');
    longText += "\xC3\xA4 and more";
    EXPECT_EQ(Tool::quoted(longText), "\"" + std::string(79, 'x') + "...\"");
}

}  // namespace
}  // namespace Veltrix::Tool
