#include "support/Json.h"

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Veltrix::Support;
using testing::HasSubstr;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

auto refuses(const std::string& text) { return testing::ThrowsMessage<JsonError>(HasSubstr(text)); }

}  // namespace

TEST(Json, WritesCompactTextWithEscapes) {
    const std::vector<double> numbers{0.1, 1.0, 1e300, std::nan(""), kInf, -kInf, -0.0};
    const std::vector<std::int32_t> integers{-3, 2147483647};
    const std::vector<std::string> texts{"a", "b"};
    JsonWriter writer;
    writer.beginObject().member("n", std::span<const double>(numbers));
    writer.member("i", std::span<const std::int32_t>(integers));
    writer.member("t", std::span<const std::string>(texts));
    writer.key("e").beginArray().endArray().key("o").beginObject().endObject();
    writer.member("q\"\\", "\n\x01\xC3\xA9").member("yes", true).key("null").null();
    writer.member("u", std::numeric_limits<std::uint64_t>::max()).endObject();
    EXPECT_EQ(writer.take(),
              R"({"n":[0.10000000000000001,1,1.0000000000000001e+300,"NaN","Infinity","-Infinity",)"
              R"(-0.0],"i":[-3,2147483647],"t":["a","b"],"e":[],"o":{},)"
              R"("q\"\\":"\u000a\u0001)"
              "\xC3\xA9"
              R"(","yes":true,"null":null,"u":18446744073709551615})");
}

TEST(Json, ReadsTypedMembersAndNamesTheKeyOfOthers) {
    const auto document = JsonDocument::parse(
        R"({"m":{"v":[1,"x",2],"n":3000000000,"f":1.5,"s":"t","u":-1,"t":["x","y"],"b":false,)"
        R"("big":18446744073709551615}})");
    const JsonView m = document.root().at("m");
    EXPECT_EQ(m.keys(), (std::vector<std::string>{"v", "n", "f", "s", "u", "t", "b", "big"}));
    EXPECT_EQ(m.at("t").asStrings(), (std::vector<std::string>{"x", "y"}));
    EXPECT_FALSE(m.at("b").asBool());
    EXPECT_EQ(m.at("big").asUint64(), 18446744073709551615u);
    EXPECT_EQ(m.at("u").asInt32(), -1);
    EXPECT_EQ(m.at("f").asDouble(), 1.5);
    EXPECT_FALSE(m.find("none").has_value());
    double two[2];
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"key \"m\": the member \"gone\" is missing", [&] { m.at("gone"); }},
        {"\"m.v[1]\": a number expected, found text", [&] { m.at("v").asDoubles(); }},
        {"key \"m.v[1]\": an integer", [&] { m.at("v").asInt32s(); }},
        {"key \"m.v\": element 3 is missing", [&] { m.at("v").at(3); }},
        {"\"m.v\": 2 numbers expected, found 3", [&] { m.at("v").copyDoubles(two); }},
        {"key \"m.n\": an integer within range", [&] { m.at("n").asInt32(); }},
        {"key \"m.u\": an integer within range", [&] { m.at("u").asUint64(); }},
        {"key \"m.f\": an integer", [&] { m.at("f").asInt64(); }},
        {"\"m.s\": an object expected, found text", [&] { m.at("s").at("x"); }},
        {"key \"m.s\": an array expected", [&] { m.at("s").size(); }},
        {"key \"m\": text expected, found an object", [&] { m.asString(); }},
        {"key \"m.f\": true or false expected", [&] { m.at("f").asBool(); }},
        {"JSON document: a number expected", [&] { document.root().asDouble(); }},
    };
    for (const auto& [text, read] : cases) EXPECT_THAT(read, refuses(text));
}

TEST(Json, RefusesDamagedText) {
    const std::string cases[] = {"",        "{",        "[1,]",        "{\"a\":}",
                                 "[1] x",   "nul",      "\"abc",       "[NaN]",
                                 "[1e400]", "\"\xFF\"", "\"\\ud800\"", "{\"a\" 1}",
                                 "[01]",    "{1:2}",    "\"a\nb\"",    std::string("[1\0]", 4)};
    for (const std::string& text : cases) {
        EXPECT_THROW(JsonDocument::parse(text), JsonError) << text;
    }
    EXPECT_THAT([] { JsonDocument::parse("{\n \"a\": ?}"); }, refuses("line 2, column 7"));
    const auto nested = [](std::size_t n) { return std::string(n, '[') + std::string(n, ']'); };
    EXPECT_TRUE(JsonDocument::parse(nested(JsonDocument::kMaxDepth)).root().isArray());
    for (const std::size_t depth :
         {std::size_t{JsonDocument::kMaxDepth} + 1, std::size_t{1000000}}) {
        EXPECT_THAT([&] { JsonDocument::parse(nested(depth)); }, refuses("nested"));
    }
}
