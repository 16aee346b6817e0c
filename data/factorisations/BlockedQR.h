#pragma once

/// @file
/// Unpivoted QR of a tall matrix, one row block after the other: the first block is factorised,
/// every further one is folded into its triangle (a flat tree). A block fits the second-level
/// cache, so each element comes from memory once, where a factorisation column by column would
/// fetch the matrix once per panel.

#include <algorithm>
#include <cstdint>

namespace Veltrix::BlockedQR {

/// How rows are divided. Block k starts at row k · step; its reflectors (column-major, leading
/// dimension = its height) start at k · step · columns, its triangular factors at
/// k · panel · columns.
struct Plan {
    std::int64_t rows;
    std::int64_t columns;
    std::int64_t step;
    std::int64_t panel;

    Plan(std::int64_t numRows, std::int64_t numColumns);

    std::int64_t blocks() const { return (rows + step - 1) / step; }
    std::int64_t height(std::int64_t block) const { return std::min(step, rows - block * step); }
    std::int64_t factorSize() const { return blocks() * panel * columns; }
};

/// True when blocks beat a single factorisation: many more rows than columns, and more than the
/// cache holds.
bool worthwhile(std::int64_t rows, std::int64_t columns);

/// Factorises the first block (index 0, at least `columns` rows) or folds a further one into the
/// triangle (columns × columns, zero below the diagonal). The block becomes its reflectors.
void fold(const Plan& plan, std::int64_t index, double* block, double* factors, double* triangle);

/// b := Q b or Qᵀ b for the Q of all blocks; b is column-major with plan.rows rows.
void apply(const Plan& plan, const double* reflectors, const double* factors, bool transpose,
           double* b, std::int64_t columns);

}  // namespace Veltrix::BlockedQR
