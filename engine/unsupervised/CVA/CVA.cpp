#include "Veltrix/Engine/CVA.h"

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "engine/core/Checks.h"
#include "engine/core/CovarianceFactor.h"
#include "engine/core/Projection.h"

namespace Veltrix::Engine::CVA {
namespace {

constexpr const char* kFit = "Canonical variates";
constexpr const char* kScores = "Canonical variate scores";
constexpr auto kUpper = TriangularityType::upper;

/// Σ n_c d dᵀ with d = μ_c − μ.
Matrix scatterBetween(const GroupStatistic& statistic) {
    const Matrix& means = statistic.getGroupMean();
    Matrix distances = means;  // times √n_c
    for (int c = 0; c < means.getNumCols(); ++c) {
        distances(Veltrix::Util::all, c) += -statistic.getPooledMean();
    }
    distances += statistic.getGroupMeanRest();
    for (int c = 0; c < means.getNumCols(); ++c) {
        const double size = statistic.getGroupSizes()[static_cast<std::uint64_t>(c)];
        distances(Veltrix::Util::all, c) *= std::sqrt(size);
    }
    return distances * Veltrix::Util::transpose(distances);
}

}  // namespace

static_assert(std::is_nothrow_move_constructible_v<Model> &&
              std::is_nothrow_move_assignable_v<Model>);

Model::~Model() = default;

Model& Model::fit(const Matrix& x, const IntVector& y) {
    Checks::onePerRecord(kFit, "classes", y.size(), x.getNumRows());
    return fitNamed(x, y, FrameColumns());
}

Model& Model::fit(const DataFrame& x, const ConstDataFrameColumn& labels) {
    const Matrix values = Convert::toMatrix(x);
    Checks::onePerRecord(kFit, "classes", static_cast<std::uint64_t>(labels.getNumRows()),
                         values.getNumRows());
    if (labels.getKind() == ColumnKind::numeric) {
        const Vector numbers = labels.toDoubleVector();
        Checks::finite(kFit, "class", {numbers.data(), numbers.size()});
    }
    IntVector codes;
    labels.getLevels(codes);
    return fitNamed(values, codes, FrameColumns(x.getColNames()));
}

Model& Model::fitNamed(const Matrix& x, const IntVector& y, FrameColumns columns) {
    Checks::notEmpty(kFit, x);
    const GroupStatistic statistic = Veltrix::Util::groupStatistic(x, y, false, true);
    const int cols = x.getNumCols();
    const int freedom = x.getNumRows() - statistic.getNumGroups();
    const Matrix& within = statistic.getPooledCovariance();
    if (freedom > 0 && Veltrix::Util::countNaNInfinity(Veltrix::Util::diag(within)) > 0) {
        Checks::finite(kFit, x);
    }
    Matrix factor = covarianceFactor(kFit, within, statistic.getPooledMean(), freedom);
    factor *= std::sqrt(static_cast<double>(freedom));
    constexpr int kProblem = 1;
    const Spectral spectral = Veltrix::Util::spectral(
        Matrix::standardizeEigenvalueProblem(scatterBetween(statistic), factor, kProblem, kUpper));
    const Vector& eigenvalues = spectral.getEigenvalues();
    // No more differ from 0 than the classes allow, whatever rounding has left of the others.
    const int numZero =
        std::max(Veltrix::Util::countZero(eigenvalues), cols - statistic.getNumGroups() + 1);
    if (numZero >= cols) {
        if (numColumns_ == 0) {
            columns_ = std::move(columns);
            numColumns_ = cols;
        }
        return *this;
    }
    const Except zeros = Veltrix::Util::except(Veltrix::Util::range(0, numZero));
    Model fitted;
    fitted.eigenvalues_ = Veltrix::Util::select(eigenvalues, zeros);
    fitted.coefficients_ =
        Matrix::solveTriangularSystem(factor, spectral.getEigenvectors()(Veltrix::Util::all, zeros),
                                      SideType::left, kUpper, false, 1.0);
    fitted.numColumns_ = cols;
    fitted.columns_ = std::move(columns);
    *this = std::move(fitted);
    return *this;
}

Matrix Model::transform(const Matrix& x) const {
    Checks::fitted(kScores, numColumns_ > 0);
    Checks::columns(kScores, x.getNumCols(), numColumns_);
    return project(kScores, x, coefficients_);
}

DataFrame Model::transform(const DataFrame& x) const {
    StringVector names;
    for (int j = 1; j <= coefficients_.getNumCols(); ++j) {
        names.push_back(L"Variate " + Convert::toString(j));
    }
    DataFrame frame = Convert::toDataFrame(transform(columns_.toMatrix(x)), names);
    frame.setName(L"Scores: " + x.getName());
    return frame;
}

}  // namespace Veltrix::Engine::CVA
