#include "engine/supervised/DT/Growth.h"

#include <cmath>
#include <string>

#include "Veltrix/Data/Exception.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::DT {
namespace {

/// The largest code of a column.
int largestCode(const Matrix& x, int column) {
    // Codes are counted, so one beyond the records of any data is a mistake.
    constexpr double kLargest = 1e6;
    double largest = 0.0;
    for (int i = 0; i < x.getNumRows(); ++i) {
        const double code = x(i, column);
        if (!(code >= 0.0 && code <= kLargest && code == std::floor(code))) {
            throw Exception(
                "Tree fit: category code (a whole number from 0 to 1000000) expected "
                "in row " +
                std::to_string(i) + ", column " + std::to_string(column) +
                " of the features, found " + Support::numberText(code));
        }
        largest = std::max(largest, code);
    }
    return static_cast<int>(largest);
}

}  // namespace

std::vector<int> countCategories(const Matrix& x, const IntVector& categorical) {
    std::vector<int> counts(static_cast<std::size_t>(x.getNumCols()), 0);
    for (const int column : categorical) {
        if (column < 0 || column >= x.getNumCols()) {
            throw Exception("Tree fit: categorical column " + std::to_string(column) + ", 0 to " +
                            std::to_string(x.getNumCols() - 1) + " expected");
        }
        counts[static_cast<std::size_t>(column)] = largestCode(x, column) + 1;
    }
    return counts;
}

std::vector<std::vector<int>> codeColumns(const Matrix& x, const std::vector<int>& numCategories) {
    std::vector<std::vector<int>> codes(numCategories.size());
    for (std::size_t j = 0; j < codes.size(); ++j) {
        if (numCategories[j] == 0) continue;
        codes[j].resize(static_cast<std::size_t>(x.getNumRows()));
        for (int i = 0; i < x.getNumRows(); ++i) {
            codes[j][static_cast<std::size_t>(i)] = static_cast<int>(x(i, static_cast<int>(j)));
        }
    }
    return codes;
}

}  // namespace Veltrix::Engine::DT
