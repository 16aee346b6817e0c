#pragma once

/// @file
/// The storage of a matrix as lines: the columns of a column-major matrix, the rows of a row-major
/// one. Kernels work on lines, so that they need no knowledge of the order.

#include <algorithm>
#include <cstdint>

#include "Veltrix/Data/Matrix.h"

namespace Veltrix {

/// Number of lines and elements in each, 64-bit.
struct LineShape {
    std::int64_t count;
    std::int64_t length;
};

inline LineShape lineShape(std::int64_t rows, std::int64_t cols, MatrixOrderType order) {
    return order == MatrixOrderType::columnMajor ? LineShape{cols, rows} : LineShape{rows, cols};
}

inline LineShape lineShape(const Matrix& a) {
    return lineShape(a.getNumRows(), a.getNumCols(), a.getMatrixOrder());
}

/// Steps in the storage from a row, and from a column, to the next one.
struct LineSteps {
    explicit LineSteps(const Matrix& a)
        : row(a.getMatrixOrder() == MatrixOrderType::rowMajor ? a.getNumCols() : 1),
          column(a.getMatrixOrder() == MatrixOrderType::rowMajor ? 1 : a.getNumRows()) {}

    std::int64_t row;
    std::int64_t column;
};

inline std::int64_t sizeOf(const Matrix& a) {
    return std::int64_t{a.getNumRows()} * a.getNumCols();
}

/// Distance between lines as BLAS wants it: at least 1.
inline std::int64_t leadingDimension(const Matrix& a) {
    return std::max<std::int64_t>(lineShape(a).length, 1);
}

inline MatrixOrderType opposite(MatrixOrderType order) {
    return order == MatrixOrderType::columnMajor ? MatrixOrderType::rowMajor
                                                 : MatrixOrderType::columnMajor;
}

/// operation(target element by reference, source element) for lines of `target` against a source
/// stored in the opposite order (element (i, l) of the source at i · sourceStep + l). Tiles keep
/// both sides in the first-level cache.
template <class Operation>
void combineTransposed(LineShape shape, double* target, std::int64_t targetStep,
                       const double* source, std::int64_t sourceStep, Operation operation) {
    constexpr std::int64_t kTile = 16;
    for (std::int64_t firstLine = 0; firstLine < shape.count; firstLine += kTile) {
        const std::int64_t endLine = std::min(firstLine + kTile, shape.count);
        for (std::int64_t first = 0; first < shape.length; first += kTile) {
            const std::int64_t end = std::min(first + kTile, shape.length);
            for (std::int64_t line = firstLine; line < endLine; ++line) {
                double* to = target + line * targetStep;
                const double* from = source + line;
                for (std::int64_t i = first; i < end; ++i) {
                    operation(to[i], from[i * sourceStep]);
                }
            }
        }
    }
}

/// Lines of `target` from a source stored in the opposite order.
inline void copyTransposed(LineShape shape, double* target, std::int64_t targetStep,
                           const double* source, std::int64_t sourceStep) {
    combineTransposed(shape, target, targetStep, source, sourceStep,
                      [](double& to, double from) { to = from; });
}

/// The same values (and name) in the given storage order.
Matrix inOrder(const Matrix& a, MatrixOrderType order);

}  // namespace Veltrix
