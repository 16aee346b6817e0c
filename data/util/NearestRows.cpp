#include "Veltrix/Data/NearestRows.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "data/util/NearestList.h"
#include "data/util/ProgressMeter.h"
#include "data/util/SingleFrame.h"
#include "support/kernels/Arrays.h"

namespace Veltrix {
namespace {

using Kernels::kInnerPanel;
using Kernels::kNearInner;
using Kernels::kNearOuter;
using Floats = Storage::Buffer<float>;

constexpr float kNoBound = std::numeric_limits<float>::quiet_NaN();

std::int64_t roundUp(std::int64_t value, std::int64_t multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

std::uint64_t product(std::int64_t a, std::int64_t b) { return static_cast<std::uint64_t>(a * b); }

/// Rows [first, + count) of a matrix side by side.
void copyRows(const Matrix& a, std::int64_t first, std::int64_t count, double* target) {
    const std::int64_t p = a.getNumCols();
    if (a.getMatrixOrder() == MatrixOrderType::rowMajor) {
        std::copy_n(a.data() + first * p, count * p, target);
    } else {
        copyTransposed({count, p}, target, p, a.data() + first, a.getNumRows());
    }
}

/// The coordinates of one row in the frame, written `step` apart; returns their squared length.
double toFrame(const SingleFrame& frame, const double* row, std::int64_t step, float* target) {
    const auto p = static_cast<std::int64_t>(frame.centre.size());
    double squares = 0.0;
    for (std::int64_t k = 0; k < p; ++k) {
        const float value = toSingle(frame.coordinate(row[k], k));
        target[k * step] = value;
        squares += static_cast<double>(value) * static_cast<double>(value);
    }
    return squares;
}

/// Searches the nearest rows of a batch of points at a time.
///
/// In the frame, with all lengths exact, a pair at distance d has xᵀy − ½‖y‖² = ½(‖x‖² − d²).
/// With u the unit roundoff of single precision, rounding the coordinates changes d by at most
/// u(‖x‖ + ‖y‖) and the sum of p products is off by at most (p + 2)u(‖x‖ + ‖y‖)²/2. For a row that
/// is wanted ‖y‖ ≤ ‖x‖ + d, so a slack of (p + 8)u(2‖x‖ + d)² is safe. A further one in the order
/// of the least normal numbers covers underflow; what overflows is far beyond any row wanted.
class Search {
  public:
    Search(const Matrix& points, const Matrix& rows, int k, bool includeTies);

    /// Points in a batch.
    std::int64_t batchSize() const { return batchSize_; }
    /// Searches for the points [first, + count).
    void run(std::int64_t first, std::int64_t count);
    /// Whether the search for point i of the batch came to an end; otherwise all of the rows have
    /// to be looked at.
    bool complete(std::int64_t i) const;
    /// What `Util::kTop` gives for point i of the batch.
    Matrix take(std::int64_t i) { return lists_[static_cast<std::size_t>(i)].take(); }

  private:
    void loadPoints(std::int64_t first, std::int64_t count);
    void loadRows(std::int64_t first, std::int64_t count);
    bool inRange(std::int64_t i) const;
    double reach(std::int64_t i) const;
    float bound(std::int64_t i) const;
    void searchBlock(std::int64_t panel, std::int64_t firstRow);
    void offerFound(std::int64_t i, const std::int32_t* found, std::int64_t count,
                    std::int64_t firstRow);

    const Matrix& points_;
    const Matrix& rows_;
    SingleFrame frame_;
    std::int64_t depth_;
    std::int64_t batchSize_;
    std::int64_t blockSize_;
    std::int64_t count_ = 0;       // points in the batch
    std::int64_t innerCount_ = 0;  // rows in the block, with padding
    std::vector<NearestList> lists_;
    Vector pointRows_;    // the batch, row after row
    Vector squares_;      // ‖x‖² in the frame
    Floats pointPanels_;  // the batch in the frame, in panels of kNearOuter
    Vector blockRows_;    // the block, row after row
    Floats blockPanels_;  // the block in the frame, in panels with starting values
    Vector exactPanel_;   // rows that deserve an exact distance
    std::vector<std::int32_t> found_;
};

/// Lengths in the frame up to which nothing of a wanted pair overflows in single precision.
constexpr double kGreatestLength = 0x1p60;

Search::Search(const Matrix& points, const Matrix& rows, int k, bool includeTies)
    : points_(points),
      rows_(rows),
      frame_(SingleFrame::aroundMedians(rows)),
      depth_(rows.getNumCols()) {
    constexpr std::int64_t kBatchValues = 16384;
    constexpr std::int64_t kBatchNeighbours = 65536;
    constexpr std::int64_t kBlockValues = 8192;
    constexpr std::int64_t kLargestBlock = 512;
    const std::int64_t width = std::max<std::int64_t>(depth_, 16);
    const std::int64_t most = std::min(kBatchValues / width, kBatchNeighbours / k);
    batchSize_ = roundUp(std::clamp<std::int64_t>(most, 1, points.getNumRows()), kNearOuter);
    blockSize_ =
        roundUp(std::clamp<std::int64_t>(kBlockValues / width, 1, kLargestBlock), kNearInner);
    const std::uint64_t batch = product(batchSize_, depth_);
    const std::uint64_t block = product(blockSize_, depth_);
    lists_.assign(static_cast<std::size_t>(batchSize_),
                  NearestList(static_cast<std::uint64_t>(k), includeTies));
    pointRows_.resize(batch);
    squares_.resize(static_cast<std::uint64_t>(batchSize_));
    pointPanels_.resize(batch);
    blockRows_.resize(block);
    blockPanels_.resize(product(blockSize_, depth_ + 1));
    exactPanel_.resize(product(kInnerPanel, depth_));
    found_.resize(product(blockSize_, kNearOuter));
}

void Search::loadPoints(std::int64_t first, std::int64_t count) {
    count_ = count;
    copyRows(points_, first, count, pointRows_.data());
    std::fill(pointPanels_.begin(), pointPanels_.end(), 0.0F);
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t place = i % kNearOuter;
        squares_.data()[i] = toFrame(frame_, pointRows_.data() + i * depth_, kNearOuter,
                                     pointPanels_.data() + (i - place) * depth_ + place);
    }
}

void Search::loadRows(std::int64_t first, std::int64_t count) {
    innerCount_ = roundUp(count, kNearInner);
    copyRows(rows_, first, count, blockRows_.data());
    std::fill(blockPanels_.begin(), blockPanels_.end(), kNoBound);
    for (std::int64_t i = 0; i < count; ++i) {
        const std::int64_t place = i % kNearInner;
        float* panel = blockPanels_.data() + (i - place) * (depth_ + 1);
        const double squares =
            toFrame(frame_, blockRows_.data() + i * depth_, kNearInner, panel + kNearInner + place);
        const float half = toSingle(0.5 * squares);
        panel[place] = std::isfinite(half) ? -half : kNoBound;
    }
}

/// Whether the filter can judge point i.
bool Search::inRange(std::int64_t i) const {
    return i < count_ && squares_.data()[i] <= kGreatestLength * kGreatestLength;
}

/// The greatest distance wanted, in the frame. It leaves room for ties and for squares that
/// underflow.
double Search::reach(std::int64_t i) const {
    constexpr double kRoomForTies = 1.0 + 1e-9;
    const double leastSquare = 1e-300 * static_cast<double>(depth_);
    const double squared = lists_[static_cast<std::size_t>(i)].reach();
    return std::sqrt(squared * kRoomForTies + leastSquare) * frame_.scale;
}

float Search::bound(std::int64_t i) const {
    constexpr double kUnderflow = 0x1p-120;
    if (!inRange(i)) return kNoBound;
    const double distance = reach(i);
    const double squares = squares_.data()[i];
    const double greatest = 2.0 * std::sqrt(squares) + distance;
    const double slack =
        static_cast<double>(depth_ + 8) * (kSingleRoundoff * greatest * greatest + kUnderflow);
    const double least = 0.5 * (squares - distance * distance) - slack;
    return least > -std::numeric_limits<float>::max() ? toSingle(least)
                                                      : -std::numeric_limits<float>::infinity();
}

void Search::run(std::int64_t first, std::int64_t count) {
    // The reach of a point shrinks from block to block, so the first ones are short.
    constexpr std::int64_t kShortestBlock = 64;
    loadPoints(first, count);
    for (NearestList& list : lists_) list.clear();
    const std::int64_t rows = rows_.getNumRows();
    ProgressMeter meter("Comparing records", static_cast<std::uint64_t>(rows));
    for (std::int64_t row = 0; row < rows;) {
        const std::int64_t block =
            std::min({std::max(row / 4, kShortestBlock), blockSize_, rows - row});
        loadRows(row, block);
        for (std::int64_t panel = 0; panel < count; panel += kNearOuter) searchBlock(panel, row);
        row += block;
        // A row is copied, and each product takes a part of a nanosecond.
        meter.add(static_cast<std::uint64_t>(block * depth_ * (4 + count / 8)),
                  static_cast<std::uint64_t>(block));
    }
}

void Search::searchBlock(std::int64_t panel, std::int64_t firstRow) {
    float bounds[kNearOuter];
    std::int64_t foundCounts[kNearOuter];
    for (std::int64_t r = 0; r < kNearOuter; ++r) bounds[r] = bound(panel + r);
    Kernels::NearRowsStrip strip{};
    strip.depth = depth_;
    strip.outer = pointPanels_.data() + panel * depth_;
    strip.bounds = bounds;
    strip.inner = blockPanels_.data();
    strip.innerCount = innerCount_;
    strip.found = found_.data();
    strip.foundCounts = foundCounts;
    Kernels::arrays().nearRows(strip);
    for (std::int64_t r = 0; r < kNearOuter; ++r) {
        offerFound(panel + r, found_.data() + r * innerCount_, foundCounts[r], firstRow);
    }
}

/// Exact distances of point i, by the kernel of all other distances, to rows of the block.
void Search::offerFound(std::int64_t i, const std::int32_t* found, std::int64_t count,
                        std::int64_t firstRow) {
    double distances[kInnerPanel];
    Kernels::DistanceStrip strip{};
    strip.depth = depth_;
    strip.outer = pointRows_.data() + i * depth_;
    strip.outerWidth = 1;
    strip.outerCount = 1;
    strip.inner = exactPanel_.data();
    strip.innerCount = kInnerPanel;
    strip.target = distances;
    strip.targetStep = kInnerPanel;
    for (std::int64_t done = 0; done < count; done += kInnerPanel) {
        const std::int64_t inPanel = std::min(kInnerPanel, count - done);
        for (std::int64_t c = 0; c < inPanel; ++c) {
            const double* row = blockRows_.data() + found[done + c] * depth_;
            double* target = exactPanel_.data() + c;
            for (std::int64_t k = 0; k < depth_; ++k) target[k * kInnerPanel] = row[k];
        }
        Kernels::arrays().squaredDifferences(strip);
        for (std::int64_t c = 0; c < inPanel; ++c) {
            const auto row = static_cast<int>(firstRow + found[done + c]);
            lists_[static_cast<std::size_t>(i)].offer({distances[c], row});
        }
    }
}

bool Search::complete(std::int64_t i) const {
    const NearestList& list = lists_[static_cast<std::size_t>(i)];
    // The reach is infinite as long as rows are missing.
    return inRange(i) && !list.crowded() && reach(i) <= kGreatestLength;
}

}  // namespace

void visitNearestRows(const Matrix& points, const Matrix& rows, int k, bool includeTies,
                      bool skipNaN,
                      const std::function<void(int point, const Matrix& nearest)>& visit) {
    Checks::counts("Nearest rows", points.getNumCols(), "columns in the points", rows.getNumCols(),
                   "columns in the rows");
    const int count = points.getNumRows();
    if (count == 0) return;
    const int wanted = std::clamp(k, 1, std::max(rows.getNumRows(), 1));
    Search search(points, rows, wanted, includeTies);
    const auto batch = static_cast<int>(search.batchSize());
    ProgressMeter meter("Finding neighbours", static_cast<std::uint64_t>(count));
    for (int first = 0; first < count; first += batch) {
        const int inBatch = std::min(batch, count - first);
        search.run(first, inBatch);
        for (int i = 0; i < inBatch; ++i) {
            if (k >= 1 && search.complete(i)) {
                visit(first + i, search.take(i));
                meter.add(100 + 10 * static_cast<std::uint64_t>(wanted), 1);
            } else {
                const Vector point = Convert::toDoubleVector(points(first + i, Util::all));
                visit(first + i, Util::kTop(Util::pairwiseDistance(point, rows, true), k,
                                            includeTies, skipNaN, Ordering::smallestFirst));
                meter.add(10 * static_cast<std::uint64_t>(rows.getNumRows()), 1);
            }
        }
    }
}

}  // namespace Veltrix
