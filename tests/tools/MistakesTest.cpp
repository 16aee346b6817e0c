// What the user of the real program may do wrong: each mistake is named in one line, with nothing
// printed and no file left. The mistakes stand in tests/reference/commands/mistakes.txt.
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CommandRun.h"

namespace Veltrix::Testing {
namespace {

/// The program in a folder of its own with small files.
class Mistakes : public testing::TestWithParam<Section> {
  protected:
    Mistakes() {
        std::string many = "id,level,class,name,y\n";
        for (int i = 0; i < 303; ++i) {
            many += fmt::format("r{},l{},c{},n{},{}\n", i, i % 21, i % 3, i % 101, i % 7);
        }
        folder.write("many.csv", many);
    }
    void write(const std::string& name, const std::string& content) const {
        folder.write(name, replaced("\\xff", "\xff", replaced("\\n", "\n", content)));
    }
    Arguments argumentsOf(const std::string& text) const {
        Arguments arguments;
        for (const std::string& word : splitAt(" ", text)) {
            if (word.starts_with("@ref/")) {
                arguments.add(kTestData + word.substr(4));
            } else if (word.starts_with('@')) {
                arguments.add(folder.path(word.substr(1)));
            } else {
                arguments.add(word == "''" ? std::string() : word);
            }
        }
        return arguments;
    }
    void expectCase(const std::string& start, std::string options, const Words& words) const {
        if (const std::size_t arrow = options.find(" <- "); arrow != std::string::npos) {
            const std::string content = options.substr(arrow + 4);
            write(options.substr(0, arrow), content.substr(0, content.rfind(' ')));
            options.clear();
        }
        const std::vector<std::string> before = folder.files();
        expectMistake(run(argumentsOf(start + options)), words);
        EXPECT_EQ(folder.files(), before);
    }

    const TemporaryFolder folder;
};

TEST_P(Mistakes, AreNamedInOneLine) {
    std::string start;
    for (const std::string& line : GetParam().lines) {
        SCOPED_TRACE(line);
        const std::string rest = line.substr(line.find(' ') + 1);
        if (line.starts_with("file ")) {
            write(rest.substr(0, rest.find(' ')), rest.substr(rest.find(' ') + 1));
        } else if (line.starts_with("run ")) {
            start = rest + " ";
        } else if (line.starts_with("works ")) {
            outputOf(argumentsOf(start + rest));
        } else {
            const std::size_t arrow = line.find("=> ");
            ASSERT_NE(arrow, std::string::npos);
            expectCase(start, line.substr(0, arrow), line.substr(arrow + 3).c_str());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Mistakes, testing::ValuesIn(sectionsOf("commands/mistakes.txt")),
                         [](const auto& section) { return section.param.name; });

}  // namespace
}  // namespace Veltrix::Testing
