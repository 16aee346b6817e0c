#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/Progress.h"
#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "data/factorisations/DesignBlock.h"
#include "support/LinearAlgebra.h"
#include "support/kernels/RowBlocks.h"

namespace Veltrix {
namespace {

constexpr const char* kOperation = "Design matrix";

[[noreturn]] void failNotFinite(const std::string& where, double value) {
    Checks::fail(ErrorCode::notFinite, kOperation,
                 where + " is " + (std::isnan(value) ? "NaN" : "infinite"));
}

/// Finds what made a block not finite.
[[noreturn]] void reportNotFinite(const DesignRows& design, const Vector* b) {
    for (int i = 0; i < design.getNumRows(); ++i) {
        const std::string row = "row " + std::to_string(i);
        const auto place = static_cast<std::uint64_t>(i);
        for (int j = 0; j < design.x.getNumCols(); ++j) {
            if (!std::isfinite(design.x(i, j))) {
                failNotFinite(row + ", column " + std::to_string(j), design.x(i, j));
            }
        }
        if (b != nullptr && !std::isfinite((*b)[place])) {
            failNotFinite("response, " + row, (*b)[place]);
        }
        if (design.scale != nullptr && !std::isfinite((*design.scale)[place])) {
            failNotFinite("row factor, " + row, (*design.scale)[place]);
        }
    }
    Checks::fail(ErrorCode::notFinite, kOperation,
                 "the scaled values exceed the range of a double");
}

/// Folds row blocks into the triangle of all rows seen so far.
class TriangleBuilder {
  public:
    explicit TriangleBuilder(std::int64_t columns)
        : columns_(columns),
          triangle_(static_cast<int>(columns), static_cast<int>(columns)),
          factors_(static_cast<std::size_t>(Kernels::kColumnMultiple * columns)) {}

    /// Returns false when a value is not finite.
    bool add(DesignBlock& block) {
        for (std::int64_t j = 0; j < columns_; ++j) {
            const double largest =
                kernels_.largestMagnitude(block.ld(), block.data() + j * block.ld());
            if (!std::isfinite(largest)) return false;
            // Outside this range the kernels' squares could overflow or vanish; from then on the
            // slower routine, which scales, takes over.
            extreme_ = extreme_ || largest > 1e120 || (largest > 0.0 && largest < 1e-120);
        }
        if (extreme_) {
            Support::tpqrt(block.ld(), columns_, 0, Kernels::kColumnMultiple, triangle_.data(),
                           columns_, block.data(), block.ld(), factors_.data(),
                           Kernels::kColumnMultiple);
        } else {
            kernels_.fold(block.ld(), columns_, block.data(), triangle_.data(), factors_.data());
        }
        return true;
    }

    /// The leading part of that many columns.
    Matrix take(int columns) {
        triangle_.resize(columns, columns);
        return std::move(triangle_);
    }

