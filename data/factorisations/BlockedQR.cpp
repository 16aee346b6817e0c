#include "data/factorisations/BlockedQR.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "Veltrix/Data/Util.h"
#include "data/containers/Lines.h"
#include "data/factorisations/DesignBlock.h"
#include "support/LinearAlgebra.h"
#include "support/kernels/Arrays.h"
#include "support/kernels/RowBlocks.h"

namespace Veltrix::BlockedQR {
namespace {

/// How the rows below the leading `columns` ones are divided.
struct Plan {
    Plan(std::int64_t numRows, std::int64_t numColumns)
        : rows(numRows),
          columns(numColumns),
          width(padded(columns, Kernels::kColumnMultiple)),
          step(cachedRows(width)),
          blocks((rows - columns + step - 1) / step) {}

    /// First row of a block, number of its rows, and that with padding.
    std::int64_t first(std::int64_t block) const { return columns + block * step; }
    std::int64_t count(std::int64_t block) const { return std::min(step, rows - first(block)); }
    std::int64_t height(std::int64_t block) const {
        return padded(count(block), Kernels::kRowMultiple);
    }
    /// Where the reflectors of a block start, and its triangular factors.
    std::int64_t reflectors(std::int64_t block) const { return block * step * width; }
    std::int64_t factors(std::int64_t block) const {
        return block * Kernels::kColumnMultiple * width;
    }

    std::int64_t rows;
    std::int64_t columns;
    std::int64_t width;  ///< columns with padding
    std::int64_t step;
    std::int64_t blocks;
};

/// Rows of a block, column-major; what is padding is 0 already.
void loadRows(const Matrix& a, const Plan& plan, std::int64_t index, double* block) {
    const std::int64_t first = plan.first(index);
    const std::int64_t count = plan.count(index);
    const std::int64_t height = plan.height(index);
    if (a.getMatrixOrder() == MatrixOrderType::rowMajor) {
        copyTransposed({plan.columns, count}, block, height, a.data() + first * plan.columns,
                       plan.columns);
        return;
    }
    for (std::int64_t j = 0; j < plan.columns; ++j) {
        std::copy_n(a.data() + j * plan.rows + first, count, block + j * height);
    }
}

/// Multiplies columns by powers of two, which changes R but not Q.
void scaleColumns(const std::vector<int>& exponents, std::int64_t height, double* block) {
    for (std::size_t j = 0; j < exponents.size(); ++j, block += height) {
        if (exponents[j] != 0) scaleByPower(-exponents[j], height, block);
    }
}

/// Exponents of the columns whose squares would leave the range of a double, 0 for others.
std::vector<int> scalingExponents(const Matrix& a) {
    const LineShape shape = lineShape(a);
    std::vector<double> largest(static_cast<std::size_t>(a.getNumCols()), 0.0);
    for (std::int64_t line = 0; line < shape.count; ++line) {
        const double* values = a.data() + line * shape.length;
        if (a.getMatrixOrder() == MatrixOrderType::columnMajor) {
            largest[static_cast<std::size_t>(line)] =
                Kernels::arrays().largestMagnitude(shape.length, values);
        } else {
            for (double& value : largest) value = std::max(value, std::fabs(*values++));
        }
    }
    std::vector<int> exponents;
    exponents.reserve(largest.size());
    for (const double value : largest) exponents.push_back(scalingExponent(value));
    return exponents;
}

/// The upper triangle of the leading part, `columns` wide, in an array with leading dimension ld.
void copyTriangle(const double* from, std::int64_t fromStep, std::int64_t columns, double* to,
                  std::int64_t toStep) {
    for (std::int64_t j = 0; j < columns; ++j) {
        std::copy_n(from + j * fromStep, j + 1, to + j * toStep);
    }
}

}  // namespace

bool worthwhile(std::int64_t rows, std::int64_t columns) {
    constexpr std::int64_t kCachedElements = 131072;
    return columns > 0 && rows >= 8 * columns && rows * columns >= kCachedElements;
}

Matrix factorise(const Matrix& a, Storage::BlockedFactors& factors) {
    const Plan plan(a.getNumRows(), a.getNumCols());
    const std::vector<int> exponents = scalingExponents(a);
    const int p = a.getNumCols();
    factors.leading = a(Util::range(0, p), Util::all);
    factors.leading.resize(p, p, 0.0, MatrixOrderType::columnMajor);
    factors.leadingScalars = Vector(static_cast<std::uint64_t>(p));
    scaleColumns(exponents, p, factors.leading.data());
    Support::geqrf(p, p, factors.leading.data(), p, factors.leadingScalars.data());
    Storage::Buffer<double> triangle(static_cast<std::size_t>(plan.width * plan.width), 0.0);
    copyTriangle(factors.leading.data(), p, p, triangle.data(), plan.width);

    const std::int64_t last = plan.blocks - 1;
    factors.reflectors.assign(
        static_cast<std::size_t>(plan.reflectors(last) + plan.height(last) * plan.width), 0.0);
    factors.factors.resize(static_cast<std::size_t>(plan.factors(plan.blocks)));
    for (std::int64_t index = 0; index < plan.blocks; ++index) {
        double* block = factors.reflectors.data() + plan.reflectors(index);
        loadRows(a, plan, index, block);
        scaleColumns(exponents, plan.height(index), block);
        Kernels::rowBlocks().fold(plan.height(index), plan.width, block, triangle.data(),
                                  factors.factors.data() + plan.factors(index));
    }
    Matrix r(p, p);
    copyTriangle(triangle.data(), plan.width, p, r.data(), p);
    for (int j = 0; j < p; ++j) {
        scaleByPower(exponents[static_cast<std::size_t>(j)], p, r.data() + std::int64_t{j} * p);
    }
    return r;
}

void apply(const Storage::BlockedFactors& factors, std::int64_t rows, std::int64_t columns,
           bool transpose, double* b, std::int64_t count) {
    const Plan plan(rows, columns);
    Storage::Buffer<double> copy(static_cast<std::size_t>(plan.step * count));
    const auto leading = [&] {
        Support::ormqr(Support::Side::Left,
                       transpose ? Support::Transpose::Yes : Support::Transpose::No, columns, count,
                       columns, factors.leading.data(), columns, factors.leadingScalars.data(), b,
                       rows);
    };
    // Qᵀ b folds rows upwards, Q b unfolds them in the opposite sequence.
    if (transpose) leading();
    for (std::int64_t k = 0; k < plan.blocks; ++k) {
        const std::int64_t index = transpose ? k : plan.blocks - 1 - k;
        const std::int64_t height = plan.height(index);
        double* part = b + plan.first(index);
        std::fill(copy.begin(), copy.end(), 0.0);
        for (std::int64_t j = 0; j < count; ++j) {
            std::copy_n(part + j * rows, plan.count(index), copy.data() + j * height);
        }
        // The rows of b that stand where columns are padding stay as they are.
        Kernels::rowBlocks().apply(
            height, plan.width, factors.reflectors.data() + plan.reflectors(index),
            factors.factors.data() + plan.factors(index), transpose, count, b, rows, copy.data());
        for (std::int64_t j = 0; j < count; ++j) {
            std::copy_n(copy.data() + j * height, plan.count(index), part + j * rows);
        }
    }
    if (!transpose) leading();
}

}  // namespace Veltrix::BlockedQR
