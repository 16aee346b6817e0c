#include "engine/supervised/DT/Growth.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "engine/core/Checks.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::DT {
namespace {

/// The codes of a column.
std::vector<int> readCodes(const Features& features, int column) {
    // Codes are counted, so one beyond the records of any data is a mistake.
    constexpr double kLargest = 1e6;
    const Vector values = features.column(column);
    std::vector<int> codes;
    codes.reserve(values.size());
    for (const double code : values) {
        if (!(code >= 0.0 && code <= kLargest && code == std::floor(code))) {
            Checks::fail(ErrorCode::invalidArgument, "Tree fit",
                         "record " + std::to_string(codes.size()) + " has " +
                             Support::numberText(code) + " in column " + std::to_string(column) +
                             ", a category code (a whole number from 0 to 1000000) expected");
        }
        codes.push_back(static_cast<int>(code));
    }
    return codes;
}

}  // namespace

Categories readCategories(const Features& features, const IntVector& categorical) {
    const auto columns = static_cast<std::size_t>(features.numCols());
    Categories result{std::vector<int>(columns, 0), std::vector<std::vector<int>>(columns),
                      std::vector<std::vector<int>>(columns)};
    for (const int column : categorical) {
        Checks::index("Tree fit", "categorical column", column, features.numCols());
        const auto j = static_cast<std::size_t>(column);
        result.codes[j] = readCodes(features, column);
        result.seen[j] = result.codes[j];
        std::vector<int>& seen = result.seen[j];
        std::ranges::sort(seen);
        seen.erase(std::unique(seen.begin(), seen.end()), seen.end());
        result.counts[j] = seen.back() + 1;
    }
    return result;
}

}  // namespace Veltrix::Engine::DT
