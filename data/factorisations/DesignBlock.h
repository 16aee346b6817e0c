#pragma once

#include <cstdint>

#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/Storage.h"

namespace Veltrix {

/// One row block of a design matrix as the row-block kernels want it: column-major, rows padded
/// with zeros to `ld`, a multiple of `Kernels::kRowMultiple`.
class DesignBlock {
  public:
    /// Room for `columns` columns of blocks of up to `rows` rows.
    DesignBlock(const DesignRows& design, std::int64_t rows, std::int64_t columns);

    /// Starts the block of rows [first, first + count); what was loaded before is gone.
    void start(std::int64_t first, std::int64_t count);
    /// Loads a design column, scaled, into column `place` of the block.
    void load(int designColumn, std::int64_t place);
    /// Loads the rows of a vector of length n, scaled.
    void load(const Vector& values, std::int64_t place);
    /// Zeros.
    void clear(std::int64_t place);

    std::int64_t ld() const { return ld_; }
    std::int64_t first() const { return first_; }
    std::int64_t count() const { return count_; }
    double* data() { return values_.data(); }

  private:
    double* column(std::int64_t place) { return values_.data() + place * ld_; }
    void finish(double* column) const;

    const DesignRows& design_;
    std::int64_t rowStride_;
    std::int64_t colStride_;
    std::int64_t first_ = 0;
    std::int64_t count_ = 0;
    std::int64_t ld_ = 0;
    Storage::Buffer<double> values_;
};

/// The least multiple that is not below the size.
inline std::int64_t padded(std::int64_t size, std::int64_t multiple) {
    return (size + multiple - 1) / multiple * multiple;
}

/// Rows of a block of that many columns that stays in the second-level cache.
std::int64_t cachedRows(std::int64_t columns);

/// 0 for a column whose largest magnitude lies where the kernels' squares neither overflow nor
/// vanish, otherwise the power of two by which it is to be divided.
int scalingExponent(double largest);

/// Multiplies by 2^exponent.
void scaleByPower(int exponent, std::int64_t n, double* values);

}  // namespace Veltrix
