#include "Veltrix/Data/NearestCentroid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <vector>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Storage.h"
#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "data/util/SingleFrame.h"
#include "support/kernels/Arrays.h"
#include "support/kernels/Centroids.h"

namespace Veltrix {
namespace {

using Kernels::kScreenCentroids;
using Kernels::kScreenRecords;

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
    const IntVector found = Util::indexesOfRowMin(Util::pairwiseDistance(
        x(numbers, Util::all), centroids, MatrixOrderType::columnMajor, true));
    for (std::uint64_t i = 0; i < numbers.size(); ++i) {
        nearest[static_cast<std::uint64_t>(numbers[i])] = found[i];
    }
}

}  // namespace

IntVector nearestCentroids(const Matrix& x, const Matrix& centroids) {
    Checks::counts("Nearest centroids", x.getNumCols(), "columns in the rows",
                   centroids.getNumCols(), "columns in the centroids");
    ProgressPhase phase("Assigning", static_cast<std::uint64_t>(x.getNumRows()));
    const std::int64_t batch = batchSize(x, centroids);
    const std::int64_t n = x.getNumRows();
    IntVector nearest(static_cast<std::uint64_t>(n));
    for (std::int64_t first = 0; first < n; first += batch) {
        IntVector numbers(static_cast<std::uint64_t>(std::min(batch, n - first)));
        std::iota(numbers.begin(), numbers.end(), static_cast<int>(first));
        settle(x, numbers, centroids, nearest);
        phase.advance(numbers.size());
    }
    return nearest;
}

/// Moved into the frame, half the squared distance of record r and centroid c is
/// f(c) = ‖c‖²/2 − rᵀc up to a term that all centroids share. In single precision f is off by at
/// most ε = κ(‖r‖‖c‖ + ‖c‖²/2 + floor), κ a little more than the number of coordinates times the
/// unit roundoff (Higham 2002, section 3.1). A record is settled when f of one centroid is certain
/// to be least.
class NearestCentroid::Screening {
  public:
    Screening(const Matrix& x, double largest);

    /// False, and nothing done, where single precision cannot hold the centroids.
    bool find(const Matrix& centroids, IntVector& nearest) const;

  private:
    struct PackedCentroids {
        std::vector<float> values;
        std::vector<float> offsets;
        std::vector<float> lengths;
    };

    void packRecords(std::int64_t first, float* panel) const;
    bool packCentroids(const Matrix& centroids, PackedCentroids& packed) const;

    const Matrix& x_;
    double slope_;  ///< κ
    SingleFrame frame_;
    Storage::Buffer<float> records_;  ///< in panels
};

NearestCentroid::Screening::Screening(const Matrix& x, double largest)
    : x_(x),
      slope_(1.25 * (x.getNumCols() + 8.0) * kSingleRoundoff),
      frame_(SingleFrame::aroundMeans(x, largest)) {
    const std::int64_t panels = (x.getNumRows() + kScreenRecords - 1) / kScreenRecords;
    const std::int64_t panelSize = (x.getNumCols() + 1) * kScreenRecords;
    records_.resize(static_cast<std::size_t>(panels * panelSize));
    for (std::int64_t p = 0; p < panels; ++p) {
        packRecords(p * kScreenRecords, records_.data() + p * panelSize);
    }
}

/// The last coordinate of a record is its length.
void NearestCentroid::Screening::packRecords(std::int64_t first, float* panel) const {
    const LineSteps steps(x_);
    const std::int64_t count = std::min(kScreenRecords, x_.getNumRows() - first);
    std::array<double, kScreenRecords> squares{};
    if (count < kScreenRecords) {
        std::fill_n(panel, (x_.getNumCols() + 1) * kScreenRecords, 0.0F);
    }
    for (int k = 0; k < x_.getNumCols(); ++k, panel += kScreenRecords) {
        const double* values = x_.data() + first * steps.row + k * steps.column;
        for (std::int64_t r = 0; r < count; ++r) {
            const double value = frame_.coordinate(values[r * steps.row], k);
            squares[static_cast<std::size_t>(r)] += value * value;
            panel[r] = static_cast<float>(value);
        }
    }
    for (std::int64_t r = 0; r < count; ++r) {
        panel[r] = static_cast<float>(std::sqrt(squares[static_cast<std::size_t>(r)]) * kRoundUp);
    }
}

/// The last coordinate takes the error's first term off the score, the offset the other two.
bool NearestCentroid::Screening::packCentroids(const Matrix& centroids,
                                               PackedCentroids& packed) const {
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
            const double value = frame_.coordinate(centroids(static_cast<int>(c), j), j);
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

bool NearestCentroid::Screening::find(const Matrix& centroids, IntVector& nearest) const {
    PackedCentroids packed;
    if (!packCentroids(centroids, packed)) return false;
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
    ProgressPhase phase("Assigning", static_cast<std::uint64_t>(n));
    for (std::int64_t first = 0; first < n; first += kScreenRecords) {
        screen.records = records_.data() + first * screen.depth;
        screen.recordLengths = screen.records + (screen.depth - 1) * kScreenRecords;
        const std::int64_t numUnsure = Kernels::centroids().screen(screen);
        const std::int64_t count = std::min(kScreenRecords, n - first);
        std::copy_n(found.data(), count, nearest.data() + first);
        phase.advance(static_cast<std::uint64_t>(count));
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
    return true;
}

NearestCentroid::NearestCentroid(const Matrix& x, const char* operation) : x_(x) {
    Checks::finite(operation, x);
    // Beyond these limits the error bound, or the squares in double precision, would not hold.
    constexpr int kMostColumns = 100000;
    constexpr int kLargestExponent = 400;
    const double largest = Kernels::arrays().largestMagnitude(sizeOf(x), x.data());
    int exponent = 0;
    std::frexp(largest, &exponent);
    if (x.getNumCols() > kMostColumns || std::abs(exponent) > kLargestExponent) return;
    screening_ = std::make_unique<const Screening>(x, largest);
}

NearestCentroid::~NearestCentroid() = default;

void NearestCentroid::find(const Matrix& centroids, IntVector& nearest) const {
    Checks::counts("Nearest centroids", x_.getNumCols(), "columns in the rows",
                   centroids.getNumCols(), "columns in the centroids");
    nearest.resize(static_cast<std::uint64_t>(x_.getNumRows()));
    if (screening_ == nullptr || !screening_->find(centroids, nearest)) {
        nearest = nearestCentroids(x_, centroids);
    }
}

}  // namespace Veltrix
