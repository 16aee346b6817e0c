#pragma once

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Matrix.h"
#include "support/RuntimeRandom.h"
#include "tests/data/RandomValues.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {

inline constexpr MatrixOrderType kByRows = MatrixOrderType::rowMajor;
inline constexpr MatrixOrderType kByColumns = MatrixOrderType::columnMajor;

/// Entries in [-1, 1], the same element by element in both orders.
inline Matrix randomMatrix(int rows, int cols, MatrixOrderType order, unsigned seed) {
    Support::RuntimeRandom random(seed);
    Matrix result(rows, cols, order);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) result(i, j) = 2.0 * random.nextFraction() - 1.0;
    }
    return result;
}

/// A matrix from a function of row and column.
template <class Element>
Matrix made(int rows, int cols, MatrixOrderType order, Element element) {
    Matrix result(rows, cols, order);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) result(i, j) = element(i, j);
    }
    return result;
}

/// Same shape, and every element within the tolerance of element(i, j).
template <class Element>
testing::AssertionResult matches(const Matrix& actual, int rows, int cols, Element element,
                                 const Tolerance& tolerance = {}) {
    if (actual.getNumRows() != rows || actual.getNumCols() != cols) {
        return testing::AssertionFailure() << actual.getNumRows() << " x " << actual.getNumCols()
                                           << " instead of " << rows << " x " << cols;
    }
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) {
            const auto result = isNear(actual(i, j), element(i, j), tolerance);
            if (!result) {
                return testing::AssertionFailure()
                       << "(" << i << ", " << j << "): " << result.message();
            }
        }
    }
    return testing::AssertionSuccess();
}

inline testing::AssertionResult matches(const Matrix& actual, const Matrix& expected,
                                        const Tolerance& tolerance = {}) {
    return matches(
        actual, expected.getNumRows(), expected.getNumCols(),
        [&](int i, int j) { return expected(i, j); }, tolerance);
}

/// The product of the tests' own plain loops.
inline Matrix plainProduct(const Matrix& a, const Matrix& b) {
    return made(a.getNumRows(), b.getNumCols(), kByColumns, [&](int i, int j) {
        long double sum = 0.0L;
        for (int k = 0; k < a.getNumCols(); ++k) sum += static_cast<long double>(a(i, k)) * b(k, j);
        return static_cast<double>(sum);
    });
}

inline Matrix plainTranspose(const Matrix& a) {
    return made(a.getNumCols(), a.getNumRows(), kByColumns, [&](int i, int j) { return a(j, i); });
}

inline Matrix identity(int order) {
    return made(order, order, kByColumns, [](int i, int j) { return i == j ? 1.0 : 0.0; });
}

}  // namespace Veltrix::Testing
