#include <bit>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>

#include "tests/support/Process.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/CsvReader.h"
#include "tools/veltrix/io/CsvSettings.h"

namespace Veltrix::Testing {
namespace {

using Tool::readCsv;

class CsvReader : public testing::Test {
  protected:
    DataFrame read(const std::string& text, const Tool::CsvOptions& options = {}) {
        folder_.write("cells.csv", text);
        return readCsv(path_, options).frame;
    }

    const TemporaryFolder folder_;
    const std::string path_ = folder_.path("cells.csv");
};

/// All cells of a frame, column by column, as text.
std::vector<std::string> cells(const DataFrame& frame) {
    std::vector<std::string> result;
    for (int j = 0; j < frame.getNumCols(); ++j) {
        for (int i = 0; i < frame.getNumRows(); ++i) {
            result.push_back(frame(i, j).toString().toUtf8());
        }
    }
    return result;
}

TEST_F(CsvReader, Dialects) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"a,b\n1,x\n2,y\n", {"1", "2", "x", "y"}},
        {"a,b\r\n1,x\r\n2,y", {"1", "2", "x", "y"}},
        {"\xEF\xBB\xBF\"a\",b\n\n1,x\n\n2,y\n\n", {"1", "2", "x", "y"}},
        {"a,b\n\"1\",\"x, \"\"z\"\"\nw\"\n2,y\n", {"1", "2", "x, \"z\"\nw", "y"}},
        {"a,b\n 1 ,  x y \n2,\" y \"\n", {"1", "2", "x y", " y "}},
        {"a,b\n,\nNA,NA\n", {"nan", "nan", "nan", "nan"}},
        {"a,b\n1e3,\n-.5,z\n", {"1000", "-0.5", "", "z"}},
        {"a,b\n1,\xE7\xA5\x9E\xE6\x88\xB8\n2,\xF0\x9F\x98\x80\n",
         {"1", "2", "\xE7\xA5\x9E\xE6\x88\xB8", "\xF0\x9F\x98\x80"}},
        {"a\n1\n\"\"\n3", {"1", "nan", "3"}},
        {"\n\na\n\n1\r\n\r\n \t\r\"x\n\ny\"\n\n\t", {"", "1", "", "", "x\n\ny", "", ""}},
        {"a\n\r\n1\r\r\n", {"nan", "1", "nan"}},
    };
    // The text is read in blocks of no more bytes than a record may have.
    const auto usual = Tool::csvSettings().maxRecord;
    for (const std::int64_t most : {std::int64_t{17}, std::int64_t{18}, std::int64_t{19}, usual}) {
        Tool::csvSettings().maxRecord = most;
        for (const auto& [text, expected] : cases) {
            EXPECT_EQ(cells(read(text)), expected) << text << " in blocks of " << most;
        }
    }
    Tool::CsvOptions options;
    options.missing = {"?"};
    EXPECT_EQ(cells(read("a;b\n?;NA\n2;\n", options)),
              (std::vector<std::string>{"nan", "2", "NA", ""}));
    options.missing = {"", "-9"};  // a number, which the other cells are too
    EXPECT_EQ(cells(read("a\tb\n-9\t-99\n-9.0\t\n", options)),
              (std::vector<std::string>{"nan", "-9", "-99", "nan"}));
}

// Delimiter and decimal mark as the first rows show them, columns without a name, and separators
// too many.
TEST_F(CsvReader, DialectsAreRecognised) {
    struct Case {
        std::string text;
        Tool::CsvDialect dialect;
        std::string names;
        std::vector<std::string> cells;
    };
    const std::vector<Case> cases = {
        {"a;b\n1,5;x, y\n2;z\n", {';', ','}, "a b", {"1.5", "2", "x, y", "z"}},
        {"a;b\n1,5;2.5\n", {';', '.'}, "a b", {"1,5", "2.5"}},
        {"a\tb\n1,234\t0,5\n", {'\t', ','}, "a b", {"1.234", "0.5"}},
        {"a\tb\n1,234\tx\n", {'\t', '.'}, "a b", {"1,234", "x"}},
        {"a|b,c\n1|2\n3|4\n", {'|', '.'}, "a b,c", {"1", "3", "2", "4"}},
        {"a,b\n1;2;3,4\n", {',', '.'}, "a b", {"1;2;3", "4"}},
        {"text\nwell, yes\n", {',', '.'}, "", {}},
        {"\"\",\"a\"\n\"1\",2\n\"2\",NA\n", {',', '.'}, "column1 a", {"1", "2", "2", "nan"}},
        {"a,b,\n1,2,\n3,4\n", {',', '.'}, "a b", {"1", "3", "2", "4"}},
        {"a,b,\n1,2,5\n3,4\n", {',', '.'}, "a b column3", {"1", "3", "2", "4", "5", "nan"}},
        {"a;b\n1;2;\n3;4;\n", {';', '.'}, "a b", {"1", "3", "2", "4"}},
    };
    for (const Case& expected : cases) {
        folder_.write("cells.csv", expected.text);
        if (expected.cells.empty()) {
            EXPECT_THROW(readCsv(path_), Tool::UserError) << expected.text;
            continue;
        }
        const Tool::CsvTable table = readCsv(path_);
        EXPECT_EQ(table.dialect, expected.dialect) << expected.text;
        std::vector<std::string> names;
        for (int j = 0; j < table.frame.getNumCols(); ++j) {
            names.push_back(table.frame.getColName(j).toUtf8());
        }
        EXPECT_EQ(fmt::format("{}", fmt::join(names, " ")), expected.names) << expected.text;
        EXPECT_EQ(cells(table.frame), expected.cells) << expected.text;
    }
    Tool::CsvOptions options;
    options.dialect.thousands = '.';
    EXPECT_EQ(cells(read("a;b;c\n1.234.567,5;1.23;-1.000\n0,5;1.234;12\n", options)),
              (std::vector<std::string>{"1234567.5", "0.5", "1.23", "1.234", "-1000", "12"}));
}

