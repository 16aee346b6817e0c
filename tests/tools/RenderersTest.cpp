// How values become text.
#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include "tests/support/Paths.h"
#include "tests/support/Process.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/CsvSettings.h"
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
    const std::string expected = std::string(Testing::kTestData) + "/report/mixed.";
    EXPECT_EQ(renderText(mixedReport(), false), Testing::contentOf(expected + "txt"));
    EXPECT_EQ(renderCsv(mixedReport()), Testing::contentOf(expected + "csv"));
    EXPECT_EQ(renderJson(mixedReport()), Testing::contentOf(expected + "json"));
}

TEST(Renderers, FormulasAreMarkedWhenAskedFor) {
    const auto written = [] {
        std::string line;
        for (const char* cell :
             {"=1", "+a", "-", "@x", "\tx", "\r", "-5", "+1e3", "a=b", "'=", ""}) {
            appendCsvText(line, cell);
            line += '|';
        }
        return line;
    };
    EXPECT_EQ(written(), "=1|+a|-|@x|\"\tx\"|\"\r\"|-5|+1e3|a=b|'=||");
    csvSettings().safeCells = true;
    EXPECT_EQ(written(), "'=1|'+a|'-|'@x|\"'\tx\"|\"'\r\"|-5|+1e3|a=b|'=||");
    csvSettings().safeCells = false;
}

TEST(Renderers, WideTablesAreSplitIntoPanelsThatRepeatTheFirstColumn) {
    Table table{.title = "Wide", .columns = {{"Key", std::vector<std::int64_t>{7}}}};
    for (int k = 0; k < 9; ++k) table.series(fmt::format("Heading number {}", k), Vector{1.0});
    std::istringstream lines(renderText({.title = "T", .tables = {table}}, false));
    std::string headings;
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 110);
        if (line.starts_with("Key")) headings.append(line).append("\n");
    }
    EXPECT_EQ(std::ranges::count(headings, '\n'), 2);
    EXPECT_NE(headings.find("Heading number 8\n"), std::string::npos);
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

/// A file of the archive that a report's workbook is.
std::string partOfWorkbook(const Report& report, const std::string& name) {
    const Testing::TemporaryFolder folder;
    writeWorkbook(report, folder.path("w.xlsx"));
    const std::string unpack = "cd " + folder.path("") + " && cmake -E tar xf w.xlsx";
    EXPECT_EQ(Testing::runProgram("/bin/sh", {"-c", unpack}).exitCode, 0);
    return Testing::contentOf(folder.path(name));
}

TEST(Workbooks, LongTextsAreCutWithANote) {
    std::string wide;  // each character counts twice
    for (int k = 0; k < 16384; ++k) wide += "\xF0\x9F\x98\x80";
    const std::string most(32767, 'x');
    const std::string tooLong(32768, 'y');
    Table table{.title = "Texts", .columns = {}};
    table.columns = {{"Text", std::vector<std::string>{most, tooLong, wide}}};
    const std::string sheet =
        partOfWorkbook({.title = "T", .tables = {table}}, "xl/worksheets/sheet1.xml");
    for (const std::string& text :
         {most, tooLong.substr(1), wide.substr(4),
          std::string("2 cells held more than 32767 characters and are cut")}) {
        EXPECT_NE(sheet.find(fmt::format(">{}<", text)), std::string::npos) << text.substr(0, 60);
    }
}

TEST(Workbooks, EveryGroupOfAChartHasAColourOfItsOwn) {
    constexpr std::size_t kGroups = 12;
    Table table{.title = "Points", .columns = {{"x", Vector(kGroups)}, {"y", Vector(kGroups)}}};
    Report report{.title = "T", .tables = {table}};
    Chart chart{.title = "C", .x = {0, 0}, .y = {0, 1}};
    for (std::size_t k = 0; k < kGroups; ++k) chart.groups.push_back({std::to_string(k), k, 1});
    report.charts = {chart};
    const std::string drawn = partOfWorkbook(report, "xl/charts/chart1.xml");
    // Pairs of colours are far from one another in their three primaries.
    for (std::size_t i = 0; i < kGroups; ++i) {
        EXPECT_NE(drawn.find(fmt::format("\"{:06X}\"", seriesColor(i))), std::string::npos) << i;
        for (std::size_t j = 0; j < i; ++j) {
            double square = 0.0;
            for (const unsigned shift : {0U, 8U, 16U}) {
                square += std::pow(double(seriesColor(i) >> shift & 0xFFU) -
                                       double(seriesColor(j) >> shift & 0xFFU),
                                   2);
            }
            EXPECT_GT(square, 2500.0) << i << " " << j;
        }
    }
}

TEST(UserErrors, QuoteInOneLine) {
    EXPECT_EQ(Tool::quoted("a\nb\x01"), "\"a\\nb\\x01\"");
    std::string longText(79, 'x');
    longText += "\xC3\xA4 and more";
    EXPECT_EQ(Tool::quoted(longText), fmt::format("\"{:x>79}...\"", ""));
}

}  // namespace
}  // namespace Veltrix::Tool
