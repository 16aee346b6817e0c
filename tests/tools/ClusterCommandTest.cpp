#include <array>
#include <csignal>
#include <cstdio>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CommandRun.h"

namespace Veltrix::Testing {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// A server in another program and language; no port where that is missing.
class RecordedServer {
  public:
    RecordedServer() {
        std::array<int, 2> out{};
        if (::pipe(out.data()) != 0) return;
        child_ = ::fork();
        if (child_ == 0) {
            ::dup2(out[1], STDOUT_FILENO);
            ::close(out[0]);
            ::close(out[1]);
            ::execlp("python3", "python3", kRecordedServer, nullptr);
            ::_exit(1);
        }
        ::close(out[1]);
        char c = 0;
        while (::read(out[0], &c, 1) == 1 && c != '\n') port_ += c;
        ::close(out[0]);
    }
    RecordedServer(const RecordedServer&) = delete;
    RecordedServer& operator=(const RecordedServer&) = delete;
    ~RecordedServer() {
        ::kill(child_, SIGKILL);
        ::waitpid(child_, nullptr, 0);
    }

    const std::string& port() const { return port_; }

  private:
    pid_t child_ = -1;
    std::string port_;
};

TEST(ClusterCommand, WorksWithAServerOfAnotherMake) {
    const RecordedServer server;
    if (server.port().empty()) GTEST_SKIP() << "python3 is not installed";
    const TemporaryFolder folder;
    const Arguments at("--host 127.0.0.1 --context", std::string("my context"), "--port",
                       server.port());
    const std::string keys = folder.write(
        "keys", "[default]\naws_access_key_id = a\naws_secret_access_key=from a file\n");
    const Arguments sample =
        Arguments("cluster sample --file /d/a.csv --columns width,species --size 2 --keys", keys) +
        at;
    EXPECT_THAT(outputOf(Arguments("cluster health") + at), HasSubstr("yes"));
    EXPECT_THAT(outputOf(Arguments("cluster context") + at), HasSubstr("my context"));
    EXPECT_THAT(reportOf(Arguments("cluster schema --file f") + at).texts("Columns", "Column"),
                ElementsAre("width", "sp"));
    EXPECT_THAT(reportOf(sample).column("Data", "width"), ElementsAre(0.2, 1.4));
    EXPECT_THAT(outputOf(sample + Arguments("--async")), HasSubstr("job-1"));
    const Arguments job = Arguments("--job job-1") + at;
    EXPECT_THAT(outputOf(Arguments("cluster status") + job), HasSubstr("running"));
    const std::string rows = folder.path("rows.csv");
    outputOf(Arguments("cluster results --wait --rows", rows) + job);
    EXPECT_EQ(contentOf(rows), "width,species\n0.2,setosa\n1.4,\"versicolor, \"\"wild\"\"\"\n");
    outputOf(sample + Arguments("--wait"));

    const ProcessResult gone = run(Arguments("cluster status --job other") + at);
    EXPECT_EQ(gone.exitCode, 1);
    EXPECT_THAT(gone.err, testing::StartsWith("veltrix: Big Data: Veltrix couldn't get response"));
    EXPECT_EQ(gone.err.find('<'), std::string::npos);
    EXPECT_THAT(
        run(Arguments("cluster context --context other --host 127.0.0.1 --port", server.port()))
            .err,
        HasSubstr("Context is: my context"));
}

}  // namespace
}  // namespace Veltrix::Testing
