#include <algorithm>
#include <cmath>
#include <string>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/DA.h"
#include "Veltrix/Engine/Exceptions.h"
#include "engine/core/Checks.h"
#include "engine/core/ClassLabels.h"
#include "engine/core/CovarianceFactor.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::DA {
namespace {

constexpr const char* kFit = "Discriminant analysis";
constexpr auto kUpper = TriangularityType::upper;

/// One more than the largest code, at least 1 and no more than can have records.
int countGroups(const IntVector& groups) {
    const int largest = Veltrix::Util::maxValue(groups);
    const auto size = static_cast<std::int64_t>(groups.size());
    if (largest >= size) {
        Checks::fail(ErrorCode::invalidArgument, kFit,
                     "group code " + std::to_string(largest) + " with " + std::to_string(size) +
                         " records, expected 0 to G - 1 with a record for each group");
    }
    return std::max(largest, 0) + 1;
}

/// Records of each class; all must have some.
Vector countRecords(const IntVector& groups, std::uint64_t numGroups) {
    Vector counts(numGroups);
    for (std::uint64_t i = 0; i < groups.size(); ++i) {
        const auto group = static_cast<std::uint64_t>(groups[i]);
        if (groups[i] < 0 || group >= numGroups) {
            Checks::fail(ErrorCode::indexOutOfRange, kFit,
                         "group of record " + std::to_string(i) + " is " +
                             std::to_string(groups[i]) + ", 0 to " + std::to_string(numGroups - 1) +
                             " expected");
        }
        counts[group] += 1.0;
    }
    const auto empty = std::find(counts.begin(), counts.end(), 0.0);
    if (empty != counts.end()) {
        Checks::fail(ErrorCode::invalidArgument, kFit,
                     "group " + std::to_string(empty - counts.begin()) +
                         " has no record, at least 1 expected");
    }
    return counts;
}

void checkPriors(const Vector& priors) {
    for (std::uint64_t g = 0; g < priors.size(); ++g) {
        if (priors[g] >= 0.0 && std::isfinite(priors[g])) continue;
        Checks::fail(ErrorCode::invalidArgument, kFit,
                     "prior of group " + std::to_string(g) + " is " +
                         Support::numberText(priors[g]) +
                         ", a finite number of at least 0 expected");
    }
    if (Veltrix::Util::sum(priors) == 0.0) {
        Checks::fail(ErrorCode::invalidArgument, kFit, "all priors are 0");
    }
}

Vector columnOf(const Matrix& a, int j) {
    const auto cells = a(Veltrix::Util::all, j).elements();
    return {cells.begin(), cells.end()};
}

/// −½ aⱼᵀbⱼ for every column j.
Vector halfProducts(const Matrix& a, const Matrix& b) {
    Vector result;
    for (int j = 0; j < a.getNumCols(); ++j) {
        result.push_back(-0.5 * Veltrix::Util::dotProduct(columnOf(a, j), columnOf(b, j)));
    }
    return result;
}

/// The mean of all records from those of the groups.
Vector middleOf(const GroupStatistic& statistic) {
    const Matrix& means = statistic.getGroupMean();
    Vector weights;
    for (const int size : statistic.getGroupSizes()) weights.push_back(size);
    Vector middle;
    for (int j = 0; j < means.getNumRows(); ++j) {
        const auto ofColumn = means(j, Veltrix::Util::all).elements();
        middle.push_back(
            Veltrix::Util::weightedMean(Vector(ofColumn.begin(), ofColumn.end()), weights));
    }
    return middle;
}

/// U⁻¹ below its product with the rest of the mean, (p + 1) × p.
Matrix rootOf(const Matrix& factor, const Vector& meanRest) {
    const int cols = factor.getNumCols();
    const Matrix inverse = Matrix::solveTriangularSystem(factor, Veltrix::Util::eye(cols, cols),
                                                         SideType::left, kUpper, false, 1.0);
    Matrix root(cols + 1, cols);
    for (int j = 0; j < cols; ++j) {
        const Vector column = columnOf(inverse, j);
        root(0, j) = -Veltrix::Util::dotProduct(column, meanRest);
        for (int i = 0; i <= j; ++i) root(i + 1, j) = column[static_cast<std::uint64_t>(i)];
    }
    return root;
}

}  // namespace

static_assert(std::is_nothrow_move_constructible_v<Model> &&
              std::is_nothrow_move_assignable_v<Model>);

Model::~Model() = default;

Model& Model::setQuadratic(bool quadratic) {
    quadratic_ = quadratic;
    return *this;
}

Model& Model::setPriors(const Vector& priors) {
    Modelable roles(*this);
    if (priors.size() != getClasses().size() && !priors.empty()) {
        roles.setClasses(numberedClasses(static_cast<int>(priors.size())));
    }
    PriorMap map;
    for (std::uint64_t g = 0; g < priors.size(); ++g) map[roles.getClasses()[g]] = priors[g];
    roles.setPrior(map);
    Modelable::operator=(std::move(roles));
    return *this;
}

Model& Model::setClasses(const StringVector& classes) {
    Modelable::setClasses(classes);
    return *this;
}

Model& Model::setSuccessClass(const WString& successClass) {
    Modelable::setSuccessClass(successClass);
    return *this;
}

Model& Model::setSuccessProbabilityCutoff(double cutoff) {
    Modelable::setSuccessProbabilityCutoff(cutoff);
    return *this;
}

Model& Model::setPrior(const WString& label, double prior) {
    Modelable::setPrior(label, prior);
    return *this;
}

Model& Model::setPrior(const PriorMap& priors) {
    Modelable::setPrior(priors);
    return *this;
}

