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

using Arguments = std::vector<std::string>;

inline Arguments operator+(Arguments first, const Arguments& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

inline std::string joined(const std::vector<std::string>& texts) {
    std::string text;
    for (const std::string& part : texts) text += (text.empty() ? "" : ",") + part;
    return text;
}

/// What the program prints, which must work.
inline std::string outputOf(const Arguments& arguments) {
    const ProcessResult result = runProgram(kVeltrix, arguments);
    EXPECT_EQ(result.exitCode, 0) << joined(arguments);
    EXPECT_EQ(result.err, "") << joined(arguments);
    return result.out;
}

inline JsonReport reportOf(const Arguments& arguments) {
    return JsonReport(outputOf(arguments + Arguments{"--format", "json"}));
}

/// The predictions of a stored model for the rows of a file.
inline std::string predictionsOf(const std::string& model, const std::string& data) {
    return outputOf({"predict", "--model", model, "--data", data, "--format", "csv"});
}

/// What the user does wrong must end with exit code 2 and one line that holds these words.
inline void expectMistake(const ProcessResult& result, const std::vector<std::string>& words) {
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, testing::StartsWith("veltrix: "));
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
    for (const std::string& word : words) EXPECT_THAT(result.err, testing::HasSubstr(word));
}

}  // namespace Veltrix::Testing
