#pragma once

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/CommandRun.h"
#include "tests/support/Tolerance.h"

/// @file
/// Reports against numbers computed elsewhere.

namespace Veltrix::Testing {

/// Posterior probabilities row after row.
inline std::vector<double> posteriorsOf(const JsonReport& report, const std::string& title,
                                        const ReferenceData& reference) {
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

/// TABLE :: COLUMN = QUANTITY + … | …, as tests/reference/commands/README.md has it.
inline void expectShown(const JsonReport& report, const ReferenceData& reference,
                        const std::string& line) {
    const auto parts = splitAt(" :: ", line);
    for (const std::string& column : splitAt(" | ", parts.at(1))) {
        const auto names = splitAt(" = ", column);
        std::vector<double> expected;
        for (const std::string& quantity : splitAt(" + ", names.at(1))) {
            std::ranges::copy(reference.flattened(quantity), std::back_inserter(expected));
        }
        double largest = 0.0;
        for (const double value : expected) largest = std::max(largest, std::fabs(value));
        const auto found = parts[0] == "Summary" ? std::vector<double>{report.entry(names[0])}
                           : names[0] == "P()"   ? posteriorsOf(report, parts[0], reference)
                                                 : report.column(parts[0], names[0]);
        EXPECT_TRUE(allNear(found, expected, {1e-9, 1e-12 * largest})) << parts[0] << column;
    }
}

}  // namespace Veltrix::Testing
