#include "Veltrix/Engine/PCA.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "engine/core/Checks.h"
#include "engine/core/Projection.h"

namespace Veltrix::Engine::PCA {
namespace {

constexpr const char* kFit = "Principal components";
constexpr const char* kScores = "Principal component scores";
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void checkVarying(const Matrix& x, const StringVector& names) {
    for (int j = 0; j < x.getNumCols(); ++j) {
        const auto values = x(Veltrix::Util::all, j).elements();
        const double first = values[0];
        if (std::ranges::any_of(values, [first](double value) { return value != first; })) continue;
        const auto place = static_cast<std::uint64_t>(j);
        const std::string name =
            place < names.size() ? " (\"" + names[place].toUtf8() + "\")" : std::string();
        Checks::fail(ErrorCode::invalidArgument, kFit,
                     "column " + std::to_string(j) + name +
                         " is constant, it has no correlation with the others");
    }
}

/// The covariance or correlation matrix; says what is wrong with x when that is not finite.
Matrix symmetricOf(const Matrix& x, const Params& params, const StringVector& names) {
    const bool covariance = params.method == 1;
    Matrix result =
        covariance ? Veltrix::Util::covariance(x) : Veltrix::Util::correlation(x, false);
    const auto isFinite = [](double value) { return std::isfinite(value); };
    const Vector all = result.getAsDoubleVector();
    if (!std::all_of(all.begin(), all.end(), isFinite)) Checks::finite(kFit, x);
    // A single column shows no correlation that would not be defined.
    const bool defined = x.getNumCols() > 1 && std::all_of(all.begin(), all.end(), isFinite);
    if (!covariance && !defined) checkVarying(x, names);
    return result;
}

/// Adds the squares of a matrix' rows, each divided by what belongs to its column.
void addSquares(const Matrix& a, const Vector& divisors, Vector& sums) {
    ProgressPhase phase("Summing squares", static_cast<std::uint64_t>(a.getNumCols()));
    for (int j = 0; j < a.getNumCols(); ++j) {
        const double divisor = divisors[static_cast<std::uint64_t>(j)];
        if (Veltrix::Util::isZero(divisor)) continue;
        const auto values = a(Veltrix::Util::all, j).elements();
        auto value = values.begin();
        for (double& sum : sums) {
            sum += *value * *value / divisor;
            ++value;
        }
        phase.advance();
    }
}

Vector squaresOfRows(const Matrix& a) {
    Vector sums(static_cast<std::uint64_t>(a.getNumRows()));
    addSquares(a, Vector(static_cast<std::uint64_t>(a.getNumCols()), 1.0), sums);
    return sums;
}

}  // namespace

static_assert(std::is_nothrow_move_constructible_v<Model> &&
              std::is_nothrow_move_assignable_v<Model>);

Model::~Model() = default;

Model& Model::setParams(const Params& params) {
    params_ = params;
    return *this;
}

Model& Model::fit(const Matrix& x) { return fitNamed(x, FrameColumns()); }

Model& Model::fit(const DataFrame& x) {
    return fitNamed(Convert::toMatrix(x), FrameColumns(x.getColNames()));
}

Model& Model::fitNamed(const Matrix& x, FrameColumns columns) {
    validate(x);
    Checks::atLeast(kFit, "columns", x.getNumCols(), 1);
    Spectral spectral = Veltrix::Util::spectral(symmetricOf(x, params_, columns.getNames()));
    if (spectral.getOrder() == Ordering::smallestFirst) spectral.switchOrder();
    Model fitted(params_);
    fitted.eigenvalues_ = spectral.getEigenvalues();
    fitted.eigenvectors_ = spectral.getEigenvectors();
    fitted.columns_ = std::move(columns);
    *this = std::move(fitted);
    return *this;
}

Matrix Model::transform(const Matrix& x, int k) const {
    Checks::atLeast(kScores, "components", k, 0);
    if (eigenvalues_.empty()) return {x.getNumRows(), k, kNaN};
    Checks::columns(kScores, x.getNumCols(), eigenvectors_.getNumRows());
    Checks::index(kScores, "number of components", k, eigenvectors_.getNumCols() + std::int64_t{1});
    return project(kScores, x, eigenvectors_(Veltrix::Util::all, Veltrix::Util::range(0, k)));
}

DataFrame Model::transform(const DataFrame& x, int k) const {
    StringVector names;
    for (int j = 1; j <= k; ++j) names.push_back(L"Component " + Convert::toString(j));
    DataFrame frame = Convert::toDataFrame(transform(columns_.toMatrix(x), k), names);
    frame.setName(L"Scores: " + x.getName());
    return frame;
}

Vector Model::explainedVariance() const {
    Vector result = Veltrix::Util::percentage(eigenvalues_);
    result.setName(L"Explained Variance, %");
    return result;
}

Vector Model::explainedCumulativeVariance(const Vector& v) {
    Vector result = Veltrix::Util::partialSum(v);
    result.setName(L"Explained Cum. Variance, %");
    return result;
}

Vector Model::qStat(const Matrix& x, const Matrix& scores) {
    Checks::onePerRecord("Q statistic", "rows of scores",
                         static_cast<std::uint64_t>(scores.getNumRows()), x.getNumRows());
    Vector result = squaresOfRows(x) - squaresOfRows(scores);
    result.setName(L"Q-Statistic");
    return result;
}

Vector Model::tStat(const Matrix& scores) const {
    const auto size = static_cast<std::uint64_t>(scores.getNumRows());
    Vector result(size, eigenvalues_.empty() ? kNaN : 0.0);
    if (!eigenvalues_.empty()) {
        Checks::index("T-squared statistic", "number of components", scores.getNumCols(),
                      eigenvectors_.getNumCols() + std::int64_t{1});
        addSquares(scores, eigenvalues_, result);
    }
    result.setName(L"Hotelling's t-Squared Statistic");
    return result;
}

void Model::validate(const Matrix& x) {
    if (x.getNumRows() < 2) throw TooFewNumRows();
}

}  // namespace Veltrix::Engine::PCA
