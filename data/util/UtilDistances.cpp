#include <algorithm>
#include <cmath>
#include <cstdint>

#include "Veltrix/Data/PackedDistances.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "support/VectorMath.h"
#include "support/kernels/Arrays.h"

namespace Veltrix {
namespace {

using Kernels::DistanceStrip;
using Kernels::kInnerPanel;
using Kernels::kOuterPanel;
using StripKernel = void (*)(const DistanceStrip&);

/// Coordinates summed in one go: short sums keep rounding below 1e-13 for any number of columns.
constexpr std::int64_t kDepthBlock = 256;
/// Doubles in the packed block of inner points; a part of the second-level cache.
constexpr std::int64_t kInnerBlockSize = 32768;
constexpr std::int64_t kLargestInnerBlock = 1024;

/// The rows of a matrix as points.
struct Points {
    explicit Points(const Matrix& a)
        : values(a.data()),
          count(a.getNumRows()),
          dimensions(a.getNumCols()),
          byRows(a.getMatrixOrder() == MatrixOrderType::rowMajor) {}
    explicit Points(const Vector& point)
        : values(point.data()),
          count(1),
          dimensions(static_cast<std::int64_t>(point.size())),
          byRows(true) {}

    const double* values;
    std::int64_t count;
    std::int64_t dimensions;
    bool byRows;
};

std::int64_t roundUp(std::int64_t value, std::int64_t multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

/// Coordinates [firstDimension, + depth) of points [first, + count) in panels of `width` points,
/// the last one padded with zeros.
void pack(const Points& points, std::int64_t first, std::int64_t count, std::int64_t firstDimension,
          std::int64_t depth, std::int64_t width, double* panel) {
    const std::int64_t pointStep = points.byRows ? points.dimensions : 1;
    const std::int64_t dimensionStep = points.byRows ? 1 : points.count;
    for (std::int64_t done = 0; done < count; done += width, panel += width * depth) {
        const std::int64_t inPanel = std::min(width, count - done);
        const double* corner =
            points.values + (first + done) * pointStep + firstDimension * dimensionStep;
        if (inPanel < width) std::fill_n(panel, width * depth, 0.0);
        for (std::int64_t k = 0; k < depth; ++k) {
            const double* from = corner + k * dimensionStep;
            for (std::int64_t r = 0; r < inPanel; ++r) panel[k * width + r] = from[r * pointStep];
        }
    }
}

/// Writes the transpose of `count` × `length` values at (line, first) to (first, line).
void reflect(double* result, std::int64_t step, std::int64_t line, std::int64_t count,
             std::int64_t first, std::int64_t length) {
    for (std::int64_t i = first; i < first + length; ++i) {
        for (std::int64_t l = line; l < line + count; ++l) {
            result[i * step + l] = result[l * step + i];
        }
    }
}

/// result[l · inner.count + i] = distance of outer point l and inner point i. The inner points are
/// packed block by block, the outer ones panel by panel, so that memory stays bounded.
/// `finish(segment, length, l, i)` turns the sums from (l, i) on into distances. With `symmetric`
/// the two sets are the same and what one block gives is written to its mirror image.
template <class Finish>
void computeDistances(const Points& outer, const Points& inner, StripKernel kernel, double* result,
                      bool symmetric, Finish finish) {
    const std::int64_t depthBlock = std::clamp<std::int64_t>(outer.dimensions, 1, kDepthBlock);
    const std::int64_t innerBlock =
        std::min({roundUp(inner.count, kInnerPanel),
                  roundUp(kInnerBlockSize / depthBlock, kInnerPanel), kLargestInnerBlock});
    const std::int64_t width = outer.count == 1 ? 1 : kOuterPanel;
    Vector innerPanels(static_cast<std::uint64_t>(innerBlock * depthBlock), Storage::kUnfilled);
    Vector outerPanel(static_cast<std::uint64_t>(width * depthBlock), Storage::kUnfilled);
    DistanceStrip strip{};
    strip.outer = outerPanel.data();
    strip.outerWidth = width;
    strip.inner = innerPanels.data();
    strip.targetStep = inner.count;
    const auto endOf = [&](std::int64_t i) {
        return symmetric ? std::min(i + innerBlock, inner.count) : outer.count;
    };
    std::int64_t lines = 0;
    for (std::int64_t i = 0; i < inner.count; i += innerBlock) lines += endOf(i);
    ProgressPhase phase("Computing distances", static_cast<std::uint64_t>(lines));
    for (std::int64_t i = 0; i < inner.count; i += innerBlock) {
        strip.innerCount = std::min(innerBlock, inner.count - i);
        const std::int64_t endLine = endOf(i);
        for (std::int64_t k = 0; k == 0 || k < outer.dimensions; k += depthBlock) {
            strip.depth = std::min(depthBlock, outer.dimensions - k);
            strip.accumulate = k > 0;
            pack(inner, i, strip.innerCount, k, strip.depth, kInnerPanel, innerPanels.data());
            for (std::int64_t l = 0; l < endLine; l += width) {
                strip.outerCount = std::min(width, outer.count - l);
                strip.target = result + l * inner.count + i;
                pack(outer, l, strip.outerCount, k, strip.depth, width, outerPanel.data());
                kernel(strip);
                const bool last = k + strip.depth >= outer.dimensions;
                phase.advance(last ? static_cast<std::uint64_t>(strip.outerCount) : 0);
                if (!last) continue;
                for (std::int64_t r = 0; r < strip.outerCount; ++r) {
                    finish(strip.target + r * inner.count, strip.innerCount, l + r, i);
                }
                if (symmetric && l < i) {
                    reflect(result, inner.count, l, std::min(strip.outerCount, i - l), i,
                            strip.innerCount);
                }
            }
        }
    }
}

/// The distances of all pairs of rows i < j of one set, packed. A sum runs over all coordinates at
/// once, which rounds as sums that are continued do.
template <class Finish>
void computePairs(const Points& rows, StripKernel kernel, double* result, Finish finish) {
    const std::int64_t depth = std::max<std::int64_t>(rows.dimensions, 1);
    const std::int64_t width =
        std::min(roundUp(rows.count, kInnerPanel),
                 std::clamp(kInnerBlockSize / depth / kInnerPanel * kInnerPanel, kInnerPanel,
                            kLargestInnerBlock));
    Vector innerPanels(static_cast<std::uint64_t>(width * depth), Storage::kUnfilled);
    Vector outerPanel(static_cast<std::uint64_t>(kOuterPanel * depth), Storage::kUnfilled);
    Vector distances(static_cast<std::uint64_t>(kOuterPanel * width), Storage::kUnfilled);
    DistanceStrip strip{};
    strip.depth = rows.dimensions;
    strip.outer = outerPanel.data();
    strip.outerWidth = kOuterPanel;
    strip.inner = innerPanels.data();
    strip.target = distances.data();
    strip.targetStep = width;
    ProgressPhase phase("Computing distances", static_cast<std::uint64_t>(rows.count * rows.count));
    for (std::int64_t i = 0; i < rows.count; i += width) {
        strip.innerCount = std::min(width, rows.count - i);
        pack(rows, i, strip.innerCount, 0, rows.dimensions, kInnerPanel, innerPanels.data());
        const std::int64_t endLine = i + strip.innerCount;
        for (std::int64_t l = 0; l < endLine; l += kOuterPanel) {
            strip.outerCount = std::min(kOuterPanel, endLine - l);
            pack(rows, l, strip.outerCount, 0, rows.dimensions, kOuterPanel, outerPanel.data());
            kernel(strip);
            for (std::int64_t r = 0; r < strip.outerCount; ++r) {
                double* const line = strip.target + r * width;
                finish(line, strip.innerCount, l + r, i);
                const std::int64_t first = std::max(i, l + r + 1);
                std::copy(line + (first - i), line + strip.innerCount,
                          result + packedIndex(rows.count, l + r, first));
            }
            phase.advance(static_cast<std::uint64_t>(strip.outerCount * strip.innerCount));
        }
        // What lies below the diagonal comes for nothing.
        phase.advance(static_cast<std::uint64_t>((rows.count - endLine) * strip.innerCount));
    }
}

constexpr auto kAsTheyAre = [](double*, std::int64_t, std::int64_t, std::int64_t) {};
constexpr auto kSquareRoots = [](double* values, std::int64_t n, std::int64_t, std::int64_t) {
    Support::sqrt(values, values, n);
};

void euclidean(const Points& outer, const Points& inner, bool squared, double* result) {
    const StripKernel kernel = Kernels::arrays().squaredDifferences;
    if (squared) {
        computeDistances(outer, inner, kernel, result, false, kAsTheyAre);
    } else {
        computeDistances(outer, inner, kernel, result, false, kSquareRoots);
    }
}

/// 1 where an entry is not 0, NaN where it is NaN.
Matrix presence(const Matrix& a) {
    Matrix result(a);
    double* values = result.data();
    const std::int64_t size = sizeOf(a);
    for (std::int64_t k = 0; k < size; ++k) {
        if (values[k] < 0.0 || values[k] > 0.0) values[k] = 1.0;
    }
    return result;
}

/// From d columns that differ and n present entries of either row: 2d/(nₐ + n_b + d).
struct JaccardOf {
    void operator()(double* values, std::int64_t n, std::int64_t line, std::int64_t first) const {
        const double* inner = present.data() + first;
        const double own = present.data()[line];
        for (std::int64_t i = 0; i < n; ++i) {
            const double either = own + inner[i] + values[i];
            values[i] = either == 0.0 ? 0.0 : 2.0 * values[i] / either;
        }
    }

    Vector present;
};

template <class Compute>
void binaryDistances(const Matrix& a, DissimilarityType type, const Compute& compute) {
    const Matrix present = presence(a);
    const StripKernel kernel = Kernels::arrays().squaredDifferences;
    if (type == DissimilarityType::jaccard) {
        const Vector ones(static_cast<std::uint64_t>(a.getNumCols()), 1.0);
        return compute(Points(present), kernel, JaccardOf{present * ones});
    }
    const double columns = std::max(a.getNumCols(), 1);
    compute(Points(present), kernel,
            [columns](double* values, std::int64_t n, std::int64_t, std::int64_t) {
                for (std::int64_t i = 0; i < n; ++i) values[i] /= columns;
            });
}

/// Distances of angles: for rows u, v of unit length 1 − uᵀv = ½‖u − v‖², which loses no digits
/// where rows are nearly parallel.
template <class Compute>
void angularDistances(const Matrix& a, bool centred, const Compute& compute) {
    Matrix units = inOrder(a, MatrixOrderType::rowMajor);
    for (int i = 0; i < units.getNumRows(); ++i) {
        MatrixRow row = units(i, Util::all);
        double* values = units.data() + std::int64_t{i} * a.getNumCols();
        if (centred) row -= Kernels::arrays().sum(a.getNumCols(), values).mean(a.getNumCols());
        // Two steps: a length near the limits has no reciprocal, and its square overflows.
        const double largest = Util::norm(row, NormType::largestAbsoluteValue, false);
        row /= largest;
        row /= Util::norm(row, NormType::euclidean, false);
    }
    compute(Points(units), Kernels::arrays().squaredDifferences,
            [](double* values, std::int64_t n, std::int64_t, std::int64_t) {
                for (std::int64_t i = 0; i < n; ++i) values[i] *= 0.5;
            });
}

/// compute(points, kernel, finish) for the distances of that type between the rows.
template <class Compute>
void distancesOfRows(const Matrix& a, bool squared, DissimilarityType type,
                     const Compute& compute) {
    Checks::enumerator("Pairwise distance", "dissimilarity type", type, 1, 7);
    const Kernels::Arrays& kernels = Kernels::arrays();
    switch (type) {
        case DissimilarityType::euclidean:
            if (squared) return compute(Points(a), kernels.squaredDifferences, kAsTheyAre);
            return compute(Points(a), kernels.squaredDifferences, kSquareRoots);
        case DissimilarityType::manhattan:
            return compute(Points(a), kernels.absoluteDifferences, kAsTheyAre);
        case DissimilarityType::maximum:
            return compute(Points(a), kernels.largestDifferences, kAsTheyAre);
        case DissimilarityType::jaccard:
        case DissimilarityType::simpleMatching:
            return binaryDistances(a, type, compute);
        case DissimilarityType::cosine:
        case DissimilarityType::correlation:
            return angularDistances(a, type == DissimilarityType::correlation, compute);
    }
}

}  // namespace

Matrix Util::pairwiseDistance(const Matrix& a, const Matrix& b, bool squared) {
    return pairwiseDistance(a, b, a.getMatrixOrder(), squared);
}

Matrix Util::pairwiseDistance(const Matrix& a, const Matrix& b, MatrixOrderType order,
                              bool squared) {
    Checks::counts("Pairwise distance", a.getNumCols(), "columns on the left", b.getNumCols(),
                   "columns on the right");
    Matrix result(a.getNumRows(), b.getNumRows(), order, Storage::kUnfilled);
    // Lines of the result belong to the outer points, so that values are written side by side.
    if (order == MatrixOrderType::columnMajor) {
        euclidean(Points(b), Points(a), squared, result.data());
    } else {
        euclidean(Points(a), Points(b), squared, result.data());
    }
    return result;
}

Vector Util::pairwiseDistance(const Vector& point, const Matrix& b, bool squared) {
    Checks::counts("Pairwise distance", point.size(), "elements in the point", b.getNumCols(),
                   "columns in the matrix");
    Vector result(static_cast<std::uint64_t>(b.getNumRows()), Storage::kUnfilled);
    euclidean(Points(point), Points(b), squared, result.data());
    return result;
}

Matrix Util::pairwiseDistance(const Matrix& a, bool squared, DissimilarityType type) {
    Checks::enumerator("Pairwise distance", "dissimilarity type", type, 1, 7);
    Matrix result(a.getNumRows(), a.getNumRows(), a.getMatrixOrder(), Storage::kUnfilled);
    distancesOfRows(a, squared, type,
                    [&](const Points& rows, StripKernel kernel, const auto& finish) {
                        computeDistances(rows, rows, kernel, result.data(), true, finish);
                    });
    return result;
}

Vector packedDistances(const Matrix& a, DissimilarityType type) {
    Checks::enumerator("Pairwise distance", "dissimilarity type", type, 1, 7);
    Vector result(packedSize(a.getNumRows()), Storage::kUnfilled);
    distancesOfRows(a, false, type,
                    [&](const Points& rows, StripKernel kernel, const auto& finish) {
                        computePairs(rows, kernel, result.data(), finish);
                    });
    return result;
}

Vector packedUpperTriangle(const Matrix& symmetric) {
    Checks::square(symmetric);
    const std::int64_t n = symmetric.getNumRows();
    Vector result(packedSize(n), Storage::kUnfilled);
    const LineSteps steps(symmetric);
    // A band of columns at a time stays in the cache whatever the storage order.
    constexpr std::int64_t kBand = 64;
    for (std::int64_t band = 0; band < n; band += kBand) {
        const std::int64_t end = std::min(band + kBand, n);
        for (std::int64_t i = 0; i < end; ++i) {
            const double* row = symmetric.data() + i * steps.row;
            const std::int64_t first = std::max(band, i + 1);
            double* to = result.data() + packedIndex(n, i, first);
            for (std::int64_t j = first; j < end; ++j) *to++ = row[j * steps.column];
        }
    }
    return result;
}

}  // namespace Veltrix
