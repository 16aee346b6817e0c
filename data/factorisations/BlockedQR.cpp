#include "data/factorisations/BlockedQR.h"

#include "support/LinearAlgebra.h"

namespace Veltrix::BlockedQR {
namespace {

/// Doubles of a block: half of a common second-level cache, so that triangle and factors fit too.
constexpr std::int64_t kBlockElements = 32768;
/// Narrow panels keep their work in the first-level cache; wide triangles gain from larger
/// products.
constexpr std::int64_t kNarrowPanel = 8;
constexpr std::int64_t kWidePanel = 16;
constexpr std::int64_t kWideColumns = 128;

void copyTriangle(const double* block, std::int64_t height, std::int64_t columns,
                  double* triangle) {
    for (std::int64_t j = 0; j < columns; ++j) {
        std::copy_n(block + j * height, j + 1, triangle + j * columns);
    }
}

}  // namespace

Plan::Plan(std::int64_t numRows, std::int64_t numColumns)
    : rows(numRows),
      columns(numColumns),
      step(std::max(kBlockElements / numColumns, 2 * numColumns)),
      panel(std::min(columns, columns < kWideColumns ? kNarrowPanel : kWidePanel)) {}

bool worthwhile(std::int64_t rows, std::int64_t columns) {
    return columns > 0 && rows >= 8 * columns && rows * columns >= 4 * kBlockElements;
}

void fold(const Plan& plan, std::int64_t index, double* block, double* factors, double* triangle) {
    const std::int64_t height = plan.height(index);
    const std::int64_t columns = plan.columns;
    if (index == 0) {
        Support::geqrt(height, columns, plan.panel, block, height, factors, plan.panel);
        copyTriangle(block, height, columns, triangle);
    } else {
        Support::tpqrt(height, columns, 0, plan.panel, triangle, columns, block, height, factors,
                       plan.panel);
    }
}

void apply(const Plan& plan, const double* reflectors, const double* factors, bool transpose,
           double* b, std::int64_t columns) {
    const auto trans = transpose ? Support::Transpose::Yes : Support::Transpose::No;
    const std::int64_t blocks = plan.blocks();
    for (std::int64_t k = 0; k < blocks; ++k) {
        // Qᵀ b folds rows upwards, Q b unfolds them in the opposite sequence.
        const std::int64_t index = transpose ? k : blocks - 1 - k;
        const std::int64_t height = plan.height(index);
        const double* v = reflectors + index * plan.step * plan.columns;
        const double* t = factors + index * plan.panel * plan.columns;
        if (index == 0) {
            Support::gemqrt(Support::Side::Left, trans, height, columns, plan.columns, plan.panel,
                            v, height, t, plan.panel, b, plan.rows);
        } else {
            Support::tpmqrt(Support::Side::Left, trans, height, columns, plan.columns, 0,
                            plan.panel, v, height, t, plan.panel, b, plan.rows,
                            b + index * plan.step, plan.rows);
        }
    }
}

}  // namespace Veltrix::BlockedQR
