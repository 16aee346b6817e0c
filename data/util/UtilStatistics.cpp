#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <span>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "data/factorisations/Spectra.h"
#include "data/matrix/Symmetric.h"
#include "data/util/ProgressMeter.h"
#include "support/LinearAlgebra.h"
#include "support/kernels/Arrays.h"

namespace Veltrix {
namespace {

/// Doubles in a block of centred rows: large enough for the matrix product to run at full speed.
constexpr std::int64_t kBlockSize = 131072;
constexpr const char* kMeans = "Averaging groups";
constexpr const char* kPhase = "Summing products of columns";

/// Rows of a matrix, each with the centre that is taken from it: a column of `centres` (p × G,
/// column-major), the only one or that of the row's group.
struct CentredRows {
    const Matrix& a;
    const double* centres;
    const int* rows = nullptr;     ///< the rows taken, all in their order without
    const int* groupOf = nullptr;  ///< the group of every row of the matrix
    std::int64_t numGroups = 1;
};

void centreRowMajor(const CentredRows& source, std::int64_t first, std::int64_t count,
                    double* block) {
    const std::int64_t cols = source.a.getNumCols();
    for (std::int64_t k = 0; k < count; ++k) {
        const std::int64_t row = source.rows == nullptr ? first + k : source.rows[first + k];
        const std::int64_t group = source.groupOf == nullptr ? 0 : source.groupOf[row];
        const double* values = source.a.data() + row * cols;
        const double* centre = source.centres + group * cols;
        for (std::int64_t j = 0; j < cols; ++j) block[k * cols + j] = values[j] - centre[j];
    }
}

void centreColumnMajor(const CentredRows& source, std::int64_t first, std::int64_t count,
                       double* block) {
    const std::int64_t cols = source.a.getNumCols();
    Vector centre(static_cast<std::uint64_t>(source.numGroups));  // of every group in a column
    const double* const centreOf = centre.data();
    for (std::int64_t j = 0; j < cols; ++j) {
        const double* column = source.a.data() + j * source.a.getNumRows();
        double* target = block + j * count;
        for (std::int64_t g = 0; g < source.numGroups; ++g) {
            centre.data()[g] = source.centres[g * cols + j];
        }
        for (std::int64_t k = 0; k < count; ++k) {
            const std::int64_t row = source.rows == nullptr ? first + k : source.rows[first + k];
            target[k] = column[row] - centreOf[source.groupOf == nullptr ? 0 : source.groupOf[row]];
        }
    }
}

/// Adds the cross-products of rows [first, end) of the source to the upper triangle of `scatter`,
/// column-major.
void addScatter(const CentredRows& source, std::int64_t first, std::int64_t end, Matrix& scatter,
                ProgressPhase& phase) {
    const std::int64_t cols = source.a.getNumCols();
    if (cols == 0 || first == end) return;
    const bool byRows = source.a.getMatrixOrder() == MatrixOrderType::rowMajor;
    const std::int64_t blockRows =
        std::clamp<std::int64_t>(kBlockSize / cols, 64, end - first + 64);
    Vector block(static_cast<std::uint64_t>(blockRows * cols), Storage::kUnfilled);
    for (; first < end; first += blockRows) {
        const std::int64_t count = std::min(blockRows, end - first);
        (byRows ? centreRowMajor : centreColumnMajor)(source, first, count, block.data());
        Support::syrk(Support::Triangle::Upper,
                      byRows ? Support::Transpose::No : Support::Transpose::Yes, cols, count, 1.0,
                      block.data(), byRows ? cols : count, 1.0, scatter.data(), cols);
        phase.advance(static_cast<std::uint64_t>(count));
    }
}

/// The whole symmetric matrix from its upper triangle, divided.
Matrix dividedScatter(Matrix scatter, std::int64_t divisor, MatrixOrderType order) {
    mirror(scatter, Support::Triangle::Upper);
    scatter /= static_cast<double>(divisor);
    return inOrder(scatter, order);
}

/// Rows by group: `order` lists the rows of group 0, then those of group 1, ..., each group's in
/// their order in the data; group g begins at position starts[g].
struct Grouping {
    explicit Grouping(const IntVector& labels)
        : codes(Util::uniqueElements(labels)),
          groupOfRow(labels.size()),
          order(labels.size()),
          starts(codes.size() + 1) {
        for (std::uint64_t i = 0; i < labels.size(); ++i) {
            const int* code = std::lower_bound(codes.begin(), codes.end(), labels[i]);
            groupOfRow[i] = static_cast<int>(code - codes.begin());
            ++starts[static_cast<std::uint64_t>(groupOfRow[i]) + 1];
        }
        std::partial_sum(starts.begin(), starts.end(), starts.begin());
        IntVector next(starts);
        for (std::uint64_t i = 0; i < labels.size(); ++i) {
            int& place = next[static_cast<std::uint64_t>(groupOfRow[i])];
            order[static_cast<std::uint64_t>(place++)] = static_cast<int>(i);
        }
    }

