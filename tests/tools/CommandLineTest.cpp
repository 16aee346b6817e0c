// The real program as its user meets it: mistakes, files, and the text report.
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CommandRun.h"

namespace Veltrix::Testing {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kData =
    "y,a,b,w,kind,\"c,d\"\n"
    "1.5,1,2,1,red,3\n"
    "2.5,2,1,1,green,1\n"
    "4.5,3,5,0,red,4\n"
    "4.0,4,3,2,blue,1\n"
    "6.5,5,NA,1,red,5\n"
    "6.0,6,4,1,green,9\n";

class CommandLine : public testing::Test {
  protected:
    /// `veltrix regress` on the small table with further options.
    ProcessResult regress(const Arguments& options, const std::string& output = {}) const {
        return runProgram(kVeltrix, Arguments{"regress --target y --data", data, options}.list,
                          output);
    }
    std::string text(const std::string& name) const { return contentOf(folder.path(name)); }

    TemporaryFolder folder;
    std::string data = folder.write("data.csv", kData);
};

TEST_F(CommandLine, HelpAndVersionExplain) {
    const ProcessResult help = run("--help");
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_THAT(help.out, AllOf(HasSubstr("regress"), HasSubstr("predict"), HasSubstr("NA")));
    EXPECT_THAT(run("--version").out, testing::MatchesRegex("veltrix [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    EXPECT_THAT(run("regress --help").out,
                AllOf(HasSubstr("--predictors"), HasSubstr("--no-intercept"), HasSubstr("0.95")));
}

TEST_F(CommandLine, AFullDiskLeavesNothingBehind) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full on this system";
    folder.write("m.json", "old");
    const std::string full = folder.path("full.xlsx");
    std::filesystem::create_symlink("/dev/full", full);
    const Arguments kept{"--predictors a --save", folder.path("m.json")};
    for (const char* option : {"--report", "--output"}) {
        const ProcessResult result = regress({kept, option, full});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.err, AllOf(HasSubstr(option), HasSubstr("No space left")));
    }
    const ProcessResult printed = regress(kept, "/dev/full");
    EXPECT_EQ(printed.exitCode, 2);
    EXPECT_THAT(printed.err, HasSubstr("standard output: No space left"));
    for (const char* option : {"--help", "--version"}) {
        EXPECT_EQ(runProgram(kVeltrix, {option}, "/dev/full").exitCode, 2) << option;
    }
    EXPECT_EQ(text("m.json"), "old");
    EXPECT_THAT(folder.files(), ElementsAre("data.csv", "full.xlsx", "m.json"));
}

/// What a shell makes of a command in which "$@" stands for `veltrix regress` on the small table.
ProcessResult inShell(const std::string& command, const std::string& data) {
    return runProgram("/bin/sh", {"-c", command, "sh", kVeltrix, "regress", "--data", data,
                                  "--target", "y", "--predictors", "a"});
}

