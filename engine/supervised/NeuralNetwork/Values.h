#pragma once

#include <cstddef>
#include <span>

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"

/// @file
/// Matrices with a column for each record as the kernels take them.

namespace Veltrix::Engine::NeuralNetwork {

/// The values of a matrix without regard to their place.
inline std::span<const double> valuesOf(const Matrix& a) {
    return {a.data(),
            static_cast<std::size_t>(a.getNumRows()) * static_cast<std::size_t>(a.getNumCols())};
}
inline std::span<double> valuesOf(Matrix& a) {
    return {a.data(),
            static_cast<std::size_t>(a.getNumRows()) * static_cast<std::size_t>(a.getNumCols())};
}

inline std::span<const double> valuesOf(const Vector& v) { return {v.data(), v.size()}; }
inline std::span<double> valuesOf(Vector& v) { return {v.data(), v.size()}; }

/// Gives a column-major matrix that number of columns; memory is kept for when it had more.
inline void reshape(Matrix& a, int rows, int cols) {
    if (a.getNumRows() != rows || a.getNumCols() != cols) a.resize(rows, cols);
}

/// The same values, a record after the other in memory.
inline Matrix byColumns(Matrix a) {
    if (a.getMatrixOrder() != MatrixOrderType::columnMajor) {
        a.resize(a.getNumRows(), a.getNumCols(), 0.0, MatrixOrderType::columnMajor);
    }
    return a;
}

}  // namespace Veltrix::Engine::NeuralNetwork
