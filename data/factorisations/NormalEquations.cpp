#include "Veltrix/Data/NormalEquations.h"

#include <algorithm>
#include <vector>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Storage.h"
#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "support/kernels/CrossProducts.h"

namespace Veltrix {
namespace {

constexpr const char* kOperation = "Normal equations";

/// Rows of a block that stays in the second-level cache, a few of its columns in the first. Shorter
/// blocks would spend their time on the sums.
std::int64_t usualRows(std::int64_t columns) {
    constexpr std::int64_t kElements = 32768;
    return std::clamp<std::int64_t>(kElements / std::max<std::int64_t>(columns, 1), 64, 256);
}

void check(const DesignRows& design, const IntVector& columns, const Vector& coefficients) {
    Checks::indexes(kOperation, "design column", {columns.data(), columns.size()},
                    design.getNumCols());
    if (!coefficients.empty()) {
        Checks::counts(kOperation, columns.size(), "columns", coefficients.size(), "coefficients");
    }
}

/// The columns of one row block after the other. Those of a column-major matrix are read where they
/// stand; of a row-major one the block is copied.
class ColumnBlocks {
  public:
    ColumnBlocks(const DesignRows& design, const IntVector& columns, std::int64_t rows)
        : design_(design),
          columns_(columns),
          rows_(rows),
          values_(design.x.data()),
          rowMajor_(design.x.getMatrixOrder() == MatrixOrderType::rowMajor),
          ones_(static_cast<std::size_t>(design.intercept ? rows : 0), 1.0),
          copy_(rowMajor_ ? static_cast<std::size_t>(rows * design.x.getNumCols()) : 0),
          pointers_(columns.size() + static_cast<std::size_t>(Kernels::kTileRows)) {}

    void start(std::int64_t first, std::int64_t count) {
        const std::int64_t p = design_.x.getNumCols();
        if (rowMajor_) {
            copyTransposed({p, count}, copy_.data(), rows_, values_ + first * p, p);
        }
        const double* const origin = rowMajor_ ? copy_.data() : values_ + first;
        const std::int64_t step = rowMajor_ ? rows_ : std::int64_t{design_.x.getNumRows()};
        for (std::size_t k = 0; k < columns_.size(); ++k) {
            const std::int64_t j = columns_[k] - (design_.intercept ? 1 : 0);
            pointers_[k] = j < 0 ? ones_.data() : origin + j * step;
        }
        // Any column does where a tile reaches beyond the last one.
        const auto end = pointers_.begin() + static_cast<std::ptrdiff_t>(columns_.size());
        std::fill(end, pointers_.end(), pointers_.front());
    }

    const double* const* pointers() const { return pointers_.data(); }

  private:
    const DesignRows& design_;
    const IntVector& columns_;
    std::int64_t rows_;
    const double* values_;
    bool rowMajor_;
    Storage::Buffer<double> ones_;
    Storage::Buffer<double> copy_;
    std::vector<const double*> pointers_;
};

/// Runs operation(pointers to the columns, first row, number of rows) on every block.
template <class Operation>
void forEachBlock(const DesignRows& design, const IntVector& columns, std::int64_t rows,
                  const char* phaseName, Operation operation) {
    const std::int64_t n = design.getNumRows();
    ColumnBlocks blocks(design, columns, rows);
    ProgressPhase phase(phaseName, static_cast<std::uint64_t>(n));
    for (std::int64_t first = 0; first < n; first += rows) {
        const std::int64_t count = std::min(rows, n - first);
        blocks.start(first, count);
        operation(blocks.pointers(), first, count);
        phase.advance(static_cast<std::uint64_t>(count));
    }
}

/// The upper triangle of `sums`, mirrored.
Matrix symmetric(const Storage::Buffer<double>& sums, int columns, std::int64_t ld) {
    Matrix result(columns, columns);
    for (int k = 0; k < columns; ++k) {
        for (int j = 0; j <= k; ++j) {
            result(j, k) = result(k, j) = sums[static_cast<std::size_t>(j + k * ld)];
        }
    }
    return result;
}

}  // namespace

void readProducts(const DesignRows& design, const IntVector& columns, const Vector& coefficients,
                  const ProductReader& reader) {
    check(design, columns, coefficients);
    Checks::counts(kOperation, columns.size(), "columns", coefficients.size(), "coefficients");
    const auto k = static_cast<std::int64_t>(columns.size());
    const std::int64_t rows = usualRows(k);
    Storage::Buffer<double> products(static_cast<std::size_t>(rows));
    forEachBlock(design, columns, rows, "Combining columns",
                 [&](const double* const* x, std::int64_t first, std::int64_t count) {
                     Kernels::crossProducts().combine(count, k, x, coefficients.data(),
                                                      products.data());
                     reader(static_cast<std::uint64_t>(first),
                            {products.data(), static_cast<std::size_t>(count)});
                 });
}

NormalEquations normalEquations(const DesignRows& design, const IntVector& columns,
                                const Vector& coefficients, const RecordWeigher& weigher,
                                int blockRows) {
    check(design, columns, coefficients);
    const Kernels::CrossProducts& kernels = Kernels::crossProducts();
    const auto k = static_cast<std::int64_t>(columns.size());
    const std::int64_t rows = std::min<std::int64_t>(blockRows > 0 ? blockRows : usualRows(k),
                                                     std::max(design.getNumRows(), 1));
    const auto size = static_cast<std::size_t>(rows);
    Storage::Buffer<double> products(size, 0.0);
    Storage::Buffer<double> weights(size);
    Storage::Buffer<double> residuals(size);
    Storage::Buffer<double> scratch(size * static_cast<std::size_t>(Kernels::kTileCols));
    const std::int64_t ld = k + Kernels::kTileRows;
    Storage::Buffer<double> sums(static_cast<std::size_t>(ld * (k + Kernels::kTileCols)), 0.0);
    NormalEquations result{{}, Vector(columns.size(), 0.0)};
    forEachBlock(design, columns, rows, "Forming normal equations",
                 [&](const double* const* x, std::int64_t first, std::int64_t count) {
                     if (!coefficients.empty()) {
                         kernels.combine(count, k, x, coefficients.data(), products.data());
                     }
                     const auto length = static_cast<std::size_t>(count);
                     weigher(static_cast<std::uint64_t>(first), {products.data(), length},
                             {weights.data(), length}, {residuals.data(), length});
                     kernels.addProducts(count, k, x, residuals.data(), result.rightSide.data());
                     kernels.addCrossProduct(count, k, x, weights.data(), sums.data(), ld,
                                             scratch.data());
                 });
    result.crossProduct = symmetric(sums, static_cast<int>(k), ld);
    return result;
}

}  // namespace Veltrix
