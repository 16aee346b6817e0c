#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/NumberText.h"
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
        return readCsv(path_, options);
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
        {"\n\na\n\n1\r\n\r\n \t\r\"x\n\ny\"\n\n", {"", "1", "", "", "x\n\ny", ""}},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(cells(read(text)), expected) << text;
    }
    Tool::CsvOptions semicolons;
    semicolons.delimiter = ';';
    semicolons.missing = {"?"};
    EXPECT_EQ(cells(read("a;b\n?;NA\n2;\n", semicolons)),
              (std::vector<std::string>{"nan", "2", "NA", ""}));
}

// Text that turns up after any number of numbers makes the whole column text, in two columns at
// different rows, and leaves the others alone.
TEST_F(CsvReader, TextThatComesLate) {
    std::string text = "a,b,c\n";
    const int rows = 5000;
    for (int i = 0; i < rows; ++i) {
        text += std::to_string(i) + "." + std::to_string(i % 7) + ",";
        text += (i == 3333 ? "late" : "0" + std::to_string(i)) + ",";
        text += (i == rows - 1 ? "last" : "1e" + std::to_string(i % 9)) + "\n";
    }
    const DataFrame frame = read(text);
    ASSERT_EQ(frame.getNumRows(), rows);
    EXPECT_EQ(frame(12, 1).toString(), L"012");  // as it was written
    EXPECT_EQ(frame(3333, 1).toString(), L"late");
    EXPECT_EQ(frame(rows - 1, 2).toString(), L"last");
}

TEST_F(CsvReader, DamagedFilesAreRefused) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"", {"empty"}},
        {"a,\n1,2\n", {"column 2 has no name"}},
        {"a,b,a\n1,2,3\n", {"column 3", "\"a\"", "second time"}},
        {"\n \t\na,b\r\n\r\n1,\"x\n\ny \"\"\"\r\n2\r\n", {"row 2 (line 8) has 1 cells"}},
        {"a,b\n1,\"open\n2,3\n", {"row 1", "quotation mark"}},
        {"a,b\n1,\"x\"y\n", {"row 1", "quotation mark"}},
        {std::string("a,b\n1,\0\n", 8), {"NUL"}},
        {"a\n\n" + std::string(300, '1') + "\n", {"row 2 (line 3)", "200 bytes"}},
        {"a\n\"b" + std::string(300, '\n') + "\n", {"row 1 (line 2)", "200 bytes"}},
        {"\xFF\xFE"
         "a",
         {"UTF-16"}},
        {"a,b\n1,x\n2,\xC3\x28\n", {"row 2", "column \"b\"", "UTF-8"}},
        {"a,\xC0\n1,2\n", {"header, column 2", "UTF-8"}},
    };
    const auto usual = std::exchange(Tool::csvSettings().maxRecord, 200);
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
    Tool::CsvOptions options;
    options.delimiter = '"';
    EXPECT_THROW(read("a\n1\n", options), Tool::UserError);
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

// Random tables written with random quoting come back cell for cell, numbers bit for bit.
TEST_F(CsvReader, RandomTablesComeBack) {
    std::mt19937 random(7);
    const std::string alphabet = "ab ,\"\n\r;1.\xC3\xA4";
    for (int round = 0; round < 60; ++round) {
        const std::size_t rows = 1 + random() % 30;
        std::vector<std::string> texts;
        std::vector<double> numbers;
        std::string file = "text,number\n";
        for (std::size_t i = 0; i < rows; ++i) {
            std::string text = "t";  // never a number, never only blanks
            for (std::size_t k = random() % 8; k > 0; --k) {
                // The last two bytes are one letter.
                const std::size_t place = random() % (alphabet.size() - 1);
                text += alphabet.substr(place, place + 2 == alphabet.size() ? 2 : 1);
            }
            texts.push_back(text + "t");
            const int exponent = static_cast<int>(random() % 2000) - 1020;
            const double number = std::ldexp(static_cast<double>(random()) / 7.0, exponent);
            numbers.push_back(number);
            std::string quoted;
            for (const char unit : texts.back()) {
                quoted += unit == '"' ? "\"\"" : std::string(1, unit);
            }
            file += "\"" + quoted + "\"," + Support::numberText(number) + (i % 2 ? "\r\n" : "\n");
        }
        const DataFrame frame = read(file);
        ASSERT_EQ(static_cast<std::size_t>(frame.getNumRows()), rows);
        for (std::size_t i = 0; i < rows; ++i) {
            EXPECT_EQ(frame(static_cast<int>(i), 0).toString().toUtf8(), texts[i]);
            EXPECT_EQ(frame(static_cast<int>(i), 1).toDouble(), numbers[i]);
        }
    }
}

}  // namespace
}  // namespace Veltrix::Testing
