#include "support/Files.h"

#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Process.h"

namespace fs = std::filesystem;
using namespace Veltrix::Support;
using testing::HasSubstr;

namespace {

class FilesTest : public testing::Test {
  protected:
    std::string path(const std::string& name) const { return folder_.path(name); }
    std::size_t numFiles() const { return folder_.files().size(); }

  private:
    Veltrix::Testing::TemporaryFolder folder_;
};

template <class Action>
std::string messageOf(Action action) {
    try {
        action();
    } catch (const FileError& error) {
        return error.what();
    }
    return "no error";
}

}  // namespace

TEST_F(FilesTest, WritesReplacesAndReadsBack) {
    const std::string name = path(
        "m\xC3\xB6"
        "del.json");
    std::string text = "first";
    writeFileAtomically(name, text);
    fs::permissions(name, fs::perms::owner_read | fs::perms::owner_write);
    text.assign(200001, 'x');
    text[3] = '\0';
    text[4] = '\r';
    writeFileAtomically(name, text);
    EXPECT_EQ(readFile(name), text);
    EXPECT_EQ(fs::status(name).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    writeFileAtomically(name, "");
    EXPECT_EQ(readFile(name), "");
    EXPECT_EQ(numFiles(), 1u);
}

TEST_F(FilesTest, StepsAroundLeftOverFilesAndFollowsLinks) {
    writeFileAtomically(path("veltrix-0.tmp"), "another's");
    writeFileAtomically(path("target"), "old");
    fs::create_symlink("target", path("link"));
    writeFileAtomically(path("link"), "new");
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(readFile(path("target")), "new");
    EXPECT_EQ(readFile(path("veltrix-0.tmp")), "another's");
    EXPECT_EQ(numFiles(), 3u);
}

TEST_F(FilesTest, StagedContentShowsOnlyWhenCommitted) {
    const std::string name = path("target");
    writeFileAtomically(name, "old");
    {
        StagedFile abandoned(name);
        abandoned.write("never seen");
        EXPECT_TRUE(abandoned.replacesTarget());
        EXPECT_EQ(numFiles(), 2u);
    }
    EXPECT_EQ(numFiles(), 1u);
    StagedFile staged(name);
    writeFileAtomically(staged.path(), "written by its path");
    StagedFile moved = std::move(staged);
    EXPECT_EQ(readFile(name), "old");
    moved.commit();
    EXPECT_EQ(readFile(name), "written by its path");
    EXPECT_EQ(numFiles(), 1u);
}

TEST_F(FilesTest, ErrorsNameFileAndCauseAndLeaveNothing) {
    const std::string missing = path("none/file");
    EXPECT_THAT(messageOf([&] { readFile(missing); }), HasSubstr("\"" + missing + "\": No such"));
    EXPECT_THAT(messageOf([&] { writeFileAtomically(missing, "x"); }), HasSubstr("No such file"));
    EXPECT_THAT(messageOf([&] { readFile(path("")); }), HasSubstr("directory"));
    EXPECT_THAT(messageOf([&] { writeFileAtomically(path(""), "x"); }),
                HasSubstr("Is a directory"));
    EXPECT_EQ(numFiles(), 0u);
}

TEST_F(FilesTest, AFullDiskIsReported) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full on this system";
    for (const std::size_t size : {std::size_t{1}, std::size_t{1000000}}) {
        EXPECT_THAT(messageOf([&] { writeFileAtomically("/dev/full", std::string(size, 'x')); }),
                    HasSubstr("No space left"));
    }
}

TEST_F(FilesTest, AWriteThatFailsHalfwayKeepsTheOldFileAndNoOther) {
    const std::string name = path("model.json");
    writeFileAtomically(name, "old");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1000, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::string message =
        messageOf([&] { writeFileAtomically(name, std::string(100000, 'x')); });
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, previous);
    EXPECT_THAT(message, HasSubstr("File too large"));
    EXPECT_EQ(readFile(name), "old");
    EXPECT_EQ(numFiles(), 1u);
}
