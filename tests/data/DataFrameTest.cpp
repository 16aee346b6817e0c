#include "Veltrix/Data/DataFrame.h"

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include <gtest/gtest.h>

#include "Veltrix/Data/Util.h"
#include "tests/data/MatrixTesting.h"
#include "tests/support/Refusals.h"

using namespace Veltrix;
using namespace Veltrix::Testing;

namespace {

template <class Values>
Values named(Values values, const wchar_t* name) {
    values.setName(name);
    return values;
}

/// Three rows: numbers "x", whole numbers "k", text "t".
DataFrame sample() {
    DataFrame frame(L"sample");
    frame.append(named(Vector{1.5, -2.0, kNaN}, L"x"));
    frame.append(named(IntVector{7, 8, 9}, L"k"));
    frame.append(StringVector{L"b", L"a", L"b"}, L"t");
    return frame;
}

StringVector columnTexts(const DataFrame& frame, int col) {
    return frame(Util::all, col).toStringVector();
}

TEST(DataFrame, columnsKeepTheirKind) {
    const DataFrame frame = sample();
    EXPECT_EQ(frame.getColNames(), (StringVector{L"x", L"k", L"t"}));
    const ColumnKind kinds[] = {ColumnKind::numeric, ColumnKind::integer, ColumnKind::text};
    const StringVector texts[] = {{L"1.5", L"-2", L"nan"}, {L"7", L"8", L"9"}, {L"b", L"a", L"b"}};
    for (int j = 0; j < 3; ++j) {
        EXPECT_EQ(frame(Util::all, j).getKind(), kinds[j]);
        EXPECT_EQ(columnTexts(frame, j), texts[j]);
    }
    EXPECT_EQ(frame(L"2", L"t").toString(), L"a");
    EXPECT_TRUE(std::isnan(frame(2, Util::all)(0).toDouble()));
    EXPECT_EQ(frame(Util::all, L"x").toDoubleVector().getName(), L"x");
}

// What a cell and its column are after a value of each kind was written into each kind of column.
TEST(DataFrame, writesConvertTheValueOrTheColumn) {
    struct Case {
        int col;
        double number;
        const wchar_t* text;  // written instead of the number unless null
        const wchar_t* cell;
        ColumnKind kind;
    };
    const Case cases[] = {
        {0, 0.25, nullptr, L"0.25", ColumnKind::numeric},
        {0, 0.0, L"hi", L"hi", ColumnKind::text},
        {1, -3.0, nullptr, L"-3", ColumnKind::integer},
        {1, 0.5, nullptr, L"0.5", ColumnKind::numeric},
        {1, kNaN, nullptr, L"nan", ColumnKind::numeric},
        {1, 2147483648.0, nullptr, L"2147483648", ColumnKind::numeric},
        {1, -2147483648.0, nullptr, L"-2147483648", ColumnKind::integer},
        {1, 0.0, L"5", L"5", ColumnKind::text},
        {2, 0.0, L"c", L"c", ColumnKind::text},
        {2, 0.1, nullptr, L"0.1", ColumnKind::text},
    };
    const wchar_t* const neighbours[] = {L"-2", L"8", L"a"};
    for (const Case& test : cases) {
        SCOPED_TRACE(WString(test.cell).toUtf8());
        DataFrame frame = sample();
        const DataFrame before = frame;
        if (test.text) {
            frame(0, test.col) = test.text;
        } else {
            frame(0, test.col) = test.number;
        }
        EXPECT_EQ(frame(0, test.col).toString(), test.cell);
        EXPECT_EQ(frame(1, test.col).toString(), neighbours[test.col]);
        EXPECT_EQ(frame(Util::all, test.col).getKind(), test.kind);
        EXPECT_EQ(columnTexts(before, test.col), columnTexts(sample(), test.col));
    }
}

TEST(DataFrame, viewsAreLiveAndAssignValues) {
    DataFrame frame = sample();
    frame(Util::all, L"x")(2) = 9.0;
    frame(1, Util::all)(L"t") = L"z";
    frame(L"1", L"k") = frame(1, 1);
    frame(0, 2) = std::as_const(frame)(1, 2);
    frame(0, 0) = frame(0, 2);  // text into numbers
    EXPECT_EQ(columnTexts(frame, 0), (StringVector{L"z", L"-2", L"9"}));
    EXPECT_EQ(columnTexts(frame, 1), (StringVector{L"8", L"8", L"9"}));
    EXPECT_EQ(columnTexts(frame, 2), (StringVector{L"z", L"z", L"b"}));
    static_assert(!std::is_assignable_v<ConstDataFrameElement, double>);
}

TEST(DataFrame, cellsCompareAndCalculate) {
    DataFrame frame = sample();
    frame.append(StringVector{L" 2", L"10", L"x"}, L"s");
    const DataFrame& fixed = frame;
    EXPECT_TRUE(frame(0, 0) > 1.0 && 1 < fixed(0, 0) && frame(0, 0) != fixed(1, 0));
    EXPECT_TRUE(frame(0, 1) == 7 && frame(0, 1) >= std::uint64_t{7} && frame(0, 1) < frame(1, 1));
    EXPECT_TRUE(frame(0, 2) == L"b" && L"b" == frame(2, 2) && frame(0, 1) == WString(L"7"));
    EXPECT_FALSE(frame(2, 0) == frame(2, 0) || frame(2, 0) < 1.0 || frame(2, 0) >= 1.0);  // NaN
    EXPECT_TRUE(frame(1, 3) < frame(0, 2) && frame(1, 3) > frame(0, 3));  // text: "10", "b", " 2"
    EXPECT_TRUE(frame(0, 3) == 2 && frame(0, 1) < frame(1, 3));           // as numbers
    EXPECT_EQ(frame(0, 0) + 1, 2.5);
    EXPECT_EQ(1.0 - fixed(0, 0), -0.5);
    EXPECT_EQ(frame(0, 0) * frame(0, 3) / fixed(1, 3), 0.3);
    EXPECT_EQ(-frame(0, 1), -7.0);
    frame(0, 1) += 2;
    frame(0, 3) /= 4.0;
    EXPECT_EQ(columnTexts(frame, 1), (StringVector{L"9", L"8", L"9"}));
    EXPECT_EQ(frame(0, 3), L"0.5");
    EXPECT_THROW((void)(frame(2, 3) < 1.0), std::bad_cast);
    EXPECT_THROW((void)(frame(2, 3) + frame(0, 0)), std::bad_cast);
    EXPECT_THROW((void)(frame(2, 3) == frame(0, 0)), std::bad_cast);
}

// A host may name the writable types where it only reads.
TEST(DataFrame, viewsOfConstFramesConvertAndRefuseToWrite) {
    const DataFrame frame = sample();
    DataFrameColumn column = frame(Util::all, 0);
    DataFrameRow row = frame(0, Util::all);
    DataFrameElement cell = frame(0, 0);
    const auto byName = [](const DataFrameColumn& c, const DataFrameRow& r) { return c(0) + r(1); };
    EXPECT_EQ(byName(frame(Util::all, 0), frame(0, Util::all)), 8.5);
    EXPECT_TRUE(column(0) == 1.5 && row(L"x") == 1.5 && cell == 1.5);
    for (DataFrameElement target : {column(0), row(0), row(L"x"), cell}) {
        EXPECT_TRUE(refuses([&] { target = 2; }, "writing to a const frame"));
        EXPECT_TRUE(refuses([&] { target = L"t"; }, "writing to a const frame"));
    }
    EXPECT_EQ(columnTexts(frame, 0), columnTexts(sample(), 0));
}

TEST(DataFrame, levelsAreThoseThatOccurInAscendingOrder) {
    DataFrame frame = sample();
    frame(1, L"t") = L"0";  // "a" no longer occurs
    IntVector codes;
    EXPECT_EQ(frame(Util::all, L"t").getLevels(codes), (StringVector{L"0", L"b"}));
    EXPECT_EQ(codes, (IntVector{1, 0, 1}));
    const StringVector texts = frame(Util::all, L"t").getTexts(codes);
    for (int i = 0; i < frame.getNumRows(); ++i) {
        const int code = codes[static_cast<std::uint64_t>(i)];
        EXPECT_EQ(texts[static_cast<std::uint64_t>(code)], frame(i, L"t").toString());
    }
}

TEST(DataFrame, dictionaryColumns) {
    DataFrame frame;
    // A level that no cell has must not stop the conversion.
    frame.append(L"n", IntVector{1, 1, 2}, StringVector{L"word", L" 2.5 ", L""});
    EXPECT_EQ(columnTexts(frame, 0), (StringVector{L" 2.5 ", L" 2.5 ", L""}));
    const Vector numbers = frame(Util::all, L"n").toDoubleVector();
    EXPECT_EQ(numbers[0], 2.5);
    EXPECT_TRUE(std::isnan(numbers[2]));
}

TEST(DataFrame, firstColumnOfANameIsFound) {
    DataFrame frame;
    for (int j = 0; j < 4; ++j) frame.append(named(Vector{double(j)}, L"a"));
    EXPECT_EQ(frame.getColIndex(L"a"), 0);
    frame.setColName(0, L"b");
    EXPECT_EQ(frame.getColIndex(L"a"), 1);
    frame.setColName(3, L"b");
    EXPECT_EQ(frame.getColIndex(L"b"), 0);
    frame.setColName(0, L"c");
    EXPECT_EQ(frame.getColIndex(L"b"), 3);
    frame.setColNames({L"p", L"q", L"q", L"p"});
    EXPECT_EQ(frame.getColIndexes({L"q", L"p"}), (IntVector{1, 0}));
    EXPECT_FALSE(frame.hasColumn(L"c"));
}

TEST(DataFrame, rowsHaveNumbersUntilTheyAreNamed) {
    DataFrame frame;
    frame.append(Vector(25, 0.0));
    for (const int row : {0, 8, 9, 18, 24}) {
        EXPECT_EQ(frame.getRowIndex(frame.getRowName(row)), row);
    }
    for (const wchar_t* name : {L"0", L"26", L"01", L"", L"2x", L"-1", L"99999999999999999999"}) {
        EXPECT_THROW((void)frame.getRowIndex(name), Exception) << WString(name).toUtf8();
    }
    frame.setRowName(4, L"9");
    EXPECT_EQ(frame.getRowIndex(L"9"), 4);  // before the row that had it
    EXPECT_THROW((void)frame.getRowIndex(L"5"), Exception);
    frame.setRowName(4, L"x");
    EXPECT_EQ(frame.getRowIndex(L"9"), 8);
}

TEST(DataFrame, namesMayBeTheFramesOwn) {
    const WString name = L"a name that needs memory of its own";
    DataFrame frame;
    frame.append(StringVector{L"x"}, name);
    for (int j = 1; j < 20; ++j) frame.append(StringVector{L"y"}, frame.getColName(0));
    frame.setColName(3, L"b");
    frame.setColName(0, frame.getColName(3));
    frame.setColNames(frame.getColNames());
    EXPECT_EQ(frame.getColIndexes({L"b", name}), (IntVector{0, 1}));
    EXPECT_EQ(frame.getColName(19), name);
}

// Takes minutes when every renaming searches or copies all names, or every frame all columns.
TEST(DataFrame, renamingEveryRowAndColumn) {
    constexpr int kCount = 100000;
    DataFrame frame;
    frame.append(Vector(kCount, 0.0));
    for (int i = 0; i < kCount; ++i) frame.setRowName(i, std::to_wstring(i) + L"r");
    EXPECT_EQ(frame.getRowIndex(L"99999r"), kCount - 1);
    DataFrame wide;
    for (int j = 0; j < kCount; ++j) wide.append(Vector{1.0});
    wide.setColNames(frame.getRowNames());
    for (int j = 0; j < kCount; ++j) wide.setColName(j, std::to_wstring(j));
    EXPECT_EQ(wide.getColIndex(L"54321"), 54321);
    for (int i = kCount - 1; i >= 0; --i) frame.setRowName(i, i % 2 == 0 ? L"even" : L"odd");
    for (int i = 0; i < kCount - 1; ++i) frame.setRowName(i, L"new");
    EXPECT_EQ(frame.getRowIndex(L"odd"), kCount - 1);
    EXPECT_THROW((void)frame.getRowIndex(L"even"), Exception);
    DataFrame one;
    one.append(Vector{1.0});
    for (int j = 0; j < kCount; ++j) wide.append(one);
    EXPECT_EQ(wide.getColIndex(L""), kCount);
}

TEST(DataFrame, appendingAFrameOrAColumnOfItself) {
    DataFrame frame = sample();
    frame.setRowNames({L"r", L"s", L"t"});
    DataFrame copy(L"copy");
    copy.append(frame);
    EXPECT_EQ(copy.getRowNames(), frame.getRowNames());
    copy.append(copy);
    ASSERT_EQ(copy.getNumCols(), 6);
    for (int j = 0; j < 3; ++j) EXPECT_EQ(columnTexts(copy, j + 3), columnTexts(frame, j));
    EXPECT_EQ(copy.getColIndex(L"t"), 2);
    copy.append(copy(Util::all, 1));
    copy(0, 6) = 70;
    EXPECT_EQ(copy(0, 1).toInt(), 7);
    EXPECT_EQ(copy(0, 4).toInt(), 7);
}

TEST(DataFrame, selections) {
    DataFrame frame = sample();
    const DataFrame rows = frame(IntVector{2, 0, 2}, Util::all);
    EXPECT_EQ(columnTexts(rows, 2), (StringVector{L"b", L"b", L"b"}));
    EXPECT_EQ(rows.getRowNames(), (StringVector{L"3", L"1", L"3"}));
    frame.setRowName(1, L"mid");
    const DataFrame columns = frame(Util::all, StringVector{L"t", L"x"});
    EXPECT_EQ(columns(L"mid", L"t").toString(), L"a");
    const DataFrame none = frame(IntVector(), Util::all);
    EXPECT_EQ(none.getNumRows(), 0);
    EXPECT_EQ(frame(Util::all, IntVector()).getNumRows(), 3);
}

TEST(DataFrame, movedFramesAreEmptyAndUsable) {
    DataFrame source = sample();
    DataFrame target = std::move(source);
    EXPECT_EQ(source.getNumRows(), 0);  // NOLINT(bugprone-use-after-move)
    source.append(named(Vector{1.0}, L"x"));
    EXPECT_EQ(source(0, L"x").toDouble(), 1.0);
    DataFrameVector frames(2, target);
    frames[0](0, L"x") = 5.0;
    EXPECT_EQ(frames[1](0, L"x").toDouble(), 1.5);
}

TEST(DataFrame, misuseNamesTheOperationAndChangesNothing) {
    DataFrame frame = sample();
    const IntVector outside{0, 3};
    const IntVector codes{0, 1, 2};
    const StringVector levels{L"p", L"q"};
    const StringVector twice{L"p", L"q", L"p"};
    expectRefused({
        {"DataFrame: row 3 of 3, counted from 0", [&] { frame(3, 0); }},
        {"DataFrame: column 3 of 3, counted from 0", [&] { frame(Util::all, 3); }},
        {"DataFrame: column 3 of 3, counted from 0", [&] { frame(0, Util::all)(3); }},
        {"DataFrame: no column named \"gr\u00fcn\"", [&] { frame(0, L"gr\u00fcn"); }},
        {"DataFrame: no row named \"4\"", [&] { frame(L"4", L"x"); }},
        {"row 3 of 3, counted from 0", [&] { (void)frame(outside, Util::all); }},
        {"3 rows in the frame, 1 rows in the column", [&] { frame.append(Vector{1.0}); }},
        {"code 2 of 2, counted from 0", [&] { frame.append(L"u", codes, levels); }},
        {"a level occurs twice", [&] { frame.append(L"u", codes, twice); }},
        {"DataFrame::setRowNames: 3 rows, 1 names", [&] { frame.setRowNames({L"p"}); }},
    });
    for (int j = 0; j < 3; ++j) EXPECT_EQ(columnTexts(frame, j), columnTexts(sample(), j));
}

}  // namespace