    IntVector codes;
    IntVector groupOfRow;
    IntVector order;
    IntVector starts;
};

/// Means of the rows of every group, p × G, and what rounding left out of them.
struct GroupMeans {
    GroupMeans(const Matrix& from, const Grouping& by)
        : a(from),
          grouping(by),
          means(from.getNumCols(), static_cast<int>(by.codes.size())),
          rests(means) {
        a.getMatrixOrder() == MatrixOrderType::rowMajor ? sumRows() : sumColumns();
    }

    std::span<const int> membersOf(std::int64_t group) const {
        const int* starts = grouping.starts.data() + group;
        return {grouping.order.data() + starts[0], grouping.order.data() + starts[1]};
    }

    void sumRows() {
        const std::int64_t cols = a.getNumCols();
        const std::int64_t size = sizeOf(means);
        ProgressMeter meter(kMeans, static_cast<std::uint64_t>(a.getNumRows()));
        for (std::int64_t i = 0; i < a.getNumRows(); ++i) {
            const std::int64_t place = grouping.groupOfRow.data()[i] * cols;
            Kernels::arrays().addTo(cols, a.data() + i * cols, means.data() + place,
                                    rests.data() + place);
            meter.add(static_cast<std::uint64_t>(cols), 1);
        }
        for (std::int64_t k = 0; k < size; ++k) {
            divide(k / cols, k % cols, {means.data()[k], rests.data()[k]});
        }
    }

    void sumColumns() {
        Vector column(grouping.order.size());  // group by group
        ProgressPhase phase(kMeans, static_cast<std::uint64_t>(a.getNumCols()));
        for (std::int64_t j = 0; j < a.getNumCols(); ++j) {
            const double* values = a.data() + j * a.getNumRows();
            std::ranges::transform(grouping.order, column.begin(),
                                   [values](int row) { return values[row]; });
            for (std::int64_t g = 0; g < means.getNumCols(); ++g) {
                const auto size = static_cast<std::int64_t>(membersOf(g).size());
                const double* first = column.data() + grouping.starts.data()[g];
                divide(g, j, Kernels::arrays().sum(size, first));
            }
            phase.advance();
        }
    }

    /// A mean whose sum has overflowed is formed again from the values.
    void divide(std::int64_t group, std::int64_t col, Kernels::CompensatedSum sum) {
        const std::span<const int> members = membersOf(group);
        const auto size = static_cast<std::int64_t>(members.size());
        const std::int64_t place = group * a.getNumCols() + col;
        double& mean = means.data()[place] = sum.mean(size);
        rests.data()[place] = sum.restOf(mean, size);
        if (std::isfinite(mean)) return;
        Vector values;
        for (const int row : members) values.push_back(a(row, static_cast<int>(col)));
        mean = Util::mean(values);
        rests.data()[place] = 0.0;
    }

    const Matrix& a;
    const Grouping& grouping;
    Matrix means;
    Matrix rests;
};

Matrix plainCovariance(const Matrix& a) {
    const Vector means = Util::mean(a);
    Matrix scatter(a.getNumCols(), a.getNumCols());
    ProgressPhase phase(kPhase, static_cast<std::uint64_t>(a.getNumRows()));
    Checks::routine("Covariance", [&] {
        addScatter({a, means.data()}, 0, a.getNumRows(), scatter, phase);
    });
    return dividedScatter(std::move(scatter), a.getNumRows() - 1, a.getMatrixOrder());
}

/// A covariance without its factors 2^(eᵢ + eⱼ), which could overflow or underflow.
struct ScaledCovariance {
    explicit ScaledCovariance(const Matrix& a) {
        if (a.getNumRows() < 2) throw TooFewNumRows();
        values = plainCovariance(a);
        if (!outOfRange()) return;
        Matrix scaled(a);
        for (int j = 0; j < a.getNumCols(); ++j) {
            constexpr auto kLargest = NormType::largestAbsoluteValue;
            const double largest = Util::norm(a(Util::all, j), kLargest, false);
            int exponent = 0;
            if (std::isfinite(largest)) std::frexp(largest, &exponent);
            for (int i = 0; i < a.getNumRows(); ++i) scaled(i, j) = std::ldexp(a(i, j), -exponent);
            exponents.push_back(exponent);
        }
        values = plainCovariance(scaled);
    }

