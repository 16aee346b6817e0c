#include "Veltrix/Data/Convert.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <typeinfo>
#include <utility>

#include <gtest/gtest.h>
#include <boost/lexical_cast/bad_lexical_cast.hpp>

#include "Veltrix/Data/Util.h"
#include "tests/data/MatrixTesting.h"
#include "tests/support/Refusals.h"

using namespace Veltrix;
using namespace Veltrix::Testing;

namespace {

TEST(Convert, textToNumber) {
    const std::pair<const wchar_t*, double> cases[] = {
        {L" -2.5\t", -2.5}, {L"1.E+3", 1e3}, {L"-Infinity", -kInfinity}, {L"1e-400", 0.0}};
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(Convert::toDouble(WString(text)), value) << WString(text).toUtf8();
    }
    EXPECT_TRUE(std::isnan(Convert::toDouble(WString())));
    for (const wchar_t* text : {L" ", L"x", L"1,5", L"0x10", L"1e400", L"\u0661"}) {
        EXPECT_THROW((void)Convert::toDouble(WString(text)), boost::bad_lexical_cast)
            << WString(text).toUtf8();
    }
}

TEST(Convert, textOfEveryIntegerType) {
    EXPECT_EQ(Convert::toString(std::numeric_limits<std::uint64_t>::max()),
              L"18446744073709551615");
    EXPECT_EQ(Convert::toString(std::numeric_limits<std::int64_t>::min()), L"-9223372036854775808");
    EXPECT_EQ(Convert::toString(9007199254740993LL), L"9007199254740993");
    EXPECT_EQ(Convert::toString(short{-7}), L"-7");
    EXPECT_EQ(Convert::toString(5u), L"5");
}

TEST(Convert, cellsAsWholeNumbers) {
    DataFrame frame;
    frame.append(Vector{3.0, -2147483648.0, 2147483647.0, 2147483648.0, 0.5,
                        std::numeric_limits<double>::quiet_NaN(), kInfinity});
    frame.append(StringVector{L"12", L" -7 ", L"1e3", L"1.5", L"x", L"", L"9999999999"}, L"t");
    const int expected[2][3] = {{3, -2147483647 - 1, 2147483647}, {12, -7, 1000}};
    for (int j = 0; j < 2; ++j) {
        for (int i = 0; i < 3; ++i) EXPECT_EQ(Convert::toInt(frame(i, j)), expected[j][i]);
        for (int i = 3; i < 7; ++i) {
            EXPECT_THROW((void)Convert::toInt(frame(i, j)), boost::bad_lexical_cast)
                << i << ' ' << j;
        }
    }
}

TEST(Convert, errorsNameColumnRowAndText) {
    DataFrame frame;
    frame.append(StringVector{L"1.5", L" ", L"gr\u00fcn"}, L"age");
    frame.append(Vector{1.0, 2.0, 2.5});
    frame.append(StringVector{L"1", std::wstring(70, L'x'), L"2"});
    const DataFrame unnamed = frame;
    frame.setRowNames({L"a", L"b", L"c"});
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[&] { (void)Convert::toMatrix(unnamed); }, "column \"age\", row 1: \" \" is not a number"},
        {[&] { (void)Convert::toDoubleVector(frame); },
         "column \"age\", row 1 (\"b\"): \" \" is not a number"},
        {[&] { (void)frame(Util::all, 2).toDoubleVector(); },
         "column 2, row 1 (\"b\"): \"" + std::string(60, 'x') + "\u2026\" is not a number"},
        {[&] { (void)Convert::toDoubleVector(unnamed(2, Util::all)); },
         "column \"age\", row 2: \"gr\u00fcn\" is not a number"},
        {[&] { (void)Convert::toInt(unnamed(0, 0)); },
         "column \"age\", row 0: \"1.5\" is not a whole number of 32 bits"},
        {[&] { (void)Convert::toInt(unnamed(2, 1)); },
         "column 1, row 2: \"2.5\" is not a whole number of 32 bits"},
        {[&] { (void)Convert::toDouble(WString(L"0x10")); }, "\"0x10\" is not a number"},
    };
    for (const auto& [action, message] : cases) {
        try {
            action();
            ADD_FAILURE() << "nothing instead of " << message;
        } catch (const std::bad_cast& error) {
            EXPECT_EQ(error.what(), message);
        }
    }
}

TEST(Convert, framesAndMatrices) {
    DataFrame frame(L"mixed");
    frame.append(Vector{1.0, 2.0});
    frame.append(IntVector{3, 4});
    frame.append(StringVector{L"5", L"6.5"}, L"t");
    const Matrix matrix = Convert::toMatrix(frame);
    const Matrix expected(2, 3, Vector{1, 2, 3, 4, 5, 6.5});
    EXPECT_TRUE(matrix.equalTo(expected, 0.0));
    EXPECT_EQ(Convert::toStringVector(frame), (StringVector{L"1", L"2", L"3", L"4", L"5", L"6.5"}));
    EXPECT_EQ(Convert::toMatrix(DataFrame()).getNumCols(), 0);

    for (const MatrixOrderType order : kOrders) {
        Matrix values(2, 3, matrix.getAsDoubleVector(), kByColumns);
        values.resize(2, 3, 0.0, order);
        EXPECT_EQ(Convert::toDoubleVector(values(1, Util::all)), (Vector{2, 4, 6.5}));
        const DataFrame back = Convert::toDataFrame(values);
        EXPECT_EQ(back.getColNames(), (StringVector{L"1", L"2", L"3"}));
        EXPECT_TRUE(Convert::toMatrix(back).equalTo(expected, 0.0));
        const DataFrame named = Convert::toDataFrame(values, {L"p", L"q", L"r"});
        EXPECT_EQ(named(1, L"r"), 6.5);
    }
    EXPECT_TRUE(refuses([&] { (void)Convert::toDataFrame(matrix, {L"p"}); }, "3 columns, 1 names"));
}

}  // namespace
