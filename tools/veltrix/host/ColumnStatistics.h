#pragma once

#include <cstdint>
#include <vector>

namespace Veltrix::Tool {

/// What describes a column of numbers. NaN where there are too few values.
struct ColumnStatistics {
    std::int64_t values = 0;
    std::int64_t missing = 0;
    std::int64_t distinct = 0;
    double mean;
    double deviation;  ///< with divisor n − 1
    double minimum;
    double lowerQuartile;
    double median;
    double upperQuartile;
    double maximum;
    double skewness;
    double kurtosis;
};

/// The statistics of the numbers that are not NaN, in the time of sorting them. Quantiles
/// interpolate between the order statistics around (n − 1)p, the usual one of spreadsheets and
/// statistical programs (Hyndman and Fan 1996, type 7). Skewness and kurtosis are the estimates
/// G1 and G2 (Joanes and Gill 1998), the latter 0 for a normal distribution; from 3 and 4 values
/// on, and NaN when all values are equal.
ColumnStatistics describeNumbers(std::vector<double> numbers);

/// Counts in bins of equal width between the least and the largest number.
struct Histogram {
    double lower;
    double width;
    std::vector<std::int64_t> counts;
};

/// The histogram of finite numbers: 1 + log2 n bins (Sturges 1926), rounded up, and one when all
/// are equal. There is at least one number.
Histogram makeHistogram(const std::vector<double>& numbers);

/// Pearson's correlation over the records in which neither is NaN; NaN for a constant and for fewer
/// than two records.
double correlationOf(const std::vector<double>& x, const std::vector<double>& y);

}  // namespace Veltrix::Tool