    /// Whether squares may have overflowed or lost digits; a variance of 0 may be such a square.
    bool outOfRange() const {
        for (const double variance : Util::diag(values)) {
            if (!(variance > 1e-280 && variance < 1e280)) return true;
        }
        return false;
    }

    Matrix values;
    IntVector exponents;  ///< empty: all are 0
};

}  // namespace

Matrix Util::covariance(const Matrix& a) {
    ScaledCovariance scaled(a);
    Matrix& result = scaled.values;
    if (scaled.exponents.empty()) return std::move(result);
    for (int i = 0; i < result.getNumRows(); ++i) {
        const int exponent = scaled.exponents[static_cast<std::uint64_t>(i)];
        for (int j = 0; j < result.getNumCols(); ++j) {
            result(i, j) = std::ldexp(result(i, j),
                                      exponent + scaled.exponents[static_cast<std::uint64_t>(j)]);
        }
    }
    return std::move(result);
}

Matrix Util::correlation(const Matrix& a, bool absoluteValues) {
    Matrix result = ScaledCovariance(a).values;
    const Vector deviations = sqrt(diag(result));
    for (int i = 0; i < result.getNumRows(); ++i) {
        for (int j = 0; j < i; ++j) {
            const double product = deviations[static_cast<std::uint64_t>(i)] *
                                   deviations[static_cast<std::uint64_t>(j)];
            const double r = std::clamp(result(i, j) / product, -1.0, 1.0);
            result(i, j) = result(j, i) = absoluteValues ? std::fabs(r) : r;
        }
        const bool known = !std::isnan(result(i, i));
        result(i, i) = known ? 1.0 : result(i, i);
    }
    return result;
}

Matrix Util::cholesky(const Matrix& a, TriangularityType triangle) {
    const char* operation = "Cholesky factorisation";
    Matrix factor = symmetricFrom(operation, a, triangle);
    Checks::routine(operation, [&] {
        Support::potrf(memoryTriangle(factor, triangle), factor.getNumRows(), factor.data(),
                       leadingDimension(factor));
    });
    return triangleOf(factor, triangle);
}

Spectral Util::spectral(const Matrix& a) { return symmetricDecomposition(a); }

GroupStatistic Util::groupStatistic(const Matrix& a, const IntVector& groups, bool groupCovariances,
                                    bool pooledCovariance) {
    const char* operation = "Group statistics";
    Checks::counts(operation, a.getNumRows(), "rows", groups.size(), "group codes");
    const Grouping grouping(groups);
    const int cols = a.getNumCols();
    GroupStatistic result;
    result.codes_ = grouping.codes;
    GroupMeans ofGroups(a, grouping);
    result.groupMean_ = std::move(ofGroups.means);
    result.groupMeanRest_ = std::move(ofGroups.rests);
    const double* means = result.groupMean_.data();
    Matrix within(cols, cols);
    ProgressPhase phase(kPhase, static_cast<std::uint64_t>(a.getNumRows()));
    Checks::routine(operation, [&] {
        for (std::uint64_t g = 0; g < grouping.codes.size(); ++g) {
            const int first = grouping.starts[g];
            const int end = grouping.starts[g + 1];
            result.sizes_.push_back(end - first);
            if (!groupCovariances) continue;
            Matrix scatter(cols, cols);
            const CentredRows ofGroup{a, means + static_cast<std::int64_t>(g) * cols,
                                      grouping.order.data()};
            addScatter(ofGroup, first, end, scatter, phase);
            within += scatter;
            result.groupCovariance_.push_back(
                dividedScatter(std::move(scatter), end - first - 1, a.getMatrixOrder()));
        }
        // Without the groups' own matrices one product over all the rows does.
        if (!groupCovariances && pooledCovariance) {
            const CentredRows all{a, means, nullptr, grouping.groupOfRow.data(),
                                  static_cast<std::int64_t>(grouping.codes.size())};
            addScatter(all, 0, a.getNumRows(), within, phase);
        }
    });
    if (pooledCovariance) {
        const auto freedom = a.getNumRows() - static_cast<std::int64_t>(grouping.codes.size());
        result.pooledCovariance_ = dividedScatter(std::move(within), freedom, a.getMatrixOrder());
        result.pooledMean_ = mean(a);
    }
    return result;
}

}  // namespace Veltrix
