#include "engine/supervised/LinearModel/ColumnRank.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "Veltrix/Data/Util.h"
#include "support/LinearAlgebra.h"

namespace Veltrix::Engine::LinearModel {
namespace {

/// Householder factorisation that takes one column after the other. Columns are scaled by powers of
/// two to entries of at most 1, which changes no digit, so that no square overflows or vanishes.
class Factorisation {
  public:
    Factorisation(Matrix a, int p, int n)
        : a_(std::move(a)),
          rows_(a_.getNumRows()),
          p_(p),
          relative_(std::max(n, p) * std::numeric_limits<double>::epsilon()),
          all_(static_cast<std::size_t>(a_.getNumCols())) {
        for (int j = 0; j < a_.getNumCols(); ++j) {
            double largest = 0.0;
            for (int i = 0; i < rows_; ++i) largest = std::max(largest, std::abs(at(i, j)));
            Column& column = all_[index(j)];
            if (largest > 0.0) column.exponent = std::ilogb(largest) + 1;
            for (int i = 0; i < rows_; ++i) at(i, j) = std::ldexp(at(i, j), -column.exponent);
            column.whole = column.outside = tailLength(j);
        }
    }

    /// Keeps the column if it is independent, else sets it aside.
    void judge(int j) {
        Column& column = all_[index(j)];
        column.judged = true;
        column.tolerance = relative_ * (column.whole + lengthOfFit(j));
        if (column.outside > column.tolerance) keep(j);
    }

    /// The next column in the order `longestFirst`; -1 when all are judged.
    int longest() const {
        constexpr double kAgreement = 1e-10;
        int best = -1;
        for (int j = 0; j < p_; ++j) {
            if (!all_[index(j)].judged && (best < 0 || outside(j) > outside(best))) best = j;
        }
        for (int j = 0; j < best; ++j) {
            const double slack = kAgreement * std::min(whole(j), whole(best));
            if (!all_[index(j)].judged && outside(best) - outside(j) <= slack) return j;
        }
        return best;
    }

    ColumnRank result() const {
        ColumnRank result;
        const int rank = static_cast<int>(kept_.size());
        result.columns = kept_;
        result.r = Matrix(rank, rank);
        for (int k = 0; k < rank; ++k) {
            for (int i = 0; i <= k; ++i) result.r(i, k) = entry(i, kept_[index(k)]);
        }
        for (int j = 0; j < p_; ++j) {
            result.diagonal.push_back(outside(j));
            result.tolerance.push_back(
                std::ldexp(all_[index(j)].tolerance, all_[index(j)].exponent));
        }
        if (a_.getNumCols() > p_) {
            for (int i = 0; i < rows_; ++i) result.rotated.push_back(entry(i, p_));
        }
        return result;
    }

  private:
    struct Column {
        int exponent = 0;      // of the power of two that was divided out
        double whole = 0.0;    // length
        double outside = 0.0;  // length of the part outside the columns kept
        double tolerance = 0.0;
        bool judged = false;
    };

    static std::size_t index(int j) { return static_cast<std::size_t>(j); }
    double* column(int j) { return a_.data() + std::int64_t{j} * rows_; }
    const double* column(int j) const { return a_.data() + std::int64_t{j} * rows_; }
    double& at(int i, int j) { return column(j)[i]; }
    double entry(int i, int j) const { return std::ldexp(column(j)[i], all_[index(j)].exponent); }
    double whole(int j) const { return std::ldexp(all_[index(j)].whole, all_[index(j)].exponent); }
    double outside(int j) const {
        return std::ldexp(all_[index(j)].outside, all_[index(j)].exponent);
    }
    int rank() const { return static_cast<int>(kept_.size()); }

    double tailLength(int j) const {
        const double* tail = column(j) + rank();
        return std::sqrt(Support::dot(rows_ - rank(), tail, 1, tail, 1));
    }

    /// Σ |γᵢ| ‖aᵢ‖ of the fit of column j to the columns kept.
    double lengthOfFit(int j) {
        work_.assign(column(j), column(j) + rank());
        double sum = 0.0;
        for (int i = rank() - 1; i >= 0; --i) {
            const int k = kept_[index(i)];
            const double coefficient = work_[index(i)] / at(i, k);
            Support::axpy(i, -coefficient, column(k), 1, work_.data(), 1);
            sum += std::abs(coefficient) * all_[index(k)].whole;
        }
        return sum;
    }

    /// Reflects the part of column j outside the columns kept onto the next unit vector, and the
    /// columns that are still to come with it.
    void keep(int j) {
        const int first = rank();
        const std::int64_t size = rows_ - first;
        const double length = all_[index(j)].outside;
        double* source = column(j) + first;
        work_.assign(source, source + size);
        for (double& value : work_) value /= length;
        const double sign = std::copysign(1.0, work_[0]);
        work_[0] += sign;
        const double scale = 1.0 / std::abs(work_[0]);
        source[0] = -sign * length;
        std::fill(source + 1, source + size, 0.0);
        kept_.push_back(j);
        for (int k = 0; k < a_.getNumCols(); ++k) {
            if (all_[index(k)].judged) continue;
            double* target = column(k) + first;
            const double projection = Support::dot(size, work_.data(), 1, target, 1);
            Support::axpy(size, -scale * projection, work_.data(), 1, target, 1);
            all_[index(k)].outside = tailLength(k);
        }
    }

    Matrix a_;
    int rows_;
    int p_;
    double relative_;
    std::vector<Column> all_;
    IntVector kept_;
    std::vector<double> work_;
};

}  // namespace

ColumnRank factoriseColumns(Matrix a, int p, int n, ColumnOrder order) {
    Factorisation factorisation(std::move(a), p, n);
    if (order == ColumnOrder::asGiven) {
        for (int j = 0; j < p; ++j) factorisation.judge(j);
    } else {
        for (int j = factorisation.longest(); j >= 0; j = factorisation.longest()) {
            factorisation.judge(j);
        }
    }
    return factorisation.result();
}

double rankTolerance(const Vector& lengths, int n) {
    const double size = std::max(static_cast<double>(n), static_cast<double>(lengths.size()));
    return size * std::numeric_limits<double>::epsilon() * Veltrix::Util::maxValue(lengths);
}

}  // namespace Veltrix::Engine::LinearModel
