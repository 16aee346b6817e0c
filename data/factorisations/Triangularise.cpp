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
          factors_(static_cast<std::size_t>(Kernels::kColumnMultiple * columns)),
          largest_(static_cast<std::size_t>(columns), 0.0) {}

    /// Looks at a block, and folds it unless squares would have overflowed or vanished by now.
    /// Returns false when a value is not finite.
    bool add(DesignBlock& block) {
        for (std::int64_t j = 0; j < columns_; ++j) {
            const double largest =
                kernels_.largestMagnitude(block.ld(), block.data() + j * block.ld());
            if (!std::isfinite(largest)) return false;
            extreme_ = extreme_ || scalingExponent(largest) != 0;
            double& known = largest_[static_cast<std::size_t>(j)];
            known = std::max(known, largest);
        }
        if (!extreme_) fold(block);
        return true;
    }

    /// Whether all is to be done again by a builder that scales the columns.
    bool extreme() const { return extreme_; }
    std::vector<int> exponents() const {
        std::vector<int> result;
        for (const double largest : largest_) result.push_back(scalingExponent(largest));
        return result;
    }

    void addScaled(DesignBlock& block, const std::vector<int>& exponents) {
        for (std::size_t j = 0; j < exponents.size(); ++j) {
            const auto place = static_cast<std::int64_t>(j) * block.ld();
            if (exponents[j] != 0) scaleByPower(-exponents[j], block.ld(), block.data() + place);
        }
        fold(block);
    }

    /// The leading part of that many columns.
    Matrix take(int columns) {
        triangle_.resize(columns, columns);
        return std::move(triangle_);
    }

  private:
    void fold(DesignBlock& block) {
        kernels_.fold(block.ld(), columns_, block.data(), triangle_.data(), factors_.data());
    }

    const Kernels::RowBlocks& kernels_ = Kernels::rowBlocks();
    std::int64_t columns_;
    Matrix triangle_;
    Storage::Buffer<double> factors_;
    std::vector<double> largest_;
    bool extreme_ = false;
};

/// Runs operation(block) on [D b], or on D alone when there is no b, padded to `columns` columns.
template <class Operation>
void forEachBlock(const DesignRows& design, const Vector* b, std::int64_t columns,
                  Operation operation) {
    const std::int64_t n = design.getNumRows();
    const int p = design.getNumCols();
    const std::int64_t step = std::min(cachedRows(columns), std::max<std::int64_t>(n, 1));
    DesignBlock block(design, step, columns);
    ProgressPhase phase("Factorising", static_cast<std::uint64_t>(n));
    for (std::int64_t first = 0; first < n; first += step) {
        block.start(first, std::min(step, n - first));
        for (int j = 0; j < p; ++j) block.load(j, j);
        if (b != nullptr) block.load(*b, p);
        for (std::int64_t j = b == nullptr ? p : p + 1; j < columns; ++j) block.clear(j);
        operation(block);
        phase.advance(static_cast<std::uint64_t>(block.count()));
    }
}

/// Triangle of [D b], or of D alone when there is no b.
Matrix foldBlocks(const DesignRows& design, const Vector* b) {
    const int used = design.getNumCols() + (b == nullptr ? 0 : 1);
    const std::int64_t columns = padded(used, Kernels::kColumnMultiple);
    TriangleBuilder builder(columns);
    forEachBlock(design, b, columns, [&](DesignBlock& block) {
        if (!builder.add(block)) reportNotFinite(design, b);
    });
    if (!builder.extreme()) return builder.take(used);
    // Powers of two change nothing but the length of the columns.
    const std::vector<int> exponents = builder.exponents();
    TriangleBuilder scaled(columns);
    forEachBlock(design, b, columns,
                 [&](DesignBlock& block) { scaled.addScaled(block, exponents); });
    Matrix result = scaled.take(used);
    for (int j = 0; j < used; ++j) {
        scaleByPower(exponents[static_cast<std::size_t>(j)], used,
                     result.data() + std::int64_t{j} * used);
    }
    return result;
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
