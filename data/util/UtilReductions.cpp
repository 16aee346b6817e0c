#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"
#include "data/containers/Contiguous.h"
#include "data/containers/Lines.h"
#include "support/LinearAlgebra.h"
#include "support/kernels/Arrays.h"

namespace Veltrix {
namespace {

using Kernels::CompensatedSum;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::int64_t sizeOf(const Vector& values) { return static_cast<std::int64_t>(values.size()); }

CompensatedSum sumOf(std::int64_t n, const double* values, bool skipNaN) {
    const Kernels::Arrays& kernels = Kernels::arrays();
    return skipNaN ? kernels.sumOfNumbers(n, values) : kernels.sum(n, values);
}

double sumOf(StridedView<const double> view, bool skipNaN) {
    const Contiguous values(view);
    return sumOf(values.size(), values.data(), skipNaN).total();
}

double meanOf(std::int64_t n, const double* values) {
    const double mean = sumOf(n, values, false).mean(n);
    if (std::isfinite(mean) || !Support::allFinite(values, n)) return mean;
    // The sum has overflowed, which it cannot after a division by more than their number.
    constexpr int kShift = 64;
    Vector scaled(values, values + n);
    for (double& value : scaled) value = std::ldexp(value, -kShift);
    return std::ldexp(sumOf(n, scaled.data(), false).mean(n), kShift);
}

/// reduce(compensated sum) of every column.
template <class Reduce>
Vector reducedColumns(const Matrix& a, Reduce reduce) {
    const LineShape shape = lineShape(a);
    const Kernels::Arrays& kernels = Kernels::arrays();
    Vector result(static_cast<std::uint64_t>(a.getNumCols()));
    if (a.getMatrixOrder() == MatrixOrderType::columnMajor) {
        for (std::int64_t j = 0; j < shape.count; ++j) {
            result.data()[j] = reduce(kernels.sum(shape.length, a.data() + j * shape.length));
        }
        return result;
    }
    Vector rests(result.size());
    for (std::int64_t i = 0; i < shape.count; ++i) {
        kernels.addTo(shape.length, a.data() + i * shape.length, result.data(), rests.data());
    }
    for (std::uint64_t j = 0; j < result.size(); ++j) result[j] = reduce({result[j], rests[j]});
    return result;
}

/// Most frequent number of the range, which gets sorted; the smallest on ties.
double modeOf(double* first, double* last) {
    last = std::partition(first, last, [](double value) { return !std::isnan(value); });
    std::sort(first, last);
    double result = kNaN;
    std::ptrdiff_t longest = 0;
    while (first != last) {
        const double* runEnd = std::upper_bound(first, last, *first);
        if (runEnd - first > longest) {
            longest = runEnd - first;
            result = *first;
        }
        first += runEnd - first;
    }
    return result;
}

/// Whether terms of a sum of squares may have overflowed or lost digits.
bool isExtreme(double squares) { return !(squares > 1e-280 && squares < 1e300); }

/// √Σx², or Σx², with the squares scaled where they would overflow or lose digits.
double euclideanNorm(const Contiguous& values, bool squared) {
    const double square = Support::dot(values.size(), values.data(), 1, values.data(), 1);
    if (!isExtreme(square)) return squared ? square : std::sqrt(square);
    const double largest = Kernels::arrays().largestMagnitude(values.size(), values.data());
    if (largest == 0.0 || !std::isfinite(largest)) return squared ? largest * largest : largest;
    double scaled = 0.0;
    for (std::int64_t i = 0; i < values.size(); ++i) {
        const double ratio = values.data()[i] / largest;
        scaled += ratio * ratio;
    }
    return squared ? largest * scaled * largest : largest * std::sqrt(scaled);
}

/// Σ(value − mean of its column)²
double squaresAboutMeans(const Matrix& a) {
    const Vector means = Util::mean(a);
    const LineShape shape = lineShape(a);
    const bool byColumns = a.getMatrixOrder() == MatrixOrderType::columnMajor;
    const Kernels::Arrays& kernels = Kernels::arrays();
    CompensatedSum result;
    for (std::int64_t line = 0; line < shape.count; ++line) {
        const double* values = a.data() + line * shape.length;
        result.add(byColumns ? kernels.deviationsFrom(shape.length, values, means.data()[line])
                             : kernels.deviationsFromEach(shape.length, values, means.data()));
    }
    return result.total();
}

double normOf(StridedView<const double> view, NormType type, bool squared) {
    Checks::enumerator("Norm", "type", type, 1, 3);
    const Contiguous values(view);
    const Kernels::Arrays& kernels = Kernels::arrays();
    double result = 0.0;
    switch (type) {
        case NormType::sumOfAbsoluteValues:
            result = kernels.sumOfMagnitudes(values.size(), values.data()).total();
            break;
        case NormType::euclidean:
            return euclideanNorm(values, squared);
        case NormType::largestAbsoluteValue:
            result = kernels.largestMagnitude(values.size(), values.data());
            break;
    }
    return squared ? result * result : result;
}

double dot(StridedView<const double> a, StridedView<const double> b) {
    Checks::sameSize("Dot product", a.size(), b.size());
    return Support::dot(static_cast<std::int64_t>(a.size()), a.data(),
                        std::max<std::int64_t>(a.stride(), 1), b.data(),
                        std::max<std::int64_t>(b.stride(), 1));
}

}  // namespace

double Util::sum(const Vector& values, bool skipNaN) {
    return sumOf(sizeOf(values), values.data(), skipNaN).total();
}

double Util::sum(const Matrix& values, bool skipNaN) {
    return sumOf(sizeOf(values), values.data(), skipNaN).total();
}

double Util::sum(const ConstMatrixRow& values, bool skipNaN) {
    return sumOf(values.elements(), skipNaN);
}

double Util::sum(const ConstMatrixColumn& values, bool skipNaN) {
    return sumOf(values.elements(), skipNaN);
}

double Util::mean(const Vector& values) { return meanOf(sizeOf(values), values.data()); }

Vector Util::mean(const Matrix& a) {
    const int rows = a.getNumRows();
    Vector result = reducedColumns(a, [rows](const CompensatedSum& sum) { return sum.mean(rows); });
    for (std::uint64_t j = 0; j < result.size(); ++j) {
        if (std::isfinite(result[j]) || rows == 0) continue;
        const Contiguous column(a(all, static_cast<int>(j)).elements());
        result[j] = meanOf(column.size(), column.data());
    }
    return result;
}

double Util::weightedMean(const Vector& values, const Vector& weights) {
    Checks::counts("Weighted mean", values.size(), "values", weights.size(), "weights");
    const double total = sum(weights);
    const double first = sum(values * weights) / total;
    // The mean of what is left corrects the rounding of the first quotient: equal values have
    // exactly their value as mean.
    const double rest = sum((values - first) * weights) / total;
    return std::isfinite(rest) ? first + rest : first;
}

Vector Util::mode(const Matrix& a) {
    Matrix columns = inOrder(a, MatrixOrderType::columnMajor);
    Vector result(static_cast<std::uint64_t>(a.getNumCols()));
    double* column = columns.data();
    for (double& value : result) {
        value = modeOf(column, column + a.getNumRows());
        column += a.getNumRows();
    }
    return result;
}

double Util::SST(const Matrix& a) {
    const double result = squaresAboutMeans(a);
    const double largest = Kernels::arrays().largestMagnitude(sizeOf(a), a.data());
    if (!isExtreme(result) || !std::isfinite(largest)) return result;
    int exponent = 0;
    std::frexp(largest, &exponent);
    Matrix scaled(a);
    std::for_each(scaled.data(), scaled.data() + sizeOf(scaled),
                  [exponent](double& value) { value = std::ldexp(value, -exponent); });
    return std::ldexp(squaresAboutMeans(scaled), 2 * exponent);
}

Vector Util::sumColumns(const Matrix& a) {
    return reducedColumns(a, [](const CompensatedSum& sum) { return sum.total(); });
}

Vector Util::partialSum(const Vector& values) {
    Vector result(values);
    CompensatedSum running;
    for (double& value : result) {
        running.add(value);
        value = running.total();
    }
    return result;
}

Vector Util::percentage(const Vector& values) { return 100.0 * values / sum(values); }

int Util::countZero(const Vector& values) {
    double largest = 1.0;
    for (const double value : values) {
        if (std::isfinite(value)) largest = std::max(largest, std::fabs(value));
    }
    const double threshold =
        static_cast<double>(values.size()) * std::numeric_limits<double>::epsilon() * largest;
    const auto count = std::count_if(values.begin(), values.end(), [threshold](double value) {
        return std::fabs(value) <= threshold;
    });
    return Checks::dimension("Count of zeros", "elements", static_cast<std::uint64_t>(count));
}

int Util::countNaNInfinity(const Vector& values) {
    const auto count = std::count_if(values.begin(), values.end(),
                                     [](double value) { return !std::isfinite(value); });
    return Checks::dimension("Count of NaN", "elements", static_cast<std::uint64_t>(count));
}

double Util::dotProduct(const Vector& a, const Vector& b) {
    return dot({a.data(), a.size(), 1}, {b.data(), b.size(), 1});
}

double Util::dotProduct(const ConstMatrixRow& a, const ConstMatrixRow& b) {
    return dot(a.elements(), b.elements());
}

double Util::dotProduct(const Matrix& a, const Matrix& b) {
    Checks::sameShape("Dot product", a, b);
    const std::int64_t size = sizeOf(a);
    if (a.getMatrixOrder() == b.getMatrixOrder()) {
        return Support::dot(size, a.data(), 1, b.data(), 1);
    }
    const Matrix matching = inOrder(b, a.getMatrixOrder());
    return Support::dot(size, a.data(), 1, matching.data(), 1);
}

double Util::innerProduct(const Vector& a) { return dotProduct(a, a); }
double Util::innerProduct(const ConstMatrixRow& a) { return dotProduct(a, a); }

double Util::norm(const ConstMatrixRow& values, NormType type, bool squared) {
    return normOf(values.elements(), type, squared);
}

double Util::norm(const ConstMatrixColumn& values, NormType type, bool squared) {
    return normOf(values.elements(), type, squared);
}

}  // namespace Veltrix
