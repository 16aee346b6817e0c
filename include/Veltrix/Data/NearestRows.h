#pragma once

#include <functional>

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// For every row i of `points`, in ascending order, calls `visit(i, nearest)` with the k rows of
/// `rows` at the least squared Euclidean distance, exactly as
///
///     Util::kTop(Util::pairwiseDistance(point, rows, true), k, includeTies, skipNaN,
///                Ordering::smallestFirst)
///
/// gives them: rows (index, distance), ascending, and the same distances bit for bit. Throws
/// `Exception` when the numbers of columns differ; what `visit` throws passes through.
///
/// The matrix of distances is never formed: most pairs are ruled out in single precision by
/// ‖x − y‖² = ‖x‖² + ‖y‖² − 2xᵀy with a bound on its rounding error, and the others get their
/// distance. Points for which that does not decide (NaN or extreme values, fewer than k numbers
/// among the distances, hundreds of ties) are compared with all rows one by one.
/// O(points · rows · columns) time. Memory, up to 1000 columns: 16 bytes for each neighbour of up
/// to 1000 points at a time (of fewer when k is above 64), less than 1 MiB besides, up to 20 MiB
/// with ties, and 8 bytes a row for those compared one by one. Reports progress.
VELTRIX_DATA_API void visitNearestRows(
    const Matrix& points, const Matrix& rows, int k, bool includeTies, bool skipNaN,
    const std::function<void(int point, const Matrix& nearest)>& visit);

}  // namespace Veltrix
