#pragma once

#include <cstdint>

/// @file
/// Products of the columns of a row block, which are read where they stand: each is contiguous, and
/// no two need lie together.

namespace Veltrix::Kernels {

/// `addCrossProduct` works on tiles of four columns by three.
constexpr std::int64_t kTileRows = 4;
constexpr std::int64_t kTileCols = 3;

struct CrossProducts {
    /// products[i] = Σⱼ coefficients[j] x[j][i]
    void (*combine)(std::int64_t rows, std::int64_t columns, const double* const* x,
                    const double* coefficients, double* products);
    /// sums[j] += Σᵢ x[j][i] y[i]
    void (*addProducts)(std::int64_t rows, std::int64_t columns, const double* const* x,
                        const double* y, double* sums);
    /// C(j, k) += Σᵢ weights[i] x[j][i] x[k][i] for j ≤ k; what stands below the diagonal is of no
    /// meaning. x holds kTileRows pointers more than columns, to any columns; C has the leading
    /// dimension ldc ≥ columns + kTileRows and columns + kTileCols columns; `scratch` holds
    /// kTileCols · rows values.
    void (*addCrossProduct)(std::int64_t rows, std::int64_t columns, const double* const* x,
                            const double* weights, double* c, std::int64_t ldc, double* scratch);
};

/// The kernels for the widest vector instructions that this processor has.
const CrossProducts& crossProducts();

extern const CrossProducts kCrossProductsBaseline;
#if defined(__x86_64__)
extern const CrossProducts kCrossProductsAvx2;
#endif

}  // namespace Veltrix::Kernels
