// Each family of the real program against one result computed elsewhere (origin and tolerances in
// tests/reference/*/README.md), which shows that every column says what its heading promises; the
// numbers of further data are the library's to test. What is shown stands in
// tests/reference/commands/shown.txt.
#include <cctype>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/ShownNumbers.h"

namespace Veltrix::Testing {
namespace {

/// What stands for {QUANTITY}, or {A=B} for pairs, in a command.
std::string textsOf(const ReferenceData& reference, const std::string& quantity) {
    const auto names = splitAt("=", quantity);
    std::vector<std::string> texts = reference.texts(names.at(0));
    for (std::size_t k = 0; k < texts.size() && names.size() > 1; ++k) {
        texts[k] += "=" + reference.texts(names[1]).at(k);
    }
    return joined(texts);
}

Arguments commandOf(const ReferenceData& reference, const std::string& line) {
    Arguments arguments;
    for (std::string word : splitAt(" ", line)) {
        for (std::size_t open = 0; (open = word.find('{')) != std::string::npos;) {
            const std::size_t close = word.find('}', open);
            word.replace(open, close + 1 - open,
                         textsOf(reference, word.substr(open + 1, close - open - 1)));
        }
        arguments.add(replaced("@ref", kTestData, word));
    }
    return arguments;
}

class ShownNumbers : public testing::TestWithParam<Section> {};

TEST_P(ShownNumbers, AreThoseOfTheReference) {
    const auto& [name, lines] = GetParam();
    const ReferenceData reference(name);
    const JsonReport report = reportOf(commandOf(reference, lines.at(0).substr(4)));
    for (std::size_t k = 1; k < lines.size(); ++k) expectShown(report, reference, lines[k]);
}

INSTANTIATE_TEST_SUITE_P(Of, ShownNumbers, testing::ValuesIn(sectionsOf("commands/shown.txt")),
                         [](const auto& section) {
                             std::string name = section.param.name;
                             for (char& c : name) c = std::isalnum(c) != 0 ? c : '_';
                             return name;
                         });

}  // namespace
}  // namespace Veltrix::Testing
