#pragma once

#include <cstdint>

/// @file
/// Householder kernels for tall matrices worked on in row blocks that fit the cache.
///
/// A block is column-major with a leading dimension `rows` that is a multiple of `kRowMultiple`
/// (surplus rows are zero), and its number of columns is a multiple of `kColumnMultiple` (surplus
/// columns are zero). Magnitudes must lie where squares neither overflow nor underflow; see
/// `largestMagnitude`.

namespace Veltrix::Kernels {

constexpr std::int64_t kRowMultiple = 8;
constexpr std::int64_t kColumnMultiple = 4;

struct RowBlocks {
    /// QR of the upper triangle R (columns × columns) stacked on the block: R becomes the new
    /// triangle, the block the reflectors, `factors` (4 × columns) their triangular factors in
    /// panels of four. 2·rows·columns² flops.
    void (*fold)(std::int64_t rows, std::int64_t columns, double* block, double* triangle,
                 double* factors);
    /// Applies Qᵀ (`transpose`) or Q of a fold to right-hand sides: `top` (columns × count,
    /// leading dimension ldTop) stacked on `bottom` (rows × count).
    void (*apply)(std::int64_t rows, std::int64_t columns, const double* reflectors,
                  const double* factors, bool transpose, std::int64_t count, double* top,
                  std::int64_t ldTop, double* bottom);
    /// Adds to `norms` (length rows) the squared lengths of the rows of block·T(:, 0:width);
    /// T has leading dimension ldT and only its first `used` rows are not zero.
    void (*addRowNorms)(std::int64_t rows, std::int64_t used, const double* block, const double* t,
                        std::int64_t ldT, std::int64_t width, double* norms);
    /// Adds to sums + rests (length columns) the products Bᵀ diag(f²)(y − B x) for the block B, the
    /// row factors f (null for ones), y of length rows and x of length columns, in twice the
    /// working precision (Ogita, Rump and Oishi 2005). `work` holds 2·rows doubles.
    void (*addNormalResidual)(std::int64_t rows, std::int64_t columns, const double* block,
                              const double* y, const double* factors, const double* x, double* work,
                              double* sums, double* rests);
    /// Largest absolute value of n values, n a multiple of `kRowMultiple`; not finite when one of
    /// them is not.
    double (*largestMagnitude)(std::int64_t n, const double* values);
};

/// The kernels for the widest vector instructions that this processor has.
const RowBlocks& rowBlocks();

extern const RowBlocks kRowBlocksBaseline;
#if defined(__x86_64__)
extern const RowBlocks kRowBlocksAvx2;
#endif

}  // namespace Veltrix::Kernels
