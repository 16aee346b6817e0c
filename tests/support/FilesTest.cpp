#include "support/Files.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

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

auto refuses(const std::string& text) { return testing::ThrowsMessage<FileError>(HasSubstr(text)); }

}  // namespace

TEST_F(FilesTest, WritesReplacesAndReadsBack) {
    const std::string name = path("m\u00f6del.json");
    std::string text = "first";
    writeFileAtomically(name, text);
    text.assign(200001, 'x');
    text[3] = '\0';
    text[4] = '\r';
    writeFileAtomically(name, text);
    EXPECT_EQ(readFile(name), text);
    writeFileAtomically(name, "");
    EXPECT_EQ(readFile(name), "");
    EXPECT_EQ(numFiles(), 1u);
}

TEST_F(FilesTest, FollowsLinksWhetherTheirFileIsThereOrNot) {
    writeFileAtomically(path("target"), "old");
    for (const char* name : {"target", "missing"}) {
        const std::string link = path(std::string("link to ") + name);
        const std::string outer = path(std::string("outer link to ") + name);
        fs::create_symlink(name, link);
        fs::create_symlink(link, outer);
        writeFileAtomically(outer, "new");
        EXPECT_TRUE(fs::is_symlink(link) && fs::is_symlink(outer));
        EXPECT_EQ(readFile(path(name)), "new");
    }
    fs::create_symlink("loop", path("loop"));
    EXPECT_THAT([&] { writeFileAtomically(path("loop"), "x"); }, refuses("symbolic links"));
    EXPECT_EQ(numFiles(), 7u);
}

TEST_F(FilesTest, TheWaitingFileHasThePermissionsOfItsTarget) {
    const mode_t before = ::umask(027);
    const auto permissions = [](const std::string& name) {
        return static_cast<int>(fs::status(name).permissions());
    };
    const StagedFile created(path("new"));
    EXPECT_EQ(permissions(created.path()), 0640);
    for (const int mode : {0600, 0666}) {
        writeFileAtomically(path("old"), "text");
        fs::permissions(path("old"), static_cast<fs::perms>(mode));
        StagedFile replacing(path("old"));
        EXPECT_EQ(permissions(replacing.path()), mode);
        replacing.commit();
        EXPECT_EQ(permissions(path("old")), mode);
    }
    ::umask(before);
}

TEST_F(FilesTest, AMissingFolderForTemporaryFilesIsNamed) {
    const char* const set = std::getenv("TMPDIR");
    const std::string before = set != nullptr ? set : "";
    ::setenv("TMPDIR", path("nowhere").c_str(), 1);
    EXPECT_THAT([&] { writeFileAtomically("/dev/null", "x"); },
                refuses("(TMPDIR) \"" + path("nowhere") + "\": No such file"));
    set != nullptr ? ::setenv("TMPDIR", before.c_str(), 1) : ::unsetenv("TMPDIR");
}

TEST_F(FilesTest, StagedContentShowsOnlyWhenCommitted) {
    const std::string name = path("target");
    writeFileAtomically(name, "old");
    StagedFile(name).write("never seen");
    EXPECT_EQ(numFiles(), 1u);
    StagedFile staged(name);
    EXPECT_TRUE(staged.replacesTarget());
    writeFileAtomically(staged.path(), "written by its path");
    StagedFile moved = std::move(staged);
    EXPECT_EQ(readFile(name), "old");
    moved.commit();
    EXPECT_EQ(readFile(name), "written by its path");
    EXPECT_EQ(numFiles(), 1u);
}

TEST_F(FilesTest, ErrorsNameFileAndCauseAndLeaveNothing) {
    const std::string missing = path("none/file");
    EXPECT_THAT([&] { readFile(missing); }, refuses("\"" + missing + "\": No such"));
    EXPECT_THAT([&] { readFile(path("")); }, refuses("directory"));
    EXPECT_EQ(numFiles(), 0u);
    writeFileAtomically(path("kept"), "old");
    fs::permissions(path("kept"), fs::perms::owner_read | fs::perms::group_read);
    for (const auto& mistake : {std::pair("none/file", "none/file\": No such file"),
                                {"", "Is a directory"},
                                {"kept", "kept\": Permission denied"}}) {
        EXPECT_THAT([&] { writeFileAtomically(path(mistake.first), "new"); },
                    refuses(mistake.second));
    }
    EXPECT_EQ(readFile(path("kept")), "old");
    EXPECT_EQ(numFiles(), 1u);
}
