#include <algorithm>
#include <cstdint>

#include "Veltrix/Data/Util.h"
#include "data/containers/Lines.h"
#include "support/MersenneNormal.h"

namespace Veltrix {

Matrix Util::eye(int rows, int cols) {
    Matrix result(rows, cols);
    for (int k = 0; k < std::min(rows, cols); ++k) result(k, k) = 1.0;
    return result;
}

Matrix Util::ones(int rows, int cols) { return {rows, cols, 1.0}; }

Vector Util::diag(const Matrix& a) {
    const int length = std::min(a.getNumRows(), a.getNumCols());
    Vector result;
    result.reserve(static_cast<std::uint64_t>(length));
    for (int k = 0; k < length; ++k) result.push_back(a(k, k));
    return result;
}

Matrix Util::transpose(const Matrix& a) {
    Matrix result(a.getNumCols(), a.getNumRows(), a.getMatrixOrder(), Storage::kUnfilled);
    const LineShape shape = lineShape(result);
    copyTransposed(shape, result.data(), shape.length, a.data(), shape.count);
    result.setName(a.getName());
    return result;
}

Matrix Util::gaussianMatrix(int rows, int cols, MatrixOrderType order, double mean, double sd,
                            unsigned seed) {
    Matrix result(rows, cols, order, Storage::kUnfilled);
    Support::MersenneNormal generator(seed);
    std::generate_n(result.data(), sizeOf(result), [&] { return mean + sd * generator.next(); });
    return result;
}

}  // namespace Veltrix
