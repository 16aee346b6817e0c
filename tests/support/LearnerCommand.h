#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "tests/support/JsonReport.h"
#include "tests/support/Paths.h"
#include "tests/support/Process.h"
#include "tests/support/ReferenceData.h"

/// @file
/// What the tests of the commands for classes and numbers share.

namespace Veltrix::Testing {

inline std::string joined(const std::vector<std::string>& texts) {
    std::string text;
    for (const std::string& part : texts) text += (text.empty() ? "" : ",") + part;
    return text;
}

/// --regression, or --priors and --success-class as the reference has them. Of many classes the
/// priors are the empirical ones, which need no option.
inline std::vector<std::string> taskOptions(const ReferenceData& reference) {
    if (!reference.has("classes")) return {"--regression"};
    std::vector<std::string> options;
    std::vector<std::string> priors = reference.texts("classes");
    for (std::size_t k = 0; k < priors.size(); ++k) priors[k] += "=" + reference.texts("priors")[k];
    if (priors.size() <= 3) options = {"--priors", joined(priors)};
    const std::string success = reference.text("success_class");
    if (!success.empty()) {
        options.insert(options.end(),
                       {"--success-class", success, "--cutoff", reference.text("cutoff")});
    }
    return options;
}

/// Predictions in a table of a report, or posterior probabilities row after row.
inline std::vector<double> scoresOf(const JsonReport& report, const std::string& title,
                                    const ReferenceData& reference) {
    if (!reference.has("classes")) return report.column(title, "Prediction");
    std::vector<std::vector<double>> columns;
    for (const std::string& label : reference.texts("classes")) {
        columns.push_back(report.column(title, "P(" + label + ")"));
    }
    std::vector<double> values;
    for (std::size_t i = 0; i < columns.at(0).size(); ++i) {
        for (const std::vector<double>& column : columns) values.push_back(column.at(i));
    }
    return values;
}

/// Scores of the training and validation rows of a report in the order of the file.
inline std::vector<double> allScoresOf(const JsonReport& report, const ReferenceData& reference) {
    std::map<double, std::vector<double>> byRow;
    for (const std::string title : {"Scores: training", "Scores: validation"}) {
        const std::vector<double> rows = report.column(title, "Row");
        const std::vector<double> values = scoresOf(report, title, reference);
        const std::size_t width = values.size() / rows.size();
        for (std::size_t i = 0; i < values.size(); ++i) byRow[rows[i / width]].push_back(values[i]);
    }
    std::vector<double> all;
    for (const auto& [row, values] : byRow) all.insert(all.end(), values.begin(), values.end());
    return all;
}

/// Options that are wrong, and words that the message must hold.
using Mistakes = std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>>;

inline void expectMistakes(const std::vector<std::string>& sound, const Mistakes& mistakes) {
    for (const auto& [wrong, words] : mistakes) {
        std::vector<std::string> options = sound;
        options.insert(options.end(), wrong.begin(), wrong.end());
        SCOPED_TRACE(testing::PrintToString(options));
        const ProcessResult result = runProgram(kVeltrix, options);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.out, "");
        for (const std::string& word : words) EXPECT_THAT(result.err, testing::HasSubstr(word));
    }
}

}  // namespace Veltrix::Testing
