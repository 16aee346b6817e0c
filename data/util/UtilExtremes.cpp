#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"
#include "data/containers/Contiguous.h"
#include "data/containers/Lines.h"
#include "support/kernels/Arrays.h"

namespace Veltrix {
namespace {

using Extreme = double (*)(std::int64_t n, const double* x);

constexpr const char* kLargest = "Largest value";
constexpr const char* kSmallest = "Smallest value";
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

StridedView<const double> viewOf(const Vector& values) { return {values.data(), values.size(), 1}; }

double extreme(const char* operation, StridedView<const double> view, Extreme find) {
    Checks::notEmpty(operation, view.size());
    const Contiguous values(view);
    return find(values.size(), values.data());
}

/// First place of an extreme value; 0 when all are NaN.
int extremePlace(const char* operation, StridedView<const double> view, Extreme find) {
    Checks::notEmpty(operation, view.size());
    const int count = Checks::dimension(operation, "elements", view.size());
    const Contiguous values(view);
    const double* end = values.data() + count;
    const double* place = std::find(values.data(), end, find(count, values.data()));
    return place == end ? 0 : static_cast<int>(place - values.data());
}

/// Smallest entries across the lines, and the first line that holds each.
struct LeastAcross {
    explicit LeastAcross(const Matrix& a)
        : values(static_cast<std::uint64_t>(lineShape(a).length), kNaN), lines(values.size()) {
        const LineShape shape = lineShape(a);
        const Kernels::Arrays& kernels = Kernels::arrays();
        // Short runs stay in the first-level cache over all the lines.
        constexpr std::int64_t kRun = 512;
        for (std::int64_t first = 0; first < shape.length; first += kRun) {
            const std::int64_t run = std::min(kRun, shape.length - first);
            for (std::int64_t line = 0; line < shape.count; ++line) {
                kernels.keepSmaller(run, a.data() + line * shape.length + first,
                                    static_cast<double>(line), values.data() + first,
                                    lines.data() + first);
            }
        }
    }

    Vector values;
    Vector lines;
};

}  // namespace

double Util::maxValue(const Vector& values) {
    return extreme(kLargest, viewOf(values), Kernels::arrays().largest);
}

double Util::maxValue(const ConstMatrixRow& values) {
    return extreme(kLargest, values.elements(), Kernels::arrays().largest);
}

int Util::maxValue(const IntVector& values) {
    Checks::notEmpty(kLargest, values.size());
    return *std::max_element(values.begin(), values.end());
}

double Util::minValue(const Vector& values) {
    return extreme(kSmallest, viewOf(values), Kernels::arrays().smallest);
}

double Util::minValue(const ConstMatrixColumn& values) {
    return extreme(kSmallest, values.elements(), Kernels::arrays().smallest);
}

int Util::maxIndex(const Vector& values) {
    return extremePlace(kLargest, viewOf(values), Kernels::arrays().largest);
}

int Util::maxIndex(const ConstMatrixRow& values) {
    return extremePlace(kLargest, values.elements(), Kernels::arrays().largest);
}

int Util::minIndex(const Vector& values) {
    return extremePlace(kSmallest, viewOf(values), Kernels::arrays().smallest);
}

Vector Util::minimum(const Matrix& a) {
    if (a.getNumCols() == 0) return {};
    Checks::notEmpty("Column minima", static_cast<std::uint64_t>(a.getNumRows()));
    if (a.getMatrixOrder() == MatrixOrderType::rowMajor) return LeastAcross(a).values;
    Vector result;
    result.reserve(static_cast<std::uint64_t>(a.getNumCols()));
    for (int j = 0; j < a.getNumCols(); ++j) result.push_back(minValue(a(all, j)));
    return result;
}

double Util::minimum(const Matrix& symmetric, int& row, int& col) {
    const char* operation = "Smallest entry above the diagonal";
    Checks::square(symmetric);
    const std::int64_t n = symmetric.getNumRows();
    if (n < 2) {
        Checks::fail(ErrorCode::invalidArgument, operation,
                     "order " + std::to_string(n) + ", at least 2 expected");
    }
    // Rows of the upper triangle in the memory of a row-major matrix, columns otherwise.
    const bool byRows = symmetric.getMatrixOrder() == MatrixOrderType::rowMajor;
    double least = kNaN;
    std::int64_t leastLine = byRows ? 0 : 1;
    std::int64_t leastPlace = byRows ? 1 : 0;
    for (std::int64_t line = 0; line < n; ++line) {
        const std::int64_t first = byRows ? line + 1 : 0;
        const std::int64_t end = byRows ? n : line;
        const double* values = symmetric.data() + line * n;
        const double candidate = Kernels::arrays().smallest(end - first, values + first);
        if (!(candidate < least || candidate == least || std::isnan(least))) continue;
        if (std::isnan(candidate)) continue;
        const std::int64_t place = std::find(values + first, values + end, candidate) - values;
        // Among equal entries of column-wise lines the smaller row comes first.
        if (candidate == least && (byRows || place >= leastPlace)) continue;
        least = candidate;
        leastLine = line;
        leastPlace = place;
    }
    row = static_cast<int>(byRows ? leastLine : leastPlace);
    col = static_cast<int>(byRows ? leastPlace : leastLine);
    return least;
}

IntVector Util::indexesOfRowMin(const Matrix& a) {
    if (a.getNumRows() == 0) return {};
    Checks::notEmpty("Row minima", static_cast<std::uint64_t>(a.getNumCols()));
    IntVector result;
    result.reserve(static_cast<std::uint64_t>(a.getNumRows()));
    if (a.getMatrixOrder() == MatrixOrderType::columnMajor) {
        for (const double line : LeastAcross(a).lines) result.push_back(static_cast<int>(line));
        return result;
    }
    for (int i = 0; i < a.getNumRows(); ++i) {
        result.push_back(extremePlace(kSmallest, a(i, all).elements(), Kernels::arrays().smallest));
    }
    return result;
}

}  // namespace Veltrix
