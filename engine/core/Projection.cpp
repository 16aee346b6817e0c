#include "engine/core/Projection.h"

#include <algorithm>
#include <cstdint>

#include "Veltrix/Data/Progress.h"
#include "data/containers/Lines.h"
#include "engine/core/Checks.h"
#include "support/LinearAlgebra.h"

namespace Veltrix::Engine {

Matrix project(std::string_view operation, const Matrix& x, const Matrix& directions) {
    constexpr std::int64_t kStep = 8192;
    using Support::Transpose;
    const std::int64_t n = x.getNumRows();
    const std::int64_t p = x.getNumCols();
    const std::int64_t k = directions.getNumCols();
    Matrix result(x.getNumRows(), directions.getNumCols(), x.getMatrixOrder(), Storage::kUnfilled);
    result.setName(x.getName());
    const bool byRows = x.getMatrixOrder() == MatrixOrderType::rowMajor;
    ProgressPhase phase("Projecting records", static_cast<std::uint64_t>(n));
    for (std::int64_t first = 0; first < n && k > 0; first += kStep) {
        const std::int64_t rows = std::min(kStep, n - first);
        Veltrix::Checks::routine(operation, [&] {
            if (byRows) {  // the memory holds the transposes
                Support::gemm(Transpose::Yes, Transpose::No, k, rows, p, 1.0, directions.data(), p,
                              x.data() + first * p, p, 0.0, result.data() + first * k, k);
            } else {
                Support::gemm(Transpose::No, Transpose::No, rows, k, p, 1.0, x.data() + first, n,
                              directions.data(), p, 0.0, result.data() + first, n);
            }
        });
        phase.advance(static_cast<std::uint64_t>(rows));
    }
    return result;
}

Matrix projectTransposed(std::string_view operation, const Matrix& x, const Matrix& directions) {
    constexpr std::int64_t kProducts = 100'000'000;
    using Support::Transpose;
    const std::int64_t n = x.getNumRows();
    const std::int64_t p = x.getNumCols();
    const std::int64_t k = directions.getNumCols();
    const std::int64_t step =
        std::clamp<std::int64_t>(kProducts / std::max<std::int64_t>(n * k, 1), 16, 8192);
    Matrix result(x.getNumCols(), directions.getNumCols(), MatrixOrderType::columnMajor,
                  Storage::kUnfilled);
    result.setName(x.getName());
    const bool byRows = x.getMatrixOrder() == MatrixOrderType::rowMajor;
    ProgressPhase phase("Projecting columns", static_cast<std::uint64_t>(p));
    for (std::int64_t first = 0; first < p && k > 0; first += step) {
        const std::int64_t columns = std::min(step, p - first);
        Veltrix::Checks::routine(operation, [&] {
            Support::gemm(byRows ? Transpose::No : Transpose::Yes, Transpose::No, columns, k, n,
                          1.0, x.data() + first * (byRows ? 1 : n), byRows ? p : n,
                          directions.data(), n, 0.0, result.data() + first, p);
        });
        phase.advance(static_cast<std::uint64_t>(columns));
    }
    return result;
}

}  // namespace Veltrix::Engine
