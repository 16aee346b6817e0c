#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Veltrix/BigData/ClusterHealth.h"
#include "Veltrix/BigData/ContextCheck.h"
#include "Veltrix/BigData/Exceptions.h"
#include "Veltrix/BigData/JobStatus.h"
#include "Veltrix/BigData/Sampling.h"
#include "Veltrix/BigData/Summarization.h"
#include "Veltrix/Data/Progress.h"
#include "tests/bigdata/StandInServer.h"
#include "tests/support/Refusals.h"

namespace {

using BigData::SparkMasterSettings;
using testing::HasSubstr;
using Veltrix::Testing::expectRefused;
using Veltrix::Testing::refuses;
using VeltrixTest::Answer;
using VeltrixTest::StandInServer;
using Clock = std::chrono::steady_clock;

constexpr int kHttp = 530;
constexpr int kParsing = 534;
constexpr int kUri = 538;

testing::AssertionResult contextRefuses(const SparkMasterSettings& settings,
                                        const std::string& text, int code) {
    const auto check = [&] {
        BigData::ContextCheck::run(BigData::ContextCheck::Parameters().setSparkSettings(settings));
    };
    if (code != 0) return refuses(check, text, code);
    check();
    return testing::AssertionSuccess();
}

std::string chunked(const std::string& chunks) {
    return "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"
           "Transfer-Encoding: chunked\r\n\r\n" +
           chunks;
}

struct Fault {
    const char* name;
    Answer answer;
    int code;
    const char* details = "";
};

const std::string kNames = R"(["spark-sql-context"])";
const std::string kJsonHeader = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n";

TEST(ClusterFaults, EachHasItsClassWithinTheTimeOut) {
    const std::string wide("[\0\"\0s\0p\0a\0r\0k\0-\0s\0q\0l\0-\0c\0o\0n\0t\0e\0x\0t\0\"\0]\0", 42);
    const std::vector<Fault> faults = {
        {"closed at once", {""}, kHttp},
        {"half a header", {"HTTP/1.1 200 OK\r\nContent-Ty"}, kHttp},
        {"no status line", {"hello\r\n\r\n"}, kHttp},
        {"body shorter than said", {kJsonHeader + "Content-Length: 99\r\n\r\n" + kNames}, kHttp},
        {"chunk that is cut", {chunked("40\r\n[\"spark")}, kHttp},
        {"chunk without a size", {chunked("zz\r\n[]\r\n0\r\n\r\n")}, kHttp},
        {"silence", {"x", std::chrono::seconds(30)}, kHttp},
        {"a byte now and then",
         {kJsonHeader + "Content-Length: 22\r\n\r\n" + kNames, {}, std::chrono::milliseconds(50)},
         kHttp},
        {"plain text", Answer::http(500, "text/plain", "not able to produce"), kHttp,
         "Details: </b>not able to produce"},
        {"success in plain text", Answer::http(200, "text/plain", kNames), kHttp, "Details: </b>["},
        {"page", Answer::http(401, "text/html", "<p>Who?</p>"), kHttp, "<p>Who?</p>"},
        {"elsewhere",
         {"HTTP/1.1 302 Found\r\nLocation: /other\r\nContent-Length: 0\r\n\r\n"},
         kHttp},
        {"unknown character set", Answer::http(200, "application/json; charset=odd", kNames),
         kHttp},
        {"error in JSON", Answer::json(R"({"status":"ERROR"})", 500), kHttp, R"({"status")"},
        {"too long", Answer::json("[\"" + std::string(300000, 'x') + "\"]"), kHttp, "limit"},
        {"bare word", Answer::json("OK"), kParsing},
        {"cut", Answer::json(R"(["spark)"), kParsing},
        {"text after the value", Answer::json(kNames + "x"), kParsing},
        {"byte-order mark", Answer::json("\xEF\xBB\xBF" + kNames), kParsing},
        {"no JSON number", Answer::json("[NaN]"), kParsing},
        {"lone surrogate", Answer::json(R"(["\ud800"])"), kParsing},
        {"bytes that are no UTF-8", Answer::json("[\"\xE9t\xE9\"]"), kParsing},
        {"deep", Answer::json(std::string(200, '[') + std::string(200, ']')), kParsing},
        {"empty", Answer::json(""), kParsing},
        {"nothing", {"HTTP/1.1 204 No Content\r\n\r\n"}, kParsing},
        {"no content type", Answer::http(200, "", kNames), kParsing},
        {"null", Answer::json("null"), kParsing},
        {"object", Answer::json(R"({"contexts":[]})"), kParsing, "an array expected"},
        {"numbers", Answer::json("[1]"), kParsing},
        // What looks odd and is none.
        {"chunks", {chunked("2\r\n[\"\r\n14\r\nspark-sql-context\"] \r\n0\r\n\r\n")}, 0},
        {"no length", {kJsonHeader + "\r\n" + kNames}, 0},
        {"UTF-16", Answer::http(200, "application/json; charset=utf-16", "\xFF\xFE" + wide), 0},
        {"Latin-1", Answer::http(200, "application/json; charset=iso-8859-1", kNames), 0},
    };
    for (const Fault& fault : faults) {
        SCOPED_TRACE(fault.name);
        StandInServer server;
        server.on("/contexts", {fault.answer});
        const auto start = Clock::now();
        EXPECT_TRUE(contextRefuses(server.settings(0.5).setMaxReplySize(100000), fault.details,
                                   fault.code));
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(3));
    }
}

TEST(ClusterFaults, AddressesAreRefusedBeforeAnythingIsSent) {
    StandInServer server;
    server.ready();
    const auto refused = [&](const wchar_t* host, const wchar_t* port, int code) {
        return contextRefuses(SparkMasterSettings(host, port).setTimeout(2.0), "", code);
    };
    const std::wstring port = server.settings().getPort().str();
    for (const wchar_t* host : {L"", L"a b", L"127.0.0.1/x", L"u@127.0.0.1", L"\x4E2D", L"[::1"}) {
        EXPECT_TRUE(refused(host, port.c_str(), kUri)) << BigData::WString(host).toUtf8();
    }
    for (const wchar_t* bad : {L"", L"0", L"65536", L"99999", L"port", L"80x", L"-1", L" 80"}) {
        EXPECT_TRUE(refused(L"127.0.0.1", bad, kUri)) << BigData::WString(bad).toUtf8();
    }
    for (const wchar_t* id : {L"", L"a/b", L"a?b", L"a#b", L"a b", L"a\n", L"\x4E2D", L"<a>"}) {
        const auto job =
            BigData::JobStatus::Parameters().setSparkSettings(server.settings()).setJobID(id);
        EXPECT_TRUE(refuses([&] { (void)BigData::JobStatus::run(job); }, "", kUri))
            << BigData::WString(id).toUtf8();
        BigData::Sampling::Parameters results;
        results.setSparkSettings(server.settings()).setJobID(id);
        EXPECT_TRUE(refuses([&] { (void)BigData::Sampling::getResults(results); }, "", kUri));
    }
    for (const auto& request : server.received()) EXPECT_EQ(request.path, "/contexts");
    EXPECT_TRUE(refused(L"127.0.0.1", L"1", kHttp));  // nobody listens
    EXPECT_TRUE(refused(L"no-such-host.invalid", L"80", kHttp));
}

TEST(ClusterFaults, ArgumentsAreRefusedBeforeAnythingIsSent) {
    StandInServer server;
    server.ready();
    BigData::Sampling::Parameters sampling;
    sampling.setSparkSettings(server.settings()).setSelectedVars({L"x"});
    using BigData::Sampling::Parameters;
    BigData::Summarization::Parameters summary;
    summary.setAggType(7).setSparkSettings(server.settings()).setSelectedVars({L"x"});
    const auto draw = [](const Parameters& parameters) {
        (void)BigData::Sampling::runSync(parameters);
    };
    Parameters nothing(sampling);
    nothing.setSelectedVars({});
    expectRefused({
        {"nan", [&] { draw(Parameters(sampling).setSampleFraction(std::nan(""))); }},
        {"1.5", [&] { draw(Parameters(sampling).setSampleFraction(1.5)); }},
        {"-3", [&] { draw(Parameters(sampling).setUseSampleSize(true).setSampleSize(-3)); }},
        {"no columns", [&] { draw(nothing); }},
        {"7", [&] { (void)BigData::Summarization::runAsync(summary); }},
    });
    EXPECT_TRUE(server.received().empty());
}

TEST(ClusterFaults, KeysAreNeverQuoted) {
    StandInServer server;
    server.ready().on("/jobs", {Answer::json(R"({"status":"BAD","body":"AKIA0 s3cr3t"})", 400),
                                Answer::json("{\"awsSecretKey\":\"s3cr3t\x01\"}")});
    BigData::Sampling::Parameters parameters;
    parameters.setSparkSettings(server.settings())
        .setSelectedVars({L"x"})
        .setAwsKeys({L"AKIA0", L"s3cr3t"});
    const auto run = [&] { (void)BigData::Sampling::runSync(parameters); };
    const auto hidden = testing::Not(testing::AnyOf(HasSubstr("s3cr3t"), HasSubstr("AKIA0")));
    for (const int code : {kHttp, kParsing}) {
        EXPECT_THAT(run, testing::Throws<Veltrix::Exception>(
                             testing::AllOf(testing::Property(&Veltrix::Exception::getCode, code),
                                            testing::Property(&Veltrix::Exception::what, hidden))));
    }
}

TEST(ClusterFaults, SilenceIsAResultOfTheHealthCheck) {
    StandInServer server;
    server.on("/healthz", {Answer::http(200, "text/plain", "OK"), Answer::json("{}", 500), {""}});
    const auto ask = [&] {
        return BigData::ClusterHealth::run(
            BigData::ClusterHealth::Parameters().setSparkSettings(server.settings()));
    };
    const auto healthy = ask();
    EXPECT_TRUE(healthy.isHealthy());
    EXPECT_GT(healthy.getDuration().seconds, 0.0);
    const auto ill = ask();
    EXPECT_TRUE(ill.getAnswered());
    EXPECT_FALSE(ill.isHealthy());
    EXPECT_EQ(ill.getStatus(), 500);
    const auto silent = ask();
    EXPECT_FALSE(silent.getAnswered());
    EXPECT_FALSE(silent.getDetails().empty());
}

TEST(ClusterFaults, TheWaitCanBeCancelled) {
    StandInServer server;
    server.on("/contexts", {{"x", std::chrono::seconds(30)}});
    const auto start = Clock::now();
    const Veltrix::ProgressScope scope([](const Veltrix::Progress& /*progress*/) { return false; });
    EXPECT_THROW(BigData::ContextCheck::run(
                     BigData::ContextCheck::Parameters().setSparkSettings(server.settings())),
                 Veltrix::Cancelled);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(2));
}

}  // namespace