Model& Model::fit(const Matrix& x, const IntVector& groups) {
    Checks::notEmpty(kFit, x);
    Checks::onePerRecord(kFit, "groups", groups.size(), x.getNumRows());
    Model fitted;
    static_cast<Modelable&>(fitted) = *this;
    if (getClasses().empty()) fitted.setClasses(numberedClasses(countGroups(groups)));
    return fitCodes(x, groups, std::move(fitted));
}

Model& Model::fit(const Matrix& x, const StringVector& labels) {
    Checks::notEmpty(kFit, x);
    Checks::onePerRecord(kFit, "labels", labels.size(), x.getNumRows());
    DataFrame column;
    column.append(labels);
    return fitLabels(x, column(Veltrix::Util::all, 0), FrameColumns());
}

Model& Model::fit(const DataFrame& x, const ConstDataFrameColumn& labels) {
    if (labels.getKind() == ColumnKind::numeric) {
        const Vector numbers = labels.toDoubleVector();
        Checks::finite(kFit, "class", {numbers.data(), numbers.size()});
    }
    const Matrix values = Convert::toMatrix(x);
    Checks::notEmpty(kFit, values);
    Checks::onePerRecord(kFit, "labels", static_cast<std::uint64_t>(labels.getNumRows()),
                         values.getNumRows());
    return fitLabels(values, labels, FrameColumns(x.getColNames()));
}

Model& Model::fitLabels(const Matrix& x, const ConstDataFrameColumn& labels, FrameColumns columns) {
    CodedLabels coded = codeLabels(labels, getClasses());
    requireClasses(kFit, labels, coded.codes);
    Model fitted;
    static_cast<Modelable&>(fitted) = *this;
    if (getClasses().empty()) fitted.setClasses(coded.classes);
    fitted.columns_ = std::move(columns);
    return fitCodes(x, coded.codes, std::move(fitted));
}

/// Fits `model`, which has roles and columns, and becomes it.
Model& Model::fitCodes(const Matrix& x, const IntVector& groups, Model model) {
    const Vector counts = countRecords(groups, model.getClasses().size());
    fitPriors(model, counts);
    const Vector priors = model.getPriorVector();
    checkPriors(priors);
    model.quadratic_ = quadratic_;
    model.fitted_ = quadratic_ ? fitQuadratic(x, groups, priors) : fitLinear(x, groups, priors);
    *this = std::move(model);
    return *this;
}

void Model::validateCovariance(const Matrix& covariance) {
    for (const double variance : Veltrix::Util::diag(covariance)) {
        if (variance == 0.0 || !std::isfinite(variance)) throw DAInvalidWithinClassVariance();
    }
}

Model::Fitted Model::fitLinear(const Matrix& x, const IntVector& groups, const Vector& priors) {
    const GroupStatistic statistic = Veltrix::Util::groupStatistic(x, groups, false, true);
    const Matrix& covariance = statistic.getPooledCovariance();
    validateCovariance(covariance);
    Fitted fitted;
    fitted.means = statistic.getGroupMean();
    fitted.centre = middleOf(statistic);
    const Matrix factor = covarianceFactor(kFit, covariance, fitted.centre,
                                           x.getNumRows() - statistic.getNumGroups());
    const auto solve = [&](const Matrix& right) {
        return Matrix::solvePositiveDefiniteSystemFromCholesky(factor, right, kUpper);
    };
    const Vector logPriors = Veltrix::Util::ln(priors);
    fitted.coefficients = solve(fitted.means);
    fitted.constants = logPriors + halfProducts(fitted.means, fitted.coefficients);
    Matrix distances = fitted.means;
    for (int g = 0; g < distances.getNumCols(); ++g) {
        distances(Veltrix::Util::all, g) += -fitted.centre;
    }
    distances += statistic.getGroupMeanRest();
    fitted.directions = solve(distances);
    fitted.offsets = logPriors + halfProducts(distances, fitted.directions);
    return fitted;
}

Model::Fitted Model::fitQuadratic(const Matrix& x, const IntVector& groups, const Vector& priors) {
    const GroupStatistic statistic = Veltrix::Util::groupStatistic(x, groups, true, false);
    const int cols = x.getNumCols();
    Fitted fitted;
    fitted.means = statistic.getGroupMean();
    fitted.coefficients = Matrix(cols, statistic.getNumGroups());
    fitted.offsets = Veltrix::Util::ln(priors);
    ProgressPhase phase("Inverting covariances", priors.size());
    for (int g = 0; g < statistic.getNumGroups(); ++g) {
        const auto group = static_cast<std::uint64_t>(g);
        const Matrix& covariance = statistic.getGroupCovariance(g);
        validateCovariance(covariance);
        const Vector mean = columnOf(fitted.means, g);
        const Matrix factor =
            covarianceFactor(kFit, covariance, mean, statistic.getGroupSizes()[group] - 1);
        fitted.coefficients(Veltrix::Util::all, g) =
            Matrix::solvePositiveDefiniteSystemFromCholesky(factor, mean, kUpper);
        fitted.quadraticTerms.push_back(
            -0.5 * Matrix::inversePositiveDefiniteFromCholesky(factor, kUpper));
        fitted.roots.push_back(rootOf(factor, columnOf(statistic.getGroupMeanRest(), g)));
        fitted.offsets[group] -= Veltrix::Util::sum(Veltrix::Util::ln(Veltrix::Util::diag(factor)));
        phase.advance();
    }
    fitted.constants = fitted.offsets + halfProducts(fitted.means, fitted.coefficients);
    return fitted;
}

}  // namespace Veltrix::Engine::DA
