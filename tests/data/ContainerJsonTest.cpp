#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/JSON.h"
#include "tests/data/MatrixTesting.h"
#include "tests/support/Process.h"
#include "tests/support/Refusals.h"

using namespace Veltrix;
using namespace Veltrix::Testing;

namespace {

using Limits = std::numeric_limits<double>;

TEST(MatrixJson, roundTripKeepsEveryBit) {
    const Vector special{
        0.0,           -0.0,          kNaN, kInfinity, -kInfinity, Limits::denorm_min(),
        Limits::min(), Limits::max(), 0.1,  1.0 / 3.0, 1e22,       9007199254740993.0};
    for (const MatrixOrderType order : kOrders) {
        Matrix a = made(4, 3, order, [&](int i, int j) { return special[3 * i + j]; });
        a.setName(L"\"\u00e4\\\n\U0001F600\"");
        Matrix back(1, 1, 4.0);
        back.fromJsonString(a.toJson());
        EXPECT_EQ(back.getMatrixOrder(), order);
        EXPECT_EQ(back.getName(), a.getName());
        EXPECT_TRUE(matches(back, a, {0.0, 0.0, NaNRule::EqualsNaN}));
        EXPECT_TRUE(std::signbit(back(0, 1)));
        EXPECT_FALSE(std::signbit(back(0, 0)));
    }
    for (const auto& [rows, cols] : {std::pair{0, 0}, {0, 3}, {2, 0}}) {
        Matrix back(1, 1);
        back.fromJsonString(Matrix(rows, cols, kByRows).toJson());
        EXPECT_TRUE(matches(back, rows, cols, [](int, int) { return 0.0; }));
        EXPECT_EQ(back.getMatrixOrder(), kByRows);
    }
}

TEST(MatrixJson, layout) {
    Matrix a(1, 2, Vector{0.1, Limits::quiet_NaN()});
    a.setName(L"m");
    EXPECT_EQ(a.toJson(),
              LR"({"type":"Matrix","version":1,"name":"m","order":"column-major","rows":1,)"
              LR"("cols":2,"values":[0.10000000000000001,"NaN"]})");
}

/// The good text with one part replaced.
std::string damaged(const std::string& part, const std::string& replacement) {
    std::string text = R"({"type":"Matrix","version":1,"name":"m","order":"row-major",)"
                       R"("rows":1,"cols":2,"values":[1,2]})";
    const std::size_t place = text.find(part);
    EXPECT_NE(place, std::string::npos) << part;
    return text.replace(place, part.size(), replacement);
}

TEST(MatrixJson, damagedTextNamesTheKeyAndChangesNothing) {
    const std::pair<std::string, const char*> cases[] = {
        {"", "JSON"},
        {"[1, 2]", "object"},
        {damaged("]}", ""), "line 1"},
        {damaged(R"("type":"Matrix",)", ""), "type"},
        {damaged(R"("Matrix")", R"("IntVector")"), "type"},
        {damaged(R"("version":1)", R"("version":2)"), "version"},
        {damaged(R"("name":"m")", R"("name":3)"), "name"},
        {damaged("row-major", "diagonal"), "order"},
        {damaged(R"("rows":1)", R"("rows":-1)"), "rows"},
        {damaged(R"("cols":2)", R"("cols":3)"), "values"},
        {damaged(R"("cols":2)", R"("cols":2147483647)"), "values"},
        {damaged(R"("cols":2)", R"("cols":99999999999)"), "cols"},
        {damaged("[1,2]", "[1,true]"), "values[1]"},
        {damaged("[1,2]", R"({"1":2})"), "values"},
    };
    Matrix a(1, 1, 5.0);
    a.setName(L"kept");
    for (const auto& [text, named] : cases) {
        SCOPED_TRACE(text);
        const WString wide = WString::fromUtf8(text);
        EXPECT_TRUE(refuses([&] { a.fromJsonString(wide); }, "Matrix from JSON: "));
        EXPECT_TRUE(refuses([&] { a.fromJsonString(wide); }, named));
        EXPECT_TRUE(matches(a, 1, 1, [](int, int) { return 5.0; }));
        EXPECT_EQ(a.getName(), L"kept");
    }
    EXPECT_NO_THROW(a.fromJsonString(WString::fromUtf8(damaged("m", "m"))));
}

TEST(IntVectorJson, damagedTextNamesTheKeyAndChangesNothing) {
    const std::pair<const wchar_t*, const char*> cases[] = {
        {LR"({"type":"Matrix","version":1,"name":"","values":[]})", "\"type\""},
        {LR"({"type":"IntVector","version":1,"name":"","values":[1,2147483648]})", "values[1]"},
        {LR"({"type":"IntVector","version":1,"name":"","values":[1.5]})", "values[0]"},
    };
    IntVector v{4};
    for (const auto& [text, named] : cases) {
        const WString damagedText = text;
        EXPECT_TRUE(refuses([&] { v.fromJsonString(damagedText); }, named));
        EXPECT_EQ(v, IntVector{4});
    }
}

/// The least that a stored object is.
class Note final : public JSON::StringExportable, public JSON::StringImportable {
  public:
    using JSON::StringExportable::toJson;
    WString toJson() const override { return text; }
    void fromJsonString(const WString& json) override { text = json; }

    WString text;
};

TEST(JsonFiles, roundTripAndFailures) {
    const TemporaryFolder folder;
    const auto path = [&](const std::string& name) { return WString::fromUtf8(folder.path(name)); };
    Note note;
    note.text = L"{\"a\": \"\u00e4\U0001F600\"}";
    note.toJson(path("gr\u00f6\u00dfe.json"));
    Note back;
    back.fromJsonFile(path("gr\u00f6\u00dfe.json"));
    EXPECT_EQ(back.text, note.text);
    const WString missing = path("none/x.json");
    expectRefused({{"x.json", [&] { back.fromJsonFile(missing); }},
                   {"x.json", [&] { note.toJson(missing); }}});
    folder.write("latin1.json", "\"\xe4\"");
    EXPECT_THROW(back.fromJsonFile(path("latin1.json")), Exception);
    EXPECT_EQ(back.text, note.text);
}

}  // namespace
