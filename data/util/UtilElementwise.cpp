#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "Veltrix/Data/Util.h"
#include "data/containers/Lines.h"
#include "support/VectorMath.h"
#include "support/kernels/Arrays.h"

namespace Veltrix {
namespace {

using ArrayFunction = void (*)(const double* x, double* result, std::int64_t n);

std::int64_t sizeOf(const Vector& values) { return static_cast<std::int64_t>(values.size()); }

Vector resultFor(const Vector& values) {
    Vector result(values.size(), Storage::kUnfilled);
    result.setName(values.getName());
    return result;
}

Matrix resultFor(const Matrix& values) {
    Matrix result(values.getNumRows(), values.getNumCols(), values.getMatrixOrder(),
                  Storage::kUnfilled);
    result.setName(values.getName());
    return result;
}

/// A function of every element, for a Vector or a Matrix.
template <class Container, class Function>
Container mapped(const Container& values, Function function) {
    Container result = resultFor(values);
    std::transform(values.data(), values.data() + sizeOf(values), result.data(), function);
    return result;
}

template <class Container>
Container arrayMapped(const Container& values, ArrayFunction function) {
    Container result = resultFor(values);
    function(values.data(), result.data(), sizeOf(values));
    return result;
}

void softmax(double* column, std::int64_t n) {
    const Kernels::Arrays& kernels = Kernels::arrays();
    const double largest = kernels.largest(n, column);
    std::transform(column, column + n, column, [largest](double x) { return x - largest; });
    Support::exp(column, column, n);
    const double total = kernels.sum(n, column).total();
    std::transform(column, column + n, column, [total](double x) { return x / total; });
}

}  // namespace

Vector Util::absolute(const Vector& values) {
    return mapped(values, [](double x) { return std::fabs(x); });
}

Vector Util::exp(const Vector& values) { return arrayMapped(values, Support::exp); }
Matrix Util::exp(const Matrix& values) { return arrayMapped(values, Support::exp); }
Vector Util::ln(const Vector& values) { return arrayMapped(values, Support::ln); }
Matrix Util::ln(const Matrix& values) { return arrayMapped(values, Support::ln); }
Vector Util::sqrt(const Vector& values) { return arrayMapped(values, Support::sqrt); }

double Util::sqr(double value) { return value * value; }

Vector Util::sqr(const Vector& values) {
    return mapped(values, [](double x) { return x * x; });
}

Matrix Util::sqr(const Matrix& values) {
    return mapped(values, [](double x) { return x * x; });
}

Vector Util::power(const Vector& values, double exponent) {
    return mapped(values, [exponent](double x) { return std::pow(x, exponent); });
}

Vector Util::inverse(const Vector& values) {
    return mapped(values, [](double x) { return 1.0 / x; });
}

Vector Util::maxScalar(const Vector& values, double c) {
    return mapped(values, [c](double x) { return x < c ? c : x; });
}

Matrix Util::nanToNum(const Matrix& values) {
    return mapped(values, [](double x) {
        constexpr double kLargest = std::numeric_limits<double>::max();
        return std::isnan(x) ? 0.0 : std::clamp(x, -kLargest, kLargest);
    });
}

Matrix Util::sigmoid(const Matrix& values) { return arrayMapped(values, Support::sigmoid); }
Vector Util::sigmoid(const Vector& values) { return arrayMapped(values, Support::sigmoid); }
Matrix Util::tanh(const Matrix& values) { return arrayMapped(values, Support::tanh); }

Matrix Util::relu(const Matrix& values) {
    return mapped(values, [](double x) { return x < 0.0 ? 0.0 : x; });
}

Matrix Util::softmaxCols(const Matrix& values) {
    Matrix result = inOrder(values, MatrixOrderType::columnMajor);
    const std::int64_t rows = values.getNumRows();
    for (std::int64_t j = 0; j < values.getNumCols(); ++j) softmax(result.data() + j * rows, rows);
    return inOrder(result, values.getMatrixOrder());
}

}  // namespace Veltrix
