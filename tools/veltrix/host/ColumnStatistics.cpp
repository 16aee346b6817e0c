#include "tools/veltrix/host/ColumnStatistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

namespace Veltrix::Tool {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The mean, summed in parts of a value so that the sum of huge ones stays finite, and corrected by
/// the mean of what is left.
double meanOf(const std::vector<double>& numbers) {
    const auto n = static_cast<double>(numbers.size());
    double mean = 0.0;
    for (const double x : numbers) mean += x / n;
    double rest = 0.0;
    for (const double x : numbers) rest += (x - mean) / n;
    return mean + (std::isfinite(rest) ? rest : 0.0);
}

/// Means of the second to fourth powers of the differences from the mean over their largest.
struct Moments {
    double scale = 0.0;
    double second = 0.0;
    double third = 0.0;
    double fourth = 0.0;
};

Moments momentsOf(const std::vector<double>& numbers, double mean) {
    Moments moments;
    for (const double x : numbers) moments.scale = std::max(moments.scale, std::fabs(x - mean));
    if (!(moments.scale > 0.0) || !std::isfinite(moments.scale)) return moments;
    for (const double x : numbers) {
        const double z = (x - mean) / moments.scale;
        moments.second += z * z;
        moments.third += z * z * z;
        moments.fourth += z * z * z * z;
    }
    const auto n = static_cast<double>(numbers.size());
    moments.second /= n;
    moments.third /= n;
    moments.fourth /= n;
    return moments;
}

double quantile(const std::vector<double>& sorted, double p) {
    const double place = p * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    if (below + 1 >= sorted.size()) return sorted.back();
    const double share = place - static_cast<double>(below);
    if (share == 0.0) return sorted[below];  // the next one may be infinite
    return sorted[below] * (1.0 - share) + sorted[below + 1] * share;
}

void addShape(ColumnStatistics& result, const std::vector<double>& numbers) {
    const auto n = static_cast<double>(numbers.size());
    const Moments moments = momentsOf(numbers, result.mean);
    if (n >= 2.0) {
        result.deviation = moments.scale * std::sqrt(moments.second * n / (n - 1.0));
    }
    if (!(moments.second > 0.0)) return;
    if (n >= 3.0) {
        result.skewness =
            moments.third / std::pow(moments.second, 1.5) * std::sqrt(n * (n - 1.0)) / (n - 2.0);
    }
    if (n >= 4.0) {
        const double excess = moments.fourth / (moments.second * moments.second) - 3.0;
        result.kurtosis = (n - 1.0) / ((n - 2.0) * (n - 3.0)) * ((n + 1.0) * excess + 6.0);
    }
}

}  // namespace

ColumnStatistics describeNumbers(std::vector<double> numbers) {
    ColumnStatistics result{.mean = kNaN,
                            .deviation = kNaN,
                            .minimum = kNaN,
                            .lowerQuartile = kNaN,
                            .median = kNaN,
                            .upperQuartile = kNaN,
                            .maximum = kNaN,
                            .skewness = kNaN,
                            .kurtosis = kNaN};
    result.missing =
        static_cast<std::int64_t>(std::erase_if(numbers, [](double x) { return std::isnan(x); }));
    result.values = static_cast<std::int64_t>(numbers.size());
    if (numbers.empty()) return result;
    result.mean = meanOf(numbers);
    addShape(result, numbers);
    std::ranges::sort(numbers);
    result.minimum = numbers.front();
    result.lowerQuartile = quantile(numbers, 0.25);
    result.median = quantile(numbers, 0.5);
    result.upperQuartile = quantile(numbers, 0.75);
    result.maximum = numbers.back();
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    result.distinct = static_cast<std::int64_t>(numbers.size());
    return result;
}

Histogram makeHistogram(const std::vector<double>& numbers) {
    const auto [least, largest] = std::ranges::minmax(numbers);
    const double range = largest - least;
    const bool spread = range > 0.0 && std::isfinite(range);
    const std::size_t bins = spread ? 1 + static_cast<std::size_t>(std::ceil(
                                              std::log2(static_cast<double>(numbers.size()))))
                                    : 1;
    Histogram result{least, range / static_cast<double>(bins), {}};
    result.counts.resize(bins);
    for (const double x : numbers) {
        const double place = spread ? (x - least) / range * static_cast<double>(bins) : 0.0;
        ++result.counts[std::min(static_cast<std::size_t>(place), bins - 1)];
    }
    return result;
}

double correlationOf(const std::vector<double>& x, const std::vector<double>& y) {
    std::vector<double> a;
    std::vector<double> b;
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (std::isnan(x[i]) || std::isnan(y[i])) continue;
        a.push_back(x[i]);
        b.push_back(y[i]);
    }
    if (a.size() < 2) return kNaN;
    const auto center = [](std::vector<double>& values) {
        const double mean = meanOf(values);
        double largest = 0.0;
        for (const double value : values) largest = std::max(largest, std::fabs(value - mean));
        for (double& value : values) value = (value - mean) / largest;
    };
    center(a);
    center(b);
    const auto product = [](const std::vector<double>& u, const std::vector<double>& v) {
        return std::inner_product(u.begin(), u.end(), v.begin(), 0.0);
    };
    const double result = product(a, b) / std::sqrt(product(a, a) * product(b, b));
    return std::isnan(result) ? kNaN : std::clamp(result, -1.0, 1.0);
}

}  // namespace Veltrix::Tool
