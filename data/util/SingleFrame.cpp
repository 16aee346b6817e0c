#include "data/util/SingleFrame.h"

#include <algorithm>
#include <vector>

#include "Veltrix/Data/Util.h"

namespace Veltrix {

SingleFrame SingleFrame::aroundMedians(const Matrix& rows) {
    constexpr int kSample = 101;
    constexpr int kGreatestExponent = 1000;
    SingleFrame frame;
    frame.centre.assign(static_cast<std::uint64_t>(rows.getNumCols()), 0.0);
    const int step = std::max(rows.getNumRows() / kSample, 1);
    double spread = 0.0;
    std::vector<double> sample;
    for (int j = 0; j < rows.getNumCols(); ++j) {
        sample.clear();
        for (int i = 0; i < rows.getNumRows(); i += step) {
            if (std::isfinite(rows(i, j))) sample.push_back(rows(i, j));
        }
        if (sample.empty()) continue;
        const auto middle = sample.begin() + static_cast<std::ptrdiff_t>(sample.size() / 2);
        std::nth_element(sample.begin(), middle, sample.end());
        const double median = *middle;
        frame.centre[static_cast<std::uint64_t>(j)] = median;
        for (const double value : sample) spread = std::max(spread, std::fabs(value - median));
    }
    if (spread > 0.0 && std::isfinite(spread)) {
        frame.scale = std::ldexp(1.0, -std::max(std::ilogb(spread), -kGreatestExponent));
    }
    return frame;
}

SingleFrame SingleFrame::aroundMeans(const Matrix& rows, double largest) {
    int exponent = 0;
    std::frexp(largest, &exponent);
    return {Util::mean(rows), std::ldexp(1.0, -exponent - 1)};
}

}  // namespace Veltrix