  private:
    const Kernels::RowBlocks& kernels_ = Kernels::rowBlocks();
    std::int64_t columns_;
    Matrix triangle_;
    Storage::Buffer<double> factors_;
    bool extreme_ = false;
};

/// Triangle of [D b], or of D alone when there is no b.
Matrix foldBlocks(const DesignRows& design, const Vector* b) {
    const std::int64_t n = design.getNumRows();
    const int p = design.getNumCols();
    const int used = b == nullptr ? p : p + 1;
    const std::int64_t columns =
        (used + Kernels::kColumnMultiple - 1) / Kernels::kColumnMultiple * Kernels::kColumnMultiple;
    const std::int64_t step = std::min(cachedRows(columns), std::max<std::int64_t>(n, 1));
    DesignBlock block(design, step, columns);
    TriangleBuilder builder(columns);
    ProgressPhase phase("Factorising", static_cast<std::uint64_t>(n));
    for (std::int64_t first = 0; first < n; first += step) {
        block.start(first, std::min(step, n - first));
        for (int j = 0; j < p; ++j) block.load(j, j);
        if (b != nullptr) block.load(*b, p);
        for (std::int64_t j = used; j < columns; ++j) block.clear(j);
        if (!builder.add(block)) reportNotFinite(design, b);
        phase.advance(static_cast<std::uint64_t>(block.count()));
    }
    return builder.take(used);
}

/// Neighbouring columns of a transformation; rows from `usedRows` on are zero in all of them.
struct Panel {
    int first;
    int width;
    int usedRows;
};

std::vector<Panel> columnPanels(const Matrix& t) {
    constexpr int kWidth = 12;
    std::vector<Panel> panels;
    for (int first = 0; first < t.getNumCols(); first += kWidth) {
        const int width = std::min(kWidth, t.getNumCols() - first);
        int used = 0;
        for (int j = first; j < first + width; ++j) {
            for (int i = used; i < t.getNumRows(); ++i) {
                if (t(i, j) != 0.0) used = i + 1;
            }
        }
        panels.push_back({first, width, used});
    }
    return panels;
}

}  // namespace

Matrix triangularise(const DesignRows& design, const Vector& b) {
    Checks::counts(kOperation, design.getNumRows(), "rows", b.size(), "responses");
    return foldBlocks(design, &b);
}

Matrix triangularise(const DesignRows& design) { return foldBlocks(design, nullptr); }

Vector rowSquaredNorms(const DesignRows& design, const IntVector& columns, const Matrix& t) {
    Checks::counts("Row norms", columns.size(), "columns", t.getNumRows(),
                   "rows in the transformation");
    Checks::indexes("Row norms", "design column", {columns.data(), columns.size()},
                    design.getNumCols());
    const Kernels::RowBlocks& kernels = Kernels::rowBlocks();
    const Matrix transform = inOrder(t, MatrixOrderType::columnMajor);
    const std::vector<Panel> panels = columnPanels(transform);
    const std::int64_t n = design.getNumRows();
    const std::int64_t k = t.getNumRows();
    const std::int64_t step = std::min(cachedRows(k), std::max<std::int64_t>(n, 1));
    DesignBlock block(design, step, k);
    Storage::Buffer<double> blockNorms(static_cast<std::size_t>(step + Kernels::kRowMultiple));
    Vector norms(static_cast<std::uint64_t>(n));
    ProgressPhase phase("Computing row norms", static_cast<std::uint64_t>(n));
    for (std::int64_t first = 0; first < n; first += step) {
        block.start(first, std::min(step, n - first));
        for (std::int64_t j = 0; j < k; ++j) {
            block.load(columns[static_cast<std::uint64_t>(j)], j);
        }
        std::fill(blockNorms.begin(), blockNorms.end(), 0.0);
        for (const Panel& panel : panels) {
            kernels.addRowNorms(block.ld(), panel.usedRows, block.data(),
                                transform.data() + panel.first * k, k, panel.width,
                                blockNorms.data());
        }
        std::copy_n(blockNorms.begin(), block.count(), norms.data() + first);
        phase.advance(static_cast<std::uint64_t>(block.count()));
    }
    return norms;
}

Vector normalResidual(const DesignRows& design, const Vector& b, const Vector& coefficients) {
    const std::int64_t n = design.getNumRows();
    const int p = design.getNumCols();
    Checks::counts("Normal residual", n, "rows", b.size(), "responses");
    Checks::counts("Normal residual", p, "columns", coefficients.size(), "coefficients");
    // Row factors are applied to the exact residuals, so the block itself is not scaled.
    const DesignRows unscaled{design.x, design.intercept};
    const DesignRows factorsOnly{design.x, true, design.scale};
    const std::int64_t step = std::min(cachedRows(p + 4), std::max<std::int64_t>(n, 1));
    DesignBlock block(unscaled, step, p + 1);
    DesignBlock factors(factorsOnly, step, 1);
    Storage::Buffer<double> work(static_cast<std::size_t>(2 * (step + Kernels::kRowMultiple)));
    Vector sums(static_cast<std::uint64_t>(p));
    Vector rests(static_cast<std::uint64_t>(p));
    ProgressPhase phase("Forming residuals", static_cast<std::uint64_t>(n));
    for (std::int64_t first = 0; first < n; first += step) {
        block.start(first, std::min(step, n - first));
        for (int j = 0; j < p; ++j) block.load(j, j);
        block.load(b, p);
        if (design.scale != nullptr) {
            factors.start(first, block.count());
            factors.load(0, 0);
        }
        Kernels::rowBlocks().addNormalResidual(
            block.ld(), p, block.data(), block.data() + p * block.ld(),
            design.scale == nullptr ? nullptr : factors.data(), coefficients.data(), work.data(),
            sums.data(), rests.data());
        phase.advance(static_cast<std::uint64_t>(block.count()));
    }
    return sums + rests;
}

}  // namespace Veltrix
