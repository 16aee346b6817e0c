#include "engine/unsupervised/KMC/NearestCentroid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <string>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Util.h"
#include "support/kernels/Arrays.h"
#include "support/kernels/Centroids.h"

namespace Veltrix::Engine::KMC {
namespace {

using Kernels::kScreenCentroids;
using Kernels::kScreenRecords;

constexpr double kSingleRoundoff = 0x1p-24;
/// What single precision may lose to underflow, far below every length that counts.
constexpr float kFloor = 1e-30F;
/// Lengths are rounded up.
constexpr double kRoundUp = 1.0 + 1e-6;

/// Records whose distances are computed together: they and their distances stay in the cache.
std::int64_t batchSize(const Matrix& x, const Matrix& centroids) {
    constexpr std::int64_t kElements = 65536;
    constexpr std::int64_t kLeast = 64;
    const std::int64_t perRecord = std::int64_t{x.getNumCols()} + centroids.getNumRows();
    return std::max(kLeast, kElements / perRecord);
}

/// The nearest centroids of the records with these numbers.
void settle(const Matrix& x, const IntVector& numbers, const Matrix& centroids,
            IntVector& nearest) {
    const IntVector found = Veltrix::Util::indexesOfRowMin(Veltrix::Util::pairwiseDistance(
        x(numbers, Veltrix::Util::all), centroids, MatrixOrderType::columnMajor, true));
    for (std::uint64_t i = 0; i < numbers.size(); ++i) {
        nearest[static_cast<std::uint64_t>(numbers[i])] = found[i];
    }
}

}  // namespace

double checkFinite(const char* operation, const Matrix& x) {
    const double largest =
        Kernels::arrays().largestMagnitude(std::int64_t{x.getNumRows()} * x.getNumCols(), x.data());
    if (std::isfinite(largest)) return largest;
    for (int i = 0; i < x.getNumRows(); ++i) {
        for (int j = 0; j < x.getNumCols(); ++j) {
            if (std::isfinite(x(i, j))) continue;
            throw Exception(std::string(operation) + ": value in row " + std::to_string(i) +
                            ", column " + std::to_string(j) + " is " +
                            Convert::toString(x(i, j)).toUtf8() + ", expected a finite number");
        }
    }
    return largest;
}

IntVector nearestByDistance(const Matrix& x, const Matrix& centroids) {
    const std::int64_t batch = batchSize(x, centroids);
    const std::int64_t n = x.getNumRows();
    IntVector nearest(static_cast<std::uint64_t>(n));
    for (std::int64_t first = 0; first < n; first += batch) {
        IntVector numbers(static_cast<std::uint64_t>(std::min(batch, n - first)));
        std::iota(numbers.begin(), numbers.end(), static_cast<int>(first));
        settle(x, numbers, centroids, nearest);
    }
    return nearest;
}

NearestCentroid::NearestCentroid(const Matrix& x, double largest)
    : x_(x), slope_(1.25 * (x.getNumCols() + 8.0) * kSingleRoundoff) {
    // Beyond these limits the error bound, or the squares in double precision, would not hold.
    constexpr int kMostColumns = 100000;
    constexpr int kLargestExponent = 400;
    int exponent = 0;
    std::frexp(largest, &exponent);
    if (x.getNumCols() > kMostColumns || std::abs(exponent) > kLargestExponent) return;
    // Differences from the middle are at most twice the largest value.
    scale_ = std::ldexp(1.0, -exponent - 1);
    middle_ = Veltrix::Util::mean(x);
    const std::int64_t panels = (x.getNumRows() + kScreenRecords - 1) / kScreenRecords;
    const std::int64_t panelSize = (x.getNumCols() + 1) * kScreenRecords;
    records_.resize(static_cast<std::size_t>(panels * panelSize));
    for (std::int64_t p = 0; p < panels; ++p) {
        packRecords(p * kScreenRecords, records_.data() + p * panelSize);
    }
}

/// The last coordinate of a record is its length.
void NearestCentroid::packRecords(std::int64_t first, float* panel) const {
    const Steps steps(x_);
    const std::int64_t count = std::min(kScreenRecords, x_.getNumRows() - first);
    std::array<double, kScreenRecords> squares{};
    if (count < kScreenRecords) {
        std::fill_n(panel, (x_.getNumCols() + 1) * kScreenRecords, 0.0F);
    }
    for (int k = 0; k < x_.getNumCols(); ++k, panel += kScreenRecords) {
        const double* values = x_.data() + first * steps.row + k * steps.column;
        const double middle = middle_.data()[k];
        for (std::int64_t r = 0; r < count; ++r) {
            const double value = (values[r * steps.row] - middle) * scale_;
            squares[static_cast<std::size_t>(r)] += value * value;
            panel[r] = static_cast<float>(value);
        }
    }
    for (std::int64_t r = 0; r < count; ++r) {
        panel[r] = static_cast<float>(std::sqrt(squares[static_cast<std::size_t>(r)]) * kRoundUp);
    }
}

/// The last coordinate takes the error's first term off the score, the offset the other two.
bool NearestCentroid::packCentroids(const Matrix& centroids, PackedCentroids& packed) const {
    const std::int64_t k = centroids.getNumRows();
    const std::int64_t depth = std::int64_t{x_.getNumCols()} + 1;
    constexpr double kLargest = 1e15;  // squares stay within single precision
    packed.values.resize(static_cast<std::size_t>(k * depth));
    packed.offsets.resize(static_cast<std::size_t>(k));
    packed.lengths.resize(static_cast<std::size_t>(k));
    for (std::int64_t c = 0; c < k; ++c) {
        const std::int64_t group = c - c % kScreenCentroids;
        const std::int64_t width = std::min(kScreenCentroids, k - group);
        float* place = packed.values.data() + group * depth + (c - group);
        double square = 0.0;
        for (int j = 0; j < x_.getNumCols(); ++j, place += width) {
            const double value = (centroids(static_cast<int>(c), j) - middle_.data()[j]) * scale_;
            if (!(std::fabs(value) < kLargest)) return false;
            square += value * value;
            *place = static_cast<float>(-value);
        }
        const double length = std::sqrt(square) * kRoundUp;
        *place = static_cast<float>(-slope_ * length);
        packed.lengths.data()[c] = static_cast<float>(length);
        packed.offsets.data()[c] =
            static_cast<float>(0.5 * square - slope_ * (0.5 * length * length + kFloor));
    }
    return true;
}

void NearestCentroid::find(const Matrix& centroids, IntVector& nearest) const {
    PackedCentroids packed;
    if (records_.empty() || !packCentroids(centroids, packed)) {
        nearest = nearestByDistance(x_, centroids);
        return;
    }
    const std::int64_t n = x_.getNumRows();
    const auto batch = static_cast<std::uint64_t>(batchSize(x_, centroids));
    std::array<std::int32_t, kScreenRecords> found{};
    std::array<std::int32_t, kScreenRecords> unsure{};
    Kernels::Screen screen{};
    screen.depth = std::int64_t{x_.getNumCols()} + 1;
    screen.numCentroids = centroids.getNumRows();
    screen.centroids = packed.values.data();
    screen.offsets = packed.offsets.data();
    screen.centroidLengths = packed.lengths.data();
    screen.slope = static_cast<float>(slope_);
    screen.floor = kFloor;
    // Squared distances in double precision may be wrong in this share of ‖r‖².
    screen.share = static_cast<float>((x_.getNumCols() + 8.0) * 0x1p-52);
    screen.nearest = found.data();
    screen.unsure = unsure.data();
    IntVector waiting;
    for (std::int64_t first = 0; first < n; first += kScreenRecords) {
        screen.records = records_.data() + first * screen.depth;
        screen.recordLengths = screen.records + (screen.depth - 1) * kScreenRecords;
        const std::int64_t numUnsure = Kernels::centroids().screen(screen);
        const std::int64_t count = std::min(kScreenRecords, n - first);
        std::copy_n(found.data(), count, nearest.data() + first);
        if (numUnsure == 0) continue;
        for (std::int64_t r = 0; r < count; ++r) {
            if (unsure[static_cast<std::size_t>(r)] == 0) continue;
            waiting.push_back(static_cast<int>(first + r));
        }
        if (waiting.size() < batch) continue;
        settle(x_, waiting, centroids, nearest);
        waiting.clear();
    }
    if (!waiting.empty()) settle(x_, waiting, centroids, nearest);
}

}  // namespace Veltrix::Engine::KMC
