#include "data/factorisations/DesignBlock.h"

#include <algorithm>
#include <cmath>

#include "data/containers/Checks.h"
#include "support/kernels/RowBlocks.h"

namespace Veltrix {
std::int64_t cachedRows(std::int64_t columns) {
    // 256 KiB: half of the smallest second-level cache in use, which leaves room for the triangle.
    constexpr std::int64_t kElements = 32768;
    // Shorter blocks would spend their time on the triangle.
    constexpr std::int64_t kLeastRows = 64;
    const std::int64_t fitting = kElements / std::max<std::int64_t>(columns, 1);
    return padded(std::max(fitting, kLeastRows), Kernels::kRowMultiple);
}

int scalingExponent(double largest) {
    int exponent = 0;
    const bool extreme = largest > 1e120 || (largest > 0.0 && largest < 1e-120);
    if (extreme) std::frexp(largest, &exponent);
    return exponent;
}

void scaleByPower(int exponent, std::int64_t n, double* values) {
    std::transform(values, values + n, values,
                   [exponent](double value) { return std::ldexp(value, exponent); });
}

DesignBlock::DesignBlock(const DesignRows& design, std::int64_t rows, std::int64_t columns)
    : design_(design),
      values_(static_cast<std::size_t>(padded(rows, Kernels::kRowMultiple) * columns)) {
    const bool columnMajor = design.x.getMatrixOrder() == MatrixOrderType::columnMajor;
    rowStride_ = columnMajor ? 1 : design.x.getNumCols();
    colStride_ = columnMajor ? design.x.getNumRows() : 1;
    if (design.scale != nullptr) {
        Checks::counts("Design matrix", design.getNumRows(), "rows", design.scale->size(),
                       "row factors");
    }
}

void DesignBlock::start(std::int64_t first, std::int64_t count) {
    first_ = first;
    count_ = count;
    ld_ = padded(count, Kernels::kRowMultiple);
}

void DesignBlock::load(int designColumn, std::int64_t place) {
    double* target = column(place);
    const int j = design_.intercept ? designColumn - 1 : designColumn;
    if (j < 0) {
        std::fill_n(target, count_, 1.0);
    } else {
        const double* source = design_.x.data() + first_ * rowStride_ + j * colStride_;
        if (rowStride_ == 1) {
            std::copy_n(source, count_, target);
        } else {
            for (std::int64_t i = 0; i < count_; ++i) target[i] = source[i * rowStride_];
        }
    }
    finish(target);
}

void DesignBlock::load(const Vector& values, std::int64_t place) {
    std::copy_n(values.data() + first_, count_, column(place));
    finish(column(place));
}

void DesignBlock::clear(std::int64_t place) { std::fill_n(column(place), ld_, 0.0); }

void DesignBlock::finish(double* column) const {
    if (design_.scale != nullptr) {
        const double* scale = design_.scale->data() + first_;
        for (std::int64_t i = 0; i < count_; ++i) column[i] *= scale[i];
    }
    std::fill(column + count_, column + ld_, 0.0);
}

}  // namespace Veltrix
