#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Matrix.h"
#include "support/MersenneNormal.h"

namespace Veltrix::Testing {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInfinity = std::numeric_limits<double>::infinity();
inline constexpr MatrixOrderType kOrders[] = {MatrixOrderType::rowMajor,
                                              MatrixOrderType::columnMajor};

inline Vector normals(std::int64_t count, unsigned seed) {
    Support::MersenneNormal generator(seed);
    Vector values;
    for (std::int64_t i = 0; i < count; ++i) values.push_back(generator.next());
    return values;
}

/// The same matrix, stored in this order.
inline Matrix ordered(Matrix a, MatrixOrderType order) {
    a.resize(a.getNumRows(), a.getNumCols(), 0.0, order);
    return a;
}

/// The same matrix whatever the order.
inline Matrix normalMatrix(int rows, int cols, MatrixOrderType order, unsigned seed) {
    const Vector values = normals(std::int64_t{rows} * cols, seed);
    return ordered(Matrix(rows, cols, values, MatrixOrderType::rowMajor), order);
}

/// Integers in [−range, range]: many ties.
inline Vector smallIntegers(std::int64_t count, int range, unsigned seed) {
    Support::MersenneNormal generator(seed);
    Vector values;
    for (std::int64_t i = 0; i < count; ++i) {
        values.push_back(std::floor(generator.nextUniform() * (2 * range + 1)) - range);
    }
    return values;
}

}  // namespace Veltrix::Testing