// Numbers that are read in the short way and those that are not are the nearest doubles alike.
TEST_F(CsvReader, NumbersAreExact) {
    const std::vector<std::pair<std::string, double>> numbers = {
        {"9007199254740993", 9007199254740993.0},
        {"0.1234567890123456789", 0.1234567890123456789},
        {"9007199254740992", 9007199254740992.0},
        {"-0", -0.0},
        {"+.5", 0.5},
        {"5.", 5.0},
        {"123456789012345678901234567890", 123456789012345678901234567890.0},
        {"0.00000000000000000000000000000123", 1.23e-30},
        {"1.7976931348623157e308", 1.7976931348623157e308},
        {"4.35", 4.35},
        {"900719925474.0991", 900719925474.0991},
    };
    for (const auto& [text, value] : numbers) {
        const DataFrame frame = read(fmt::format("a,b\n{},x\n", text));
        EXPECT_EQ(std::bit_cast<std::uint64_t>(frame(0, 0).toDouble()),
                  std::bit_cast<std::uint64_t>(value))
            << text;
    }
}

// Text that turns up after any number of numbers makes the whole column text, in two columns at
// different rows, and leaves the others alone.
TEST_F(CsvReader, TextThatComesLate) {
    std::string text = "a,b,c\n";
    const int rows = 5000;
    for (int i = 0; i < rows; ++i) {
        text += fmt::format("{}.{},{},{}\n", i, i % 7, i == 3333 ? "late" : fmt::format("0{}", i),
                            i == rows - 1 ? "last" : fmt::format("1e{}", i % 9));
    }
    const DataFrame frame = read(text);
    ASSERT_EQ(frame.getNumRows(), rows);
    EXPECT_EQ(frame(12, 1).toString(), L"012");  // as it was written
    EXPECT_EQ(frame(3333, 1).toString(), L"late");
    EXPECT_EQ(frame(rows - 1, 2).toString(), L"last");
}

TEST_F(CsvReader, DamagedFilesAreRefused) {
    std::string many = "a,b\n";
    for (int i = 0; i < 100; ++i) many += "1,\"\n\"\n\n";
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"", {"empty"}},
        {"a,b\n1,2,3\n", {"row 1 (line 2) has 3 cells"}},
        {"a,b,\n1,2,\n1\n", {"row 2 (line 3) has 1 cells"}},
        {"a,b,a\n1,2,3\n", {"column 3", "\"a\"", "second time"}},
        {"\n \t\na,b\r\n\r\n1,\"x\n\ny \"\"\"\r\n2\r\n", {"row 2 (line 8) has 1 cells"}},
        {"a,b\n1,\"open\n2,3\n", {"row 1", "quotation mark"}},
        {"a,b\n1,\"x\"y\n", {"row 1", "quotation mark"}},
        {std::string("a,b\n1,\0\n", 8), {"NUL"}},
        {"a\n\n" + std::string(250000, '1') + "\n2\n", {"row 2 (line 3)", "200000 bytes"}},
        {many + "3,\"b" + std::string(250000, '\n') + "\"\n",
         {"row 101 (line 302)", "200000 bytes"}},
        {many + "3,\xC3\x28\n", {"row 101 (line 302)", "column \"b\"", "UTF-8"}},
        {"\xFF\xFE"
         "a",
         {"UTF-16"}},
        {"a,\xC0\n1,2\n", {"header, column 2", "UTF-8"}},
    };
    const auto usual = std::exchange(Tool::csvSettings().maxRecord, 200000);
    for (const auto& [text, expected] : cases) {
        try {
            read(text);
            ADD_FAILURE() << "accepted: " << text;
        } catch (const Tool::UserError& error) {
            const std::string message = error.what();
            EXPECT_NE(message.find(path_), std::string::npos) << message;
            EXPECT_EQ(message.find('\n'), std::string::npos) << message;
            for (const std::string& word : expected) {
                EXPECT_NE(message.find(word), std::string::npos) << message << " lacks " << word;
            }
        }
    }
    Tool::csvSettings().maxRecord = usual;
    EXPECT_THROW(readCsv("/nowhere/at/all.csv"), Tool::UserError);
}

// Rows are counted from the bytes too, so lines without cells reserve next to nothing.
TEST_F(CsvReader, ManyColumnsAndManyEmptyLines) {
    std::string text;
    for (int j = 0; j < 20000; ++j) text += (j > 0 ? ",c" : "c") + std::to_string(j);
    text += std::string(5000000, '\n') + "1" + std::string(19999, ',');
    const DataFrame frame = read(text);
    EXPECT_EQ(frame.getNumRows(), 1);
    EXPECT_EQ(frame(0, 0).toDouble(), 1.0);
}

}  // namespace
}  // namespace Veltrix::Testing