TEST_F(CommandLine, MistakesThatNobodyHearsOfHaveTheirExitCode) {
    for (const char* nowhere : {"/dev/full", "&-"}) {
        const auto result =
            inShell(std::string("\"$@\" --confidence 7 2>") + nowhere + "; echo $?", data);
        EXPECT_EQ(result.out, "2\n") << nowhere;
    }
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// Each thread of the linear algebra takes some address space as the program starts.
TEST_F(CommandLine, LittleAddressSpaceIsToldAtOnce) {
    std::set<int> exitCodes;
    for (const char* kilobytes : {"160000", "200000", "300000", "1000000"}) {
        const auto result = inShell(std::string("ulimit -v ") + kilobytes +
                                        "; unset OPENBLAS_NUM_THREADS; exec timeout 20 \"$@\"",
                                    data);
        exitCodes.insert(result.exitCode);
        EXPECT_THAT(result.exitCode, AnyOf(0, 1)) << kilobytes << " " << result.err;
        EXPECT_EQ(result.err, result.exitCode == 0 ? "" : "veltrix: Not enough memory\n");
    }
    EXPECT_TRUE(exitCodes.contains(0));
}
#endif

/// `veltrix regress` with three files to write, two of them there already.
class Interrupted : public CommandLine {
  protected:
    void SetUp() override {
        std::string csv = "y,x\n";
        for (int i = 0; i < 600; ++i) {
            csv += std::to_string(i * 7 % 11) + "," + std::to_string(i) + "\n";
        }
        args = Arguments{"regress --target y --format csv --data",
                         folder.write("long.csv", csv),
                         "--save",
                         folder.path("m"),
                         "--report",
                         folder.path("r.xlsx"),
                         "--output",
                         folder.path("out")};
        reset();
    }
    void reset() const {
        folder.write("m", "old");
        folder.write("r.xlsx", "old");
    }
    /// Sends the signal once it is time; returns the exit code.
    template <class Moment>
    int interrupt(int signal, Moment moment) const {
        const StartedProcess process(kVeltrix, args.list, {"TMPDIR=" + temporary.path("")});
        moment();
        process.send(signal);
        const auto sent = std::chrono::steady_clock::now();
        const int exitCode = process.wait();
        EXPECT_LT(std::chrono::steady_clock::now() - sent, std::chrono::seconds(1));
        return exitCode;
    }

    TemporaryFolder temporary;
    Arguments args;
};

TEST_F(Interrupted, WaitingFilesAreRemoved) {
    ASSERT_EQ(::mkfifo(folder.path("out").c_str(), 0600), 0);
    for (const int signal : {SIGINT, SIGTERM}) {
        // All content waits, the last one for a reader of the pipe.
        const int exitCode = interrupt(signal, [this] {
            const auto waiting = [this] {
                return folder.files().size() == 7 && !temporary.files().empty();
            };
            for (int tries = 0; tries < 2000 && !waiting(); ++tries) {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
            EXPECT_TRUE(waiting());
        });
        EXPECT_EQ(exitCode, 128 + signal);
        EXPECT_THAT(folder.files(), ElementsAre("data.csv", "long.csv", "m", "out", "r.xlsx"));
        EXPECT_THAT(temporary.files(), IsEmpty());
        EXPECT_EQ(text("m") + text("r.xlsx"), "oldold");
    }
}

TEST_F(Interrupted, AtAnyMomentTheOldOrTheNewFilesStand) {
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(run(args).exitCode, 0);
    const auto time = std::chrono::steady_clock::now() - begin;
    const std::string model = text("m");
    const std::string output = text("out");
    constexpr int kTimes = 20;
    for (int k = 0; k < kTimes; ++k) {
        reset();
        std::filesystem::remove(folder.path("out"));
        const int signal = k % 2 == 0 ? SIGINT : SIGTERM;
        const int exitCode =
            interrupt(signal, [&] { std::this_thread::sleep_for(time * k / kTimes); });
        // Before it listens, the signal itself ends the program.
        EXPECT_THAT(exitCode, AnyOf(0, 128 + signal, -signal));
        EXPECT_THAT(text("m"), AnyOf("old", model));
        EXPECT_THAT(text("r.xlsx"), AnyOf("old", StartsWith("PK\x03\x04")));
        std::vector<std::string> files{"data.csv", "long.csv", "m", "r.xlsx"};
        if (std::filesystem::exists(folder.path("out"))) {
            EXPECT_EQ(text("out"), output);
            files.insert(files.end() - 1, "out");
        }
        EXPECT_EQ(folder.files(), files);
        EXPECT_THAT(temporary.files(), IsEmpty());
    }
}

TEST_F(CommandLine, AReaderThatGoesAwayIsNoMistake) {
    const ProcessResult result =
        runProgram("/bin/sh", {"-c",
                               "(sleep 0.2; \"$0\" regress --data \"$1\" --target y --save "
                               "\"$1.json\"; echo $? >\"$1.code\") | true",
                               kVeltrix, data});
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(text("data.csv.code"), "0\n");
    EXPECT_THAT(text("data.csv.json"), StartsWith("{"));
}

TEST_F(CommandLine, TheTextReportIsAligned) {
    const ProcessResult result = regress("--predictors a --weights w");
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, StartsWith("Linear regression of y\n======================\n\n"));
    EXPECT_THAT(result.out, HasSubstr("Rows read                       6\n"
                                      "Rows used                       6\n"
                                      "Rows left out (missing values)  0\n"));
    // In fractions: slope 103/104, intercept 47/104.
    EXPECT_THAT(
        result.out,
        HasSubstr("\nName       Estimate  Std. error         t   p-value  Lower 95%  Upper 95%\n"
                  "Intercept  0.451923    0.634087  0.712715  0.515392  -1.30858     2.21243\n"
                  "a          0.990385    0.156896  6.31237   0.003221   0.554772    1.42600\n"));
    EXPECT_THAT(result.out, Not(HasSubstr(" \n")));
}

TEST_F(CommandLine, RowsWithoutValuesAreCountedAndKeptInPlace) {
    const std::string model = folder.path("m.json");
    const ProcessResult fit =
        regress({"--predictors", std::string("a, b"), "--predictors c,d --save", model});
    ASSERT_EQ(fit.exitCode, 0) << fit.err;
    EXPECT_THAT(fit.out, AllOf(HasSubstr("Rows used                       5\n"),
                               HasSubstr("Rows left out (missing values)  1\n"),
                               HasSubstr("\nc,d "), HasSubstr("\n  6 ")));
    EXPECT_THAT(fit.out, Not(HasSubstr("\n  5 ")));
    EXPECT_THAT(predictionsOf(model, data),
                AllOf(HasSubstr("Rows scored,5\n"), HasSubstr("not scored),1\n"),
                      HasSubstr("\n5,NaN,NaN,NaN,NaN,NaN\n6,")));
}

TEST_F(CommandLine, ATextAmongNumbersIsTold) {
    const std::string csv = "y,mostly,half,name\n1,1,,a\n2,x y,u,b\n3,,v,a\n5,1,1,b\n7,1,1,1\n";
    const std::string slip = folder.write("slip.csv", csv);
    EXPECT_THAT(outputOf({"regress --target y --data", slip}),
                AllOf(HasSubstr("mostly (2 levels), half (2 levels), name (2 levels)\n"),
                      HasSubstr("\nNote: column \"mostly\" is text: row 2 holds \"x y\"\n"
                                "Note: column \"half\" is text: row 2 holds \"u\"\n\n")));
}

TEST_F(CommandLine, LongTablesAreCutInTextOnlyAndAliasedColumnsMarked) {
    std::string csv = "y,\xC3\xA4,twice\n";
    for (int i = 0; i < 50; ++i) {
        csv += std::to_string(i * 3 % 7) + "," + std::to_string(i) + "," + std::to_string(2 * i) +
               "\n";
    }
    const std::string path = folder.write("long.csv", csv);
    const auto with = [&](const Arguments& options) {
        return outputOf({"regress --target y --data", path, options});
    };
    EXPECT_THAT(with({}), AllOf(HasSubstr("\n 20 "), Not(HasSubstr("\n 21 ")),
                                HasSubstr("... 30 more rows; --all-records"),
                                HasSubstr("not estimable\n"), HasSubstr("1 column depends"),
                                HasSubstr("\n\xC3\xA4          ")));  // characters, not bytes
    EXPECT_THAT(with("--all-records"), AllOf(HasSubstr("\n 50 "), Not(HasSubstr("more rows"))));
    EXPECT_EQ(with({"--output", folder.path("out.txt")}), "");
    EXPECT_EQ(text("out.txt"), with({}));
}

TEST_F(CommandLine, AWorkbookHoldsASheetATableAndCharts) {
    const ProcessResult result = regress(
        {"--predictors a,b --report", folder.path("r.xlsx"), "--save", folder.path("m.json")});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(folder.files(), ElementsAre("data.csv", "m.json", "r.xlsx"));
    const std::string archive = text("r.xlsx");
    EXPECT_THAT(archive, StartsWith("PK"));
    EXPECT_THAT(
        archive,
        AllOf(HasSubstr("xl/worksheets/sheet12.xml"), Not(HasSubstr("xl/worksheets/sheet13.xml")),
              HasSubstr("xl/charts/chart5.xml"), Not(HasSubstr("xl/charts/chart6.xml"))));
}

TEST_F(CommandLine, ATerminalSeesHowFarItIsAndEndsItByCtrlC) {
    if (!hasTerminals()) GTEST_SKIP() << "the system hands out no terminals";
    std::string csv = "x,y\n";
    for (int i = 0; i < 20000; ++i) csv += fmt::format("{},{}\n", i * 37 % 1009, i * 53 % 997);
    const Arguments arguments{"kmeans --clusters 60 --data", folder.write("many.csv", csv),
                              "--output", folder.path("out.txt")};
    const ProcessResult whole =
        runOnTerminal(kVeltrix, Arguments{arguments, "--starts 1 --iterations 40"}.list);
    EXPECT_EQ(whole.exitCode, 0);
    EXPECT_THAT(whole.out, AllOf(HasSubstr("Fitting the model ..."), HasSubstr(" %"),
                                 testing::EndsWith("\r\x1b[K")));
    std::filesystem::remove(folder.path("out.txt"));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(runOnTerminal(kVeltrix, Arguments{arguments, "--starts 9999"}.list, " %").exitCode,
              130);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    EXPECT_THAT(folder.files(), ElementsAre("data.csv", "many.csv"));
}

}  // namespace
}  // namespace Veltrix::Testing
