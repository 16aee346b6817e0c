#include "engine/supervised/LinearModel/SweptModel.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "Veltrix/Data/Util.h"
#include "engine/core/Checks.h"
#include "engine/supervised/LinearModel/ColumnRank.h"

namespace Veltrix::Engine::LinearModel::FeatureSelection {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
/// What has to be left of a pivot.
constexpr double kLeastShare = 1e-12;

/// AᵀA
Matrix crossProduct(const Matrix& a) { return Veltrix::Util::transpose(a) * a; }

}  // namespace

Problem problemOf(const Matrix& s, int n, bool intercept) {
    Veltrix::Checks::square(s);
    Checks::atLeast("Feature selection", "columns beside the response",
                    std::int64_t{s.getNumCols()} - 1, intercept ? 2 : 1);
    Problem problem{s, n, intercept};
    if (intercept) Veltrix::Util::sweep(problem.swept, 0);
    return problem;
}

Problem problemOf(const Matrix& triangle, int n, bool intercept, IntVector& columns) {
    const int p = triangle.getNumCols() - 1;
    const ColumnRank found = factoriseColumns(triangle, p, n, ColumnOrder::asGiven);
    const int rank = static_cast<int>(found.columns.size());
    const int first = intercept ? 1 : 0;
    // [R Qᵀy] of the independent columns; below the intercept's row it is about the means.
    Matrix whole(static_cast<int>(found.rotated.size()), rank + 1);
    for (int k = 0; k < rank; ++k) {
        for (int i = 0; i <= k; ++i) whole(i, k) = found.r(i, k);
    }
    whole(Veltrix::Util::all, rank) = found.rotated;
    const Matrix inner = whole(Veltrix::Util::range(first, whole.getNumRows()), Veltrix::Util::all);
    IntVector kept;
    for (int k = 0; k < rank; ++k) {
        const double length =
            Veltrix::Util::norm(inner(Veltrix::Util::all, k), NormType::euclidean, true);
        const double left = found.r(k, k) * found.r(k, k);
        if (k < first || left > kLeastShare * length) kept.push_back(k);
    }
    columns.clear();
    for (const int k : kept) columns.push_back(found.columns[static_cast<std::uint64_t>(k)]);
    kept.push_back(rank);
    Problem problem{crossProduct(inner(Veltrix::Util::all, kept)), n, intercept};
    if (intercept) {
        const double pivot = whole(0, 0);
        for (int k = 1; k < problem.swept.getNumCols(); ++k) {
            const double share = whole(0, kept[static_cast<std::uint64_t>(k)]) / pivot;
            problem.swept(0, k) = share;
            problem.swept(k, 0) = -share;
        }
        problem.swept(0, 0) = 1.0 / (pivot * pivot);
    }
    return problem;
}

SweptModel::SweptModel(Problem problem)
    : problem_(std::move(problem)),
      first_(Veltrix::Util::diag(problem_.swept)),
      inside_(static_cast<std::size_t>(numColumns()), false),
      size_(problem_.numForced()) {
    if (problem_.intercept) inside_[0] = true;
}

IntVector SweptModel::columns() const {
    IntVector result;
    for (int j = 0; j < numColumns(); ++j) {
        if (contains(j)) result.push_back(j);
    }
    return result;
}

void SweptModel::turn(int j) {
    Veltrix::Util::sweep(problem_.swept, j);
    size_ += contains(j) ? -1 : 1;
    inside_[static_cast<std::size_t>(j)] = !contains(j);
}

bool SweptModel::canEnter(double pivot, int j) const {
    return pivot > kLeastShare * first_[static_cast<std::uint64_t>(j)];
}

double SweptModel::reduction(int j) const {
    const Matrix& s = problem_.swept;
    const int r = numColumns();
    return canEnter(s(j, j), j) ? s(r, j) * s(j, r) / s(j, j) : kNaN;
}

double SweptModel::increase(int j) const {
    const Matrix& s = problem_.swept;
    const int r = numColumns();
    return std::max(-s(r, j) * s(j, r) / s(j, j), 0.0);
}

double SweptModel::exchanged(int out, int in) const {
    const Matrix& s = problem_.swept;
    const int r = numColumns();
    const double pivot = s(out, out);
    const double before = s(in, in);
    const double left = before - s(in, out) * s(out, in) / pivot;
    if (!canEnter(left, in)) return kInfinity;
    const double row = s(r, in) - s(r, out) * s(out, in) / pivot;
    const double column = s(in, r) - s(in, out) * s(out, r) / pivot;
    return s(r, r) - s(r, out) * s(out, r) / pivot - row * column / left;
}

double SweptModel::fToEnter(int j) const {
    const double gain = reduction(j);
    const double df = problem_.numRecords - size_ - 1;
    const double rest = rss() - gain;
    if (!(df > 0.0) || std::isnan(gain)) return kNaN;
    if (gain <= 0.0) return 0.0;
    return rest > 0.0 ? df * gain / rest : kInfinity;
}

double SweptModel::fToRemove(int j) const {
    const double loss = increase(j);
    if (loss == 0.0) return 0.0;
    return rss() > 0.0 ? (problem_.numRecords - size_) * loss / rss() : kInfinity;
}

Step SweptModel::entry() const {
    Step best;
    for (int j = 0; j < numColumns(); ++j) {
        if (contains(j)) continue;
        const double f = fToEnter(j);
        if (f >= 0.0 && (best.column < 0 || f > best.F)) best = {j, f};
    }
    return best;
}

Step SweptModel::removal() const {
    Step best;
    for (int j = problem_.numForced(); j < numColumns(); ++j) {
        if (!contains(j)) continue;
        const double f = fToRemove(j);
        if (best.column < 0 || f < best.F) best = {j, f};
    }
    return best;
}

int SweptModel::bestAddition() const {
    int best = -1;
    double most = 0.0;
    for (int j = 0; j < numColumns(); ++j) {
        if (contains(j)) continue;
        const double gain = reduction(j);
        if (!std::isnan(gain) && (best < 0 || gain > most)) {
            best = j;
            most = gain;
        }
    }
    return best;
}

}  // namespace Veltrix::Engine::LinearModel::FeatureSelection
