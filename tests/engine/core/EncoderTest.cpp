#include <string>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/engine/Refusals.h"

namespace Veltrix::Testing {
namespace {

using Engine::CatReducer;
using Engine::Encoder;

DataFrame sales() {
    DataFrame frame(L"sales");
    frame.append(StringVector{L"south", L"north", L"south", L"east"}, L"region");
    Vector price{1.5, 2.5, 3.5, 4.5};
    price.setName(L"price");
    frame.append(price);
    IntVector grade{10, 9, 9, 10};
    grade.setName(L"grade");
    frame.append(grade);
    frame.append(StringVector{L"y", L"n", L"n", L"y"}, L"sold");
    frame.setRowNames(StringVector{L"a", L"b", L"c", L"d"});
    return frame;
}

TEST(Encoder, ReplacesTextColumnsInPlace) {
    const DataFrame frame = sales();
    Encoder encoder;
    EXPECT_EQ(encoder.fit(frame).getNumCatCols(), 2);
    const DataFrame coded = encoder.transform(frame);
    EXPECT_EQ(coded.getRowNames(), frame.getRowNames());
    EXPECT_EQ(coded.getColNames(), (StringVector{L"region_east", L"region_north", L"region_south",
                                                 L"price", L"grade", L"sold_n", L"sold_y"}));
    const Vector expected{0,   0,   0,  1, 0, 1,  0, 0, 1, 0, 1, 0, 1.5, 2.5,
                          3.5, 4.5, 10, 9, 9, 10, 0, 1, 1, 0, 1, 0, 0,   1};
    EXPECT_EQ(Convert::toMatrix(coded).getAsDoubleVector(), expected);
    // Without the rows of a category its column stays, all 0.
    const DataFrame part = encoder.transform(frame(IntVector{0, 2}, Util::all));
    EXPECT_EQ(Util::sum(part(Util::all, L"region_east").toDoubleVector()), 0.0);
}

TEST(Encoder, ListedColumnsAndNumbersByTheirText) {
    const DataFrame frame = sales();
    Encoder encoder;
    encoder.fit(frame, IntVector{2, 0});
    EXPECT_FALSE(encoder.isEncoded(L"sold"));
    // Text order: "10" before "9".
    EXPECT_EQ(encoder.getMapping().at(L"grade"), (Encoder::CategoryMap{{L"10", 0}, {L"9", 1}}));
    const DataFrame grades = encoder.transformCatCol(frame(Util::all, L"grade"));
    EXPECT_EQ(grades.getColNames(), (StringVector{L"grade_10", L"grade_9"}));
    EXPECT_EQ(grades(Util::all, 1).toDoubleVector(), (Vector{0, 1, 1, 0}));
    const StringVector unknown{L"region", L"size"};
    EXPECT_TRUE(refuses([&] { encoder.fit(frame, unknown); }, "size"));
    EXPECT_TRUE(encoder.isEncoded(L"grade"));
    encoder.fit(frame(IntVector{0, 1}, Util::all));  // without "east"
    EXPECT_THROW(encoder.transform(frame), Engine::OneHotEncoderFailure);
    const DataFrame poor = frame(Util::all, IntVector{1, 3});
    EXPECT_TRUE(refuses([&] { encoder.transform(poor); }, "\"region\" expected"));
}

TEST(Encoder, ManualMapping) {
    const DataFrame frame = sales();
    Encoder encoder;
    encoder.setMapping(L"region", {{L"south", 0}, {L"north", 1}, {L"east", 3}, {L"west", 2}});
    EXPECT_EQ(encoder.transform(frame).getColNames(),
              (StringVector{L"region_south", L"region_north", L"region_west", L"region_east",
                            L"price", L"grade", L"sold"}));
    const Encoder::CategoryMap wrong[] = {{{L"a", 1}}, {{L"a", -1}}, {{L"a", 0}, {L"b", 0}}};
    for (const auto& categories : wrong) {
        EXPECT_TRUE(refuses([&] { encoder.setMapping(L"sold", categories); }, "sold"));
    }
    EXPECT_EQ(encoder.getEncodedColNames(), StringVector{L"region"});
}

TEST(Encoder, StoredNamesAreDistinctAndInOrder) {
    Encoder encoder;
    encoder.setMapping(L"c", {{L"low", 0}, {L"high", 1}});
    Encoder read;
    read.fromJsonString(encoder.toJson());
    EXPECT_EQ(read.getMapping(), encoder.getMapping());
    EXPECT_EQ(Encoder().setMapping(read.getMapping()).getMapping(), encoder.getMapping());
    expectDamageRefused(encoder, {{"\"high\"", "\"low\"", "categories[1]"}});
    encoder.setMapping(L"d", {});
    expectDamageRefused(encoder, {{"\"d\"", "\"c\"", "columns[1].name"}});
}

TEST(CatReducer, MostFrequentLevelsKeepTheirCodes) {
    // Counts: d 3, b 2, c 2, a 1.
    const StringVector values{L"d", L"c", L"b", L"d", L"a", L"b", L"c", L"d"};
    struct Case {
        int k;
        IntVector codes;  // of a, b, c, d
    };
    const Case cases[] = {{1, {1, 1, 1, 1}},     {2, {2, 2, 2, 1}},          {3, {3, 2, 3, 1}},
                          {5, {4, 2, 3, 1}},     {2147483647, {4, 2, 3, 1}}, {0, {0, 0, 0, 0}},
                          {-2, {-2, -2, -2, -2}}};
    DataFrame frame;
    frame.append(values, L"level");
    for (const Case& each : cases) {
        SCOPED_TRACE(each.k);
        CatReducer reducer;
        reducer.setNumCategories(each.k).fit(values);
        EXPECT_EQ(reducer.transform(StringVector{L"a", L"b", L"c", L"d"}), each.codes);
        EXPECT_EQ(reducer.getMapping(L"e"), 0);
        CatReducer byColumn;
        byColumn.setNumCategories(each.k).fit(frame(Util::all, 0));
        EXPECT_EQ(byColumn.getMapper(), reducer.getMapper());
    }
}

TEST(CatReducer, ManualMapping) {
    const StringVector texts{L"\u6c49\u5b57", L"\U0001F600", L"\u00e9", L"", L"\U0001F600"};
    CatReducer reducer;
    reducer.setManualMapping(true).setNumCategories(3).setMapping(L"a", 7).fit(texts);
    EXPECT_EQ(reducer.transform(StringVector{L"a", L"", L"a"}), (IntVector{7, 0, 7}));
    reducer.setManualMapping(false).fit(texts);
    EXPECT_EQ(reducer.transform(texts), (IntVector{3, 1, 3, 2, 1}));
    reducer.setMapper({{L"q", -1}});
    EXPECT_EQ(reducer.transform(StringVector{L"q", L"a"}), (IntVector{-1, 0}));
    expectDamageRefused(reducer.setMapping(L"a", 2), {{"\"q\"", "\"a\"", "levels[1]"}});
}

}  // namespace
}  // namespace Veltrix::Testing
