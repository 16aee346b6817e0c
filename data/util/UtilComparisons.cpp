#include <algorithm>
#include <cmath>
#include <limits>

#include "Veltrix/Data/Util.h"

namespace Veltrix {

bool Util::equal(double a, double b) {
    if (a == b) return true;
    const double tolerance = 1e-12 * std::max(std::fabs(a), std::fabs(b));
    // An infinity is as far from any other value as its tolerance is wide.
    return std::fabs(a - b) <= tolerance && std::isfinite(tolerance);
}

bool Util::isZero(double a) { return std::fabs(a) <= std::numeric_limits<double>::epsilon(); }

int validateDistanceMatrix(const Matrix& distances) {
    constexpr int kDistances = 1;
    constexpr int kSimilarities = 2;
    const int n = distances.getNumRows();
    if (distances.empty() || distances.getNumCols() != n) return 0;
    const double* values = distances.data();
    const auto size = static_cast<std::size_t>(n);
    if (std::any_of(values, values + size * size, [](double d) { return d < 0.0; })) return 0;
    // Tiles keep the entries on both sides of the diagonal in the cache.
    constexpr int kTile = 32;
    for (int firstI = 0; firstI < n; firstI += kTile) {
        for (int firstJ = 0; firstJ <= firstI; firstJ += kTile) {
            for (int i = firstI; i < std::min(firstI + kTile, n); ++i) {
                for (int j = firstJ; j < std::min(firstJ + kTile, i); ++j) {
                    const double below = distances(i, j);
                    const double above = distances(j, i);
                    const bool missing = std::isnan(below) || std::isnan(above);
                    if (!missing && !Util::equal(below, above)) return 0;
                }
            }
        }
    }
    for (int k = 0; k < n; ++k) {
        const double own = distances(k, k);
        if (!std::isnan(own) && !Util::isZero(own)) return kSimilarities;
    }
    return kDistances | kSimilarities;
}

}  // namespace Veltrix
