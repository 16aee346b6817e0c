#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "tests/support/JsonReport.h"
#include "tests/support/Paths.h"
#include "tests/support/Process.h"
#include "tests/support/ReferenceData.h"

/// @file
/// Runs of the real program.

namespace Veltrix::Testing {

/// The parts of a text between separators.
inline std::vector<std::string> splitAt(const std::string& separator, const std::string& text) {
    std::vector<std::string> parts;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        parts.push_back(text.substr(start, end - start));
        start = end + separator.size();
    }
    return parts;
}

/// The text with every `old` replaced.
inline std::string replaced(const std::string& old, const std::string& by, std::string text) {
    for (std::size_t at = 0; (at = text.find(old, at)) != std::string::npos; at += by.size()) {
        text.replace(at, old.size(), by);
    }
    return text;
}

/// What stands below a line [name] of a table, and below none of them.
struct Section {
    std::string name;
    std::vector<std::string> lines;
};

/// The sections of a file of reference data; empty lines and those with a # are left out.
inline std::vector<Section> sectionsOf(const std::string& file) {
    Section common;
    std::vector<Section> sections;
    for (const std::string& line : Detail::readLines(file)) {
        if (line[0] == '[') {
            sections.push_back({line.substr(1, line.size() - 2), common.lines});
        } else if (line[0] != '#') {
            (sections.empty() ? common : sections.back()).lines.push_back(line);
        }
    }
    return sections;
}

/// Arguments of the program: a literal holds several between blanks, any other text is one.
struct Arguments {
    std::vector<std::string> list;

    template <class... Parts>
    Arguments(const Parts&... parts) {
        (add(parts), ...);
    }
    void add(const char* parts) {
        for (const std::string& part : splitAt(" ", parts)) list.push_back(part);
    }
    void add(const std::string& part) { list.push_back(part); }
    void add(const Arguments& more) { list.insert(list.end(), more.list.begin(), more.list.end()); }
};

inline Arguments operator+(const Arguments& first, const Arguments& second) {
    return {first, second};
}

inline ProcessResult run(const Arguments& arguments) {
    return runProgram(kVeltrix, arguments.list);
}

/// Words that a message must hold, written between bars.
struct Words {
    std::vector<std::string> list;

    Words(const char* words) : list(splitAt(" | ", words)) {}
};

inline std::string joined(const std::vector<std::string>& texts) {
    std::string text;
    for (const std::string& part : texts) text += (text.empty() ? "" : ",") + part;
    return text;
}

/// What the program prints, which must work.
inline std::string outputOf(const Arguments& arguments) {
    const ProcessResult result = run(arguments);
    EXPECT_EQ(result.exitCode, 0) << joined(arguments.list);
    EXPECT_EQ(result.err, "") << joined(arguments.list);
    return result.out;
}

inline JsonReport reportOf(const Arguments& arguments) {
    return JsonReport(outputOf({arguments, "--format json"}));
}

/// The predictions of a stored model for the rows of a file.
inline std::string predictionsOf(const std::string& model, const std::string& data) {
    return outputOf({"predict --format csv --model", model, "--data", data});
}

/// What the user does wrong must end with exit code 2 and one line that holds these words.
inline void expectMistake(const ProcessResult& result, const Words& words) {
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, testing::StartsWith("veltrix: "));
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
    for (const std::string& word : words.list) EXPECT_THAT(result.err, testing::HasSubstr(word));
}

}  // namespace Veltrix::Testing
