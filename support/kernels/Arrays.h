#pragma once

#include <cmath>
#include <cstdint>

/// @file
/// Loops over contiguous doubles, compiled for the widest vector instructions of the processor.

namespace Veltrix::Kernels {

/// A sum and what rounding left out of it.
struct CompensatedSum {
    double sum = 0.0;
    double rest = 0.0;

    [[gnu::always_inline]] void add(double value) {
        const double next = sum + value;
        const double taken = next - sum;
        rest += (sum - (next - taken)) + (value - taken);
        sum = next;
    }
    /// What plain addition gives when that is not finite.
    double total() const { return std::isfinite(sum) ? sum + rest : sum; }
    /// total/n, rounded once: equal values have exactly their value as mean.
    double mean(std::int64_t n) const {
        const auto count = static_cast<double>(n);
        const double quotient = total() / count;
        if (!std::isfinite(quotient)) return quotient;
        return quotient + restOf(quotient, n);
    }
    /// What is missing from that to total/n.
    double restOf(double mean, std::int64_t n) const {
        const auto count = static_cast<double>(n);
        return (std::fma(-mean, count, sum) + rest) / count;
    }
};

/// Points of the outer set in one panel, of the inner set in one panel.
constexpr std::int64_t kOuterPanel = 6;
template <class Number>
constexpr std::int64_t kInnerPanelOf = static_cast<std::int64_t>(64 / sizeof(Number));
constexpr std::int64_t kInnerPanel = kInnerPanelOf<double>;

/// A strip of tiles of distances: one outer panel against consecutive inner panels. In a panel the
/// coordinates of its points stand side by side: coordinate k of point r at [k · width + r].
template <class Number>
struct DistanceStripOf {
    std::int64_t depth;  ///< number of coordinates
    const Number* outer;
    std::int64_t outerWidth;  ///< kOuterPanel, or 1 for a single point
    std::int64_t outerCount;  ///< points of the panel that are not padding
    const Number* inner;
    std::int64_t innerCount;  ///< points in all the inner panels, without padding
    Number* target;           ///< outer point r against inner point c at [r · targetStep + c]
    std::int64_t targetStep;
    bool accumulate;  ///< continue the sums in the target; otherwise they start from 0
};
using DistanceStrip = DistanceStripOf<double>;

/// Outer points of a `NearRowsStrip`; inner points in one of its panels.
constexpr std::int64_t kNearOuter = 6;
constexpr std::int64_t kNearInner = 16;

/// Outer points against consecutive panels of inner points in single precision, to find the pairs
/// with start + Σaₖbₖ ≥ bound. A comparison with NaN finds nothing, so NaN bounds and starting
/// values mark padding.
struct NearRowsStrip {
    std::int64_t depth;       ///< number of coordinates
    const float* outer;       ///< coordinate k of outer point r at [k · kNearOuter + r]
    const float* bounds;      ///< of the kNearOuter outer points
    const float* inner;       ///< panels: kNearInner starting values, then the coordinates
    std::int64_t innerCount;  ///< inner points with padding, a multiple of kNearInner
    /// Inner points found for outer point r, ascending, from [r · innerCount] on; how many.
    std::int32_t* found;
    std::int64_t* foundCounts;
};

struct Arrays {
    /// Σx, compensated (Neumaier 1974) in independent lanes; over all, over all but NaN, of |x|.
    CompensatedSum (*sum)(std::int64_t n, const double* x);
    CompensatedSum (*sumOfNumbers)(std::int64_t n, const double* x);
    CompensatedSum (*sumOfMagnitudes)(std::int64_t n, const double* x);
    /// Adds x to n compensated sums, element by element.
    void (*addTo)(std::int64_t n, const double* x, double* sums, double* rests);
    /// Σ(x − centre)²
    double (*deviationsFrom)(std::int64_t n, const double* x, double centre);
    /// Σ(xᵢ − centreᵢ)²
    double (*deviationsFromEach)(std::int64_t n, const double* x, const double* centres);
    /// NaN entries are passed over; NaN when there is nothing else.
    double (*smallest)(std::int64_t n, const double* x);
    double (*largest)(std::int64_t n, const double* x);
    /// Largest |x|, NaN when an entry is.
    double (*largestMagnitude)(std::int64_t n, const double* x);
    /// Where x is smaller than `least`, or that is NaN and x is not, takes x over into `least` and
    /// notes `place` in `places`.
    void (*keepSmaller)(std::int64_t n, const double* x, double place, double* least,
                        double* places);
    /// Gauss-Jordan sweep of an n × n matrix on one diagonal element, which must not be 0. The
    /// pivot's line is multiplied by alongSign/d, its elements of the other lines by −alongSign/d.
    void (*sweep)(std::int64_t n, double* a, std::int64_t pivot, double alongSign);
    /// Σ(aₖ − bₖ)²
    void (*squaredDifferences)(const DistanceStrip& strip);
    /// Σ|aₖ − bₖ|
    void (*absoluteDifferences)(const DistanceStrip& strip);
    /// max|aₖ − bₖ|, NaN when one of the differences is
    void (*largestDifferences)(const DistanceStrip& strip);
    void (*nearRows)(const NearRowsStrip& strip);
};

/// The kernels for this processor.
const Arrays& arrays();

extern const Arrays kArraysBaseline;
#if defined(__x86_64__)
extern const Arrays kArraysAvx2;
#endif

}  // namespace Veltrix::Kernels
