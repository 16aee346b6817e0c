#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Veltrix/BigData/ContextCheck.h"
#include "Veltrix/BigData/Exceptions.h"
#include "Veltrix/BigData/JobStatus.h"
#include "Veltrix/BigData/QuorvanDatasets.h"
#include "Veltrix/BigData/Sampling.h"
#include "Veltrix/BigData/Schema.h"
#include "Veltrix/BigData/Summarization.h"
#include "Veltrix/Data/Convert.h"
#include "support/Json.h"
#include "tests/bigdata/StandInServer.h"
#include "tests/support/Refusals.h"

namespace {

namespace Sampling = BigData::Sampling;
namespace Summarization = BigData::Summarization;
using BigData::WString;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;
using Veltrix::DataFrame;
using Veltrix::Support::JsonDocument;
using VeltrixTest::Answer;
using VeltrixTest::Received;
using VeltrixTest::StandInServer;

const std::string kSampleConfig =
    R"({"delimiters":",","fileLocation":"/d/a.csv","isCorvalaCluster":false,)"
    R"("isApproximateSampling":false,"isHeader":true,"isSampleWithReplacement":false,)"
    R"("isParquet":false,"randomSeed":7,"sampleSize":3})";

/// The reply of a finished sampling job.
std::string sampled(const std::string& rows, const std::string& schema,
                    const std::string& more = R"("trackRowID":false)") {
    return R"({"status":"OK","result":{"clusterTime":1.5,"numRows":3,"numRowsTotal":5000000000,)"
           R"("numCols":2,"numColsTotal":9,"sparkMaster":"local[2]","numTotalCores":2,)"
           R"("schemaFull":[["x","double"],["g","string"],["n","bigint"]],"unknown":{},)" +
           more + R"(,"schema":)" + schema + R"(,"sampledData":)" + rows + R"(,"jobConfig":)" +
           kSampleConfig + "}}";
}

Sampling::Parameters sampling(const StandInServer& server) {
    Sampling::Parameters parameters;
    parameters.setUseSampleSize(true).setSampleSize(3).setRandomSeed(7).setTrackRowID(true);
    parameters.setSparkSettings(server.settings())
        .setFileLocation(L"/d/\x4E2D & #1.csv")
        .setCsvHasHeader(true)
        .setCsvDelimiter(L",")
        .setAwsKeys({L"key", L"secret"})
        .setSelectedVars({L"x", L"g"});
    return parameters;
}

std::vector<std::string> keysOf(const std::string& body) {
    return JsonDocument::parse(body).root().keys();
}

std::vector<std::string> texts(const DataFrame& frame, int col) {
    std::vector<std::string> cells;
    for (int row = 0; row < frame.getNumRows(); ++row) {
        cells.push_back(Veltrix::Convert::toString(frame(row, col)).toUtf8());
    }
    return cells;
}

Veltrix::ColumnKind kindOf(const DataFrame& frame, int col) {
    return frame(Veltrix::Selection::all, col).getKind();
}

TEST(ClusterJobs, SamplingRequestsAreWrittenKeyByKey) {
    StandInServer server;
    server.ready().on("/jobs", {Answer::json(sampled("[]", R"(["x","g"])"))});
    Sampling::Parameters parameters = sampling(server);
    BigData::SparkMasterSettings settings = server.settings();
    parameters.setSparkSettings(settings.setAppName(L"a b&c#\x4E2D"));
    (void)Sampling::runSync(parameters);
    const Received exact = server.last();
    EXPECT_EQ(exact.method, "POST");
    EXPECT_EQ(exact.query,
              "appName=a%20b%26c%23%E4%B8%AD"
              "&classPath=quorvan.spark.sampling.SamplingApplication"
              "&context=spark-sql-context&sync=true&timeout=21474835");
    EXPECT_THAT(exact.header, HasSubstr("Content-Type:application/json"));
    EXPECT_THAT(keysOf(exact.body),
                ElementsAre("fileLocation", "isCorvalaCluster", "isApproximateSampling", "userID",
                            "sampleSize", "isSampleWithReplacement", "randomSeed", "isHeader",
                            "delimiters", "trackRowID", "awsAccessKey", "awsSecretKey", "isParquet",
                            "selectedVars", "startTime"));
    const JsonDocument document = JsonDocument::parse(exact.body);
    const auto body = document.root();
    EXPECT_EQ(body.at("fileLocation").asString(), "/d/\xE4\xB8\xAD & #1.csv");
    EXPECT_FALSE(body.at("isApproximateSampling").asBool());
    EXPECT_EQ(body.at("sampleSize").asInt32(), 3);
    EXPECT_TRUE(body.at("trackRowID").asBool());
    EXPECT_EQ(body.at("awsSecretKey").asString(), "secret");
    EXPECT_THAT(body.at("selectedVars").asStrings(), ElementsAre("x", "g"));
    EXPECT_THAT(body.at("startTime").asString(),
                testing::MatchesRegex("[A-Z][a-z][a-z] [A-Z][a-z][a-z] [ 0-9][0-9] "
                                      "[0-9][0-9]:[0-9][0-9]:[0-9][0-9] [0-9][0-9][0-9][0-9]\n"));

    server.on("/jobs", {Answer::json(R"({"status":"STARTED","result":)"
                                     R"({"jobId":"j-1","context":"spark-sql-context"}})",
                                     202),
                        Answer::json(R"({"status":"started","result":{}})")});
    parameters.setUseSampleSize(false).setSampleFraction(0.25);
    const auto submission = Sampling::runAsync(parameters);
    EXPECT_EQ(submission.getStatus(), 0);
    EXPECT_EQ(submission.getJobID(), L"j-1");
    EXPECT_EQ(submission.getContextName(), L"spark-sql-context");
    const Received share = server.last();
    EXPECT_EQ(share.query.find("sync"), std::string::npos);
    EXPECT_EQ(keysOf(share.body).at(4), "sampleFraction");
    EXPECT_EQ(JsonDocument::parse(share.body).root().at("sampleFraction").asDouble(), 0.25);
    EXPECT_TRUE(JsonDocument::parse(share.body).root().at("isApproximateSampling").asBool());
    const auto other = Sampling::runAsync(parameters);
    EXPECT_EQ(other.getStatus(), 1);
    EXPECT_TRUE(other.getJobID().empty());
}

TEST(ClusterJobs, AnAuthorizationIsSentWhenSetAndNeverQuoted) {
    StandInServer server;
    server.on("/contexts", {Answer::json("[]", 200), Answer::json(R"("no: s3cret-token")", 401)})
        .on("/contexts/spark-sql-context", {Answer::json("OK")});
    BigData::SparkMasterSettings settings = server.settings();
    const auto check = [&] {
        BigData::ContextCheck::run(BigData::ContextCheck::Parameters().setSparkSettings(settings));
    };
    check();
    for (const Received& request : server.received()) {
        EXPECT_EQ(request.header.find("Authorization"), std::string::npos);
    }
    settings.setAuthorization(L"Bearer s3cret-token");
    try {
        check();
        ADD_FAILURE();
    } catch (const BigData::BDHttpError& error) {
        EXPECT_THAT(error.what(), testing::EndsWith("\"no: ***\""));
    }
    EXPECT_THAT(server.last().header, HasSubstr("Authorization:Bearer s3cret-token\r\n"));
    settings.setAuthorization(L"Bearer a\r\nX-Other: b");
    EXPECT_THROW(check(), BigData::BDUriError);
}

TEST(ClusterJobs, OtherRequestsAreWrittenKeyByKey) {
    StandInServer server;
    server.ready().on("/jobs",
                      {Answer::json(R"({"status":"STARTED","result":{"jobId":"1","context":"c"}})"),
                       Answer::json(R"({"status":"OK","result":)"
                                    R"({"clusterTime":0.5,"header":["x","g h"]}})"),
                       Answer::json(R"({"status":"OK","result":{"quorvanData":["a",{"b":1}]}})"),
                       Answer::json(R"({"status":"OK","result":{}})"),
                       Answer::json(R"({"status":"ERROR","result":{"message":"no file"}})")});
    Summarization::Parameters summary;
    summary.setGroupVars({L"g"}).setComputeCounts(true).setAggType(
        Summarization::Aggregation::Mean);
    summary.setSparkSettings(server.settings()).setSelectedVars({L"x"});
    EXPECT_EQ(Summarization::runAsync(summary).getStatus(), 0);
    EXPECT_THAT(keysOf(server.last().body),
                ElementsAre("fileLocation", "isHeader", "delimiters", "aggType", "computeCounts",
                            "computeSummaryStats", "isCorvalaCluster", "userID", "awsAccessKey",
                            "awsSecretKey", "isParquet", "selectedVars", "groupVars", "startTime"));
    EXPECT_EQ(JsonDocument::parse(server.last().body).root().at("aggType").asInt32(), 2);

    BigData::Schema::Parameters schema;
    schema.setSparkSettings(server.settings());
    const auto columns = BigData::Schema::run(schema);
    EXPECT_EQ(columns.getHeader(), (Veltrix::StringVector{L"x", L"g h"}));
    EXPECT_EQ(columns.getExecutionTime(), 0.5);
    EXPECT_THAT(server.last().query, HasSubstr("quorvan.spark.InferSchemaApplication"));
    EXPECT_THAT(keysOf(server.last().body),
                ElementsAre("fileLocation", "delimiters", "isHeader", "isCorvalaCluster",
                            "isParquet", "userID", "awsAccessKey", "awsSecretKey"));
    const auto datasets =
        BigData::QuorvanDatasets::Parameters().setSparkSettings(server.settings());
    EXPECT_EQ(BigData::QuorvanDatasets::run(datasets).getDatasets(),
              (Veltrix::StringVector{L"a", L"{\"b\":1}"}));
    EXPECT_THROW((void)BigData::QuorvanDatasets::run(datasets), BigData::BDParsingError);
    EXPECT_THAT([&] { (void)BigData::Schema::run(schema); },
                ThrowsMessage<BigData::BDParsingError>(HasSubstr("no file")));
}

TEST(ClusterJobs, TheContextIsCheckedOrCreated) {
    StandInServer server;
    const auto check = [&] {
        BigData::ContextCheck::run(BigData::ContextCheck::Parameters().setSparkSettings(
            server.settings().setSparkContext(L"my context")));
    };
    server.on("/contexts", {Answer::json("[]")})
        .on("/contexts/my%20context", {Answer::json("OK"), Answer::json("{}", 500)});
    check();
    EXPECT_EQ(server.last().method, "POST");
    EXPECT_EQ(server.last().query, "context-factory=spark.jobserver.context.HiveContextFactory");
    EXPECT_THROW(check(), BigData::BDHttpError);
    server.on("/contexts", {Answer::json(R"(["My context"])"), Answer::json(R"(["a","b"])")});
    EXPECT_THAT(check, ThrowsMessage<BigData::BDIncorrectSparkApplication>(
                           HasSubstr("Details: </b>Context is: My context")));
    EXPECT_THAT(check, ThrowsMessage<BigData::BDMultipleSparkContexts>(
                           testing::EndsWith("Details: </b>[a,b,")));
}

TEST(ClusterJobs, SampledRowsBecomeTypedColumns) {
    StandInServer server;
    server.on("/jobs/7",
              {Answer::json(sampled(R"([[1,"a"],[2.5,0.1],[null,true]])", R"(["x","g"])")),
               Answer::json(
                   sampled(R"([[4,"1","7"],[9,"","b"]])", R"(["u","v"])", R"("trackRowID":true)")),
               Answer::json(sampled(R"([["12",null,[1]],["x",null,"b"]])", "[]")),
               Answer::json(sampled(R"([["oops","b"]])", R"(["x","g"])")),
               Answer::json(sampled("[[1,2],[1]]", "[]")),
               Answer::json(sampled("[[1,2]]", R"(["x"])")), Answer::json(sampled("[1]", "[]"))});
    Sampling::Parameters parameters = sampling(server);
    parameters.setJobID(L"7");
    const Sampling::Results typed = Sampling::getResults(parameters);
    EXPECT_EQ(typed.getNumRowsTotal(), 5000000000);
    EXPECT_EQ(typed.getSparkMaster(), L"local[2]");
    EXPECT_EQ(typed.getJobConfig().sampleSize, 3);
    EXPECT_FALSE(typed.getJobConfig().sampleFraction.has_value());
    const DataFrame& rows = typed.getData();
    EXPECT_EQ(rows.getColNames(), (Veltrix::StringVector{L"x", L"g"}));
    EXPECT_EQ(kindOf(rows, 0), Veltrix::ColumnKind::numeric);
    EXPECT_EQ(Veltrix::Convert::toDouble(rows(1, 0)), 2.5);
    EXPECT_TRUE(std::isnan(Veltrix::Convert::toDouble(rows(2, 0))));
    EXPECT_THAT(texts(rows, 1), ElementsAre("a", "0.1", "true"));
    EXPECT_THAT(texts(typed.getSchema(), 1), ElementsAre("double", "string"));
    EXPECT_EQ(typed.getSchemaFull().getNumRows(), 3);

    const DataFrame tracked = Sampling::getResults(parameters).getData();
    EXPECT_EQ(tracked.getColNames(), (Veltrix::StringVector{L"Row ID", L"u", L"v"}));
    EXPECT_EQ(kindOf(tracked, 1), Veltrix::ColumnKind::numeric);
    EXPECT_EQ(kindOf(tracked, 2), Veltrix::ColumnKind::text);
    const DataFrame bare = Sampling::getResults(parameters).getData();
    EXPECT_EQ(bare.getColName(2), L"column3");
    EXPECT_THAT(texts(bare, 0), ElementsAre("12", "x"));
    EXPECT_THAT(texts(bare, 1), ElementsAre("", ""));
    EXPECT_THAT(texts(bare, 2), ElementsAre("[1]", "b"));
    for (const char* details :
         {"row 1: \"oops\"", "row 2 has 1 cells", "1 columns described", "row 1 is no array"}) {
        EXPECT_THAT([&] { (void)Sampling::getResults(parameters); },
                    ThrowsMessage<BigData::BDParsingError>(HasSubstr(details)));
    }
}

TEST(ClusterJobs, SummariesCarryCountsAndTheGuard) {
    const std::string head =
        R"({"status":"OK","result":{"clusterTime":1,"numRows":2,"numRowsTotal":9,"numCols":2,)"
        R"("numColsTotal":2,"sparkMaster":"m","numTotalCores":1,"schemaFull":[],)"
        R"("schema":[["g","string"],["mean","DoubleType"]],"resultData":[["1",2],["b","3.5"]],)";
    const std::string config =
        R"("jobConfig":{"delimiters":"","fileLocation":"f","aggType":2,"computeCounts":true,)"
        R"("groupVars":["g"],"isCorvalaCluster":false,"isHeader":true,"isParquet":false}}})";
    StandInServer server;
    server.on("/jobs/s", {Answer::json(head + R"("counts":[4,5],)" + config),
                          Answer::json(head + R"("counts":[["1",4],["b",5]],)" + config),
                          Answer::json(head + config),
                          Answer::json(R"({"status":"OK","result":{"tooManyDistinct":true}})")});
    Summarization::Parameters parameters;
    parameters.setSparkSettings(server.settings()).setJobID(L"s");
    const Summarization::Results summary = Summarization::getResults(parameters);
    EXPECT_THAT(texts(summary.getData(), 0), ElementsAre("1", "b"));
    EXPECT_EQ(Veltrix::Convert::toDouble(summary.getData()(1, 1)), 3.5);
    EXPECT_THAT(texts(summary.getCounts(), 0), ElementsAre("4", "5"));
    EXPECT_EQ(summary.getJobConfig().aggType, 2);
    EXPECT_EQ(Summarization::getResults(parameters).getCounts().getNumCols(), 2);
    EXPECT_THROW((void)Summarization::getResults(parameters), BigData::BDParsingError);
    EXPECT_THROW((void)Summarization::getResults(parameters),
                 BigData::BDSummarizationTooManyDistinct);
}

TEST(ClusterJobs, RepliesWithoutResultsSayWhy) {
    const std::string unknown = R"({"status":"ERROR","result":"No such job ID 7"})";
    const std::vector<std::pair<Answer, int>> cases = {
        {Answer::json(R"({"status":"RUNNING"})"), 532},
        {Answer::json(R"({"status":"ok","result":{}})"), 532},
        {Answer::json(R"({"status":"ERROR","ERROR":{"message":"m"}})"), 532},
        {Answer::json(R"({"status":"ERROR","result":{"message":"m"}})", 500), 532},
        {Answer::json(unknown, 404), 535},
        {Answer::json(unknown, 400), 535},
        {Answer::json(unknown), 535},
        {Answer::http(404, "text/html", "gone"), 535},
        {Answer::json(R"({"status":"NO SLOTS AVAILABLE"})", 503), 530},
        {Answer::json("{", 500), 530},
        {Answer::json(R"({"result":{}})"), 534},
        {Answer::json(R"({"status":"OK","result":null})"), 534},
        {Answer::json(R"({"status":"OK","result":{"clusterTime":"soon"}})"), 534},
        {Answer::json(sampled("[]", "null")), 534},
    };
    for (std::size_t k = 0; k < cases.size(); ++k) {
        SCOPED_TRACE(k);
        StandInServer server;
        server.on("/jobs/7", {cases[k].first});
        Sampling::Parameters parameters = sampling(server);
        parameters.setJobID(L"7");
        EXPECT_TRUE(Veltrix::Testing::refuses([&] { (void)Sampling::getResults(parameters); }, "",
                                              cases[k].second));
    }
}

TEST(ClusterJobs, StatesAreReadExactly) {
    StandInServer server;
    const std::string tail = R"(,"duration":"6.341 secs","classPath":)";
    const std::string expected = R"("quorvan.spark.sampling.SamplingApplication"})";
    server.ready()
        .on("/jobs/a/jobStatusFull",
            {Answer::json(R"({"status":"FINISHED")" + tail + expected),
             Answer::json(R"({"status":"RUNNING")" + tail + R"("other.Application"})"),
             Answer::json(R"({"status":"finished")" + tail + expected),
             Answer::json(R"({"status":"ERROR","result":{"message":"out of memory"}})")})
        .on("/jobs/a/config",
            {Answer::json(R"({"jobConfig":{"aggType":2,"awsSecretKey":"secret"}})")});
    auto parameters = BigData::JobStatus::Parameters()
                          .setSparkSettings(server.settings())
                          .setJobID(L"a")
                          .setIsRetrievingJobResults(true);
    const auto finished = BigData::JobStatus::run(parameters);
    EXPECT_EQ(finished.getState(), 3);
    EXPECT_EQ(finished.getDuration(), L"6.341 secs");
    EXPECT_TRUE(finished.getIsExpectedApplication());
    EXPECT_EQ(finished.getJobConfig(), L"{\"aggType\":2}");
    const auto running = BigData::JobStatus::run(parameters);
    EXPECT_EQ(running.getState(), 1);
    EXPECT_FALSE(running.getIsExpectedApplication());
    EXPECT_TRUE(running.getJobConfig().empty());
    EXPECT_EQ(BigData::JobStatus::run(parameters).getState(), 2);
    const auto failed = BigData::JobStatus::run(parameters);
    EXPECT_EQ(failed.getState(), 4);
    EXPECT_EQ(failed.getErrorMessage(), L"out of memory");
}

TEST(ClusterJobs, TheUserIdentifierIsAnIntegerOrNone) {
    const std::string path = testing::TempDir() + "registry.ini";
    const std::string section =
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\CorvalaSystems\\KivranePlatform\\17.0]\n";
    const auto stored = [&](const std::string& text) {
        std::ofstream(path) << text;
        ::setenv("VELTRIX_REGISTRY", path.c_str(), 1);
        return BigData::userIdentifier();
    };
    const std::pair<const char*, std::int32_t> cases[] = {
        {"42", 42},        {"+42", 42}, {"-2147483648", INT32_MIN},
        {"2147483648", 0}, {"", 0},     {" 7", 0},
        {"7 ", 0},         {"+-7", 0},  {"0x7", 0},
        {"-", 0}};
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(stored("[Other]\nID=5\n" + section + "Name=a\nID=" + text + "\r\n"), value)
            << text;
    }
    EXPECT_EQ(stored("ID=5\n"), 0);
    ::setenv("VELTRIX_REGISTRY", (path + ".missing").c_str(), 1);
    EXPECT_EQ(BigData::userIdentifier(), 0);
    ::unsetenv("VELTRIX_REGISTRY");
}

TEST(ClusterJobs, ManyThreadsRunJobsAtOnce) {
    StandInServer server;
    server.ready().on("/jobs", {Answer::json(sampled(R"([[1,"a"]])", R"(["x","g"])"))});
    const Sampling::Parameters parameters = sampling(server);
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    for (int k = 0; k < 32; ++k) {
        threads.emplace_back([&] {
            for (int run = 0; run < 3; ++run) {
                right += Sampling::runSync(parameters).getData().getNumRows();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(right, 96);
}

}  // namespace
