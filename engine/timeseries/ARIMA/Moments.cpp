#include "engine/timeseries/ARIMA/Moments.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>

#include "Veltrix/Data/Progress.h"
#include "support/LinearAlgebra.h"

namespace Veltrix::Engine::TS::ARIMA {

double meanOf(std::span<const double> series) {
    if (series.empty()) return 0.0;
    const auto n = static_cast<double>(series.size());
    const double first = std::accumulate(series.begin(), series.end(), 0.0) / n;
    if (!std::isfinite(first)) return first;
    // The deviations hold what rounding lost; with them a constant series has its value as mean.
    double deviations = 0.0;
    for (const double x : series) deviations += x - first;
    return first + deviations / n;
}

double varianceOf(std::span<const double> series) {
    if (series.size() < 2) return 0.0;
    const double mean = meanOf(series);
    double squares = 0.0;
    for (const double x : series) squares += (x - mean) * (x - mean);
    return squares / static_cast<double>(series.size());
}

std::vector<double> laggedProducts(std::span<const double> series, std::size_t from,
                                   std::size_t to) {
    // All lags of one block before the next block: its values stay in the cache.
    constexpr std::size_t kBlock = 2048;
    const std::size_t n = series.size();
    std::vector<double> products(to - from);
    constexpr std::size_t kReportEvery = 64;
    ProgressPhase phase("Computing autocovariances", (n + kBlock - 1) / kBlock * (to - from));
    for (std::size_t start = 0; start < n; start += kBlock) {
        const double* block = series.data() + start;
        for (std::size_t h = from; h < std::min(to, n - start); ++h) {
            if (h % kReportEvery == 0) phase.advance(kReportEvery);
            const auto length = static_cast<std::int64_t>(std::min(kBlock, n - start - h));
            products[h - from] += Support::dot(length, block, 1, block + h, 1);
        }
    }
    return products;
}

std::vector<double> partialAutocorrelations(const std::vector<double>& acvf) {
    const std::size_t lags = acvf.size();
    std::vector<double> pacf(lags);
    if (lags == 0 || std::fabs(acvf[0]) < std::numeric_limits<double>::epsilon()) return pacf;
    pacf[0] = 1.0;
    const std::vector<double> reversed(acvf.rbegin(), acvf.rend());
    std::vector<double> phi;
    std::vector<double> previous;
    phi.reserve(lags);
    ProgressPhase phase("Computing partial autocorrelations", lags);
    double variance = acvf[0];  // of the one-step prediction from k values
    for (std::size_t k = 0; k + 1 < lags; ++k) {
        const double predicted = Support::dot(static_cast<std::int64_t>(k), phi.data(), 1,
                                              reversed.data() + (lags - 1 - k), 1);
        const double partial = (acvf[k + 1] - predicted) / variance;
        previous = phi;
        for (std::size_t j = 0; j < k; ++j) phi[j] -= partial * previous[k - 1 - j];
        phi.push_back(partial);
        pacf[k + 1] = partial;
        variance *= 1.0 - partial * partial;
        phase.advance();
    }
    return pacf;
}

}  // namespace Veltrix::Engine::TS::ARIMA
