#include "Veltrix/Engine/TM/ConceptExtractor.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "engine/core/Checks.h"
#include "engine/core/Projection.h"

namespace Veltrix::Engine::TM {
namespace {

constexpr const char* kFit = "Concept extraction";
constexpr const char* kNumber = "Number of concepts";
/// From here on the whole decomposition takes long enough to look for less.
constexpr int kManySingularValues = 500;
/// Singular values for each concept from which on looking for the leading ones pays.
constexpr int kValuesPerConcept = 10;

/// Whether the leading singular values do.
bool leadingOnesDo(const ConceptExtractor::Params& params, int smaller) {
    return !params.allSingularValues && params.maxConcepts > 0 && smaller >= kManySingularValues &&
           params.maxConcepts <= smaller / kValuesPerConcept;
}

/// The first count of shares whose sum reaches `wanted`, or `otherwise`.
int countReaching(const Vector& shares, double wanted, int otherwise) {
    double total = 0.0;
    int count = 0;
    for (const double share : shares) {
        ++count;
        total += share;
        if (total >= wanted) return count;
    }
    return otherwise;
}

/// The count before the largest step down.
int countBeforeElbow(const Vector& values) {
    int count = 1;
    double largest = -1.0;
    for (std::uint64_t i = 1; i < values.size(); ++i) {
        const double step = std::fabs(values[i] - values[i - 1]);
        if (step <= largest) continue;
        largest = step;
        count = static_cast<int>(i);
    }
    return count;
}

Matrix withUnitRows(Matrix m) {
    if (m.getNumCols() == 1) return m;
    const Vector lengths = ConceptExtractor::termImportance(m);
    for (int i = 0; i < m.getNumRows(); ++i) {
        const double length = lengths[static_cast<std::uint64_t>(i)];
        if (length != 0.0) m(i, Veltrix::Util::all) /= length;
    }
    return m;
}

}  // namespace

static_assert(std::is_nothrow_move_constructible_v<ConceptExtractor> &&
              std::is_nothrow_move_assignable_v<ConceptExtractor>);

ConceptExtractor::~ConceptExtractor() = default;

ConceptExtractor& ConceptExtractor::setParams(const Params& params) {
    params_ = params;
    return *this;
}

ConceptExtractor& ConceptExtractor::fit(const Matrix& m) {
    Checks::notEmpty(kFit, m);
    Checks::atLeast(kFit, "concepts as maximum", params_.maxConcepts, 0);
    Veltrix::Checks::finite(kFit, m);
    const int smaller = std::min(m.getNumRows(), m.getNumCols());
    const bool leading = leadingOnesDo(params_, smaller);
    const SVD svd = leading ? Veltrix::Util::svd(m, params_.maxConcepts) : Veltrix::Util::svd(m);
    ConceptExtractor fitted(params_);
    fitted.singularValues_ = svd.getSingularValues();
    fitted.chooseNumConcepts(m.getNumRows(), m.getNumCols(), !leading);
    const IntVector kept = Veltrix::Util::range(0, fitted.numConcepts_);
    fitted.rightSingular_ = svd.getRightSingular()(kept, Veltrix::Util::all);
    fitted.leftSingular_ = svd.getLeftSingular()(Veltrix::Util::all, kept);
    *this = std::move(fitted);
    return *this;
}

ConceptExtractor& ConceptExtractor::computeNumConcepts(int rows, int cols) {
    Checks::fitted(kNumber, !singularValues_.empty());
    Checks::atLeast(kNumber, "rows", rows, 0);
    Checks::atLeast(kNumber, "columns", cols, 0);
    Checks::atLeast(kNumber, "concepts as maximum", params_.maxConcepts, 0);
    const int all = std::min(leftSingular_.getNumRows(), rightSingular_.getNumCols());
    chooseNumConcepts(rows, cols, singularValues_.size() == static_cast<std::uint64_t>(all));
    return *this;
}

void ConceptExtractor::chooseNumConcepts(int rows, int cols, bool allKnown) {
    Vector sums = Veltrix::Util::partialSum(singularValues_);
    Vector shares = allKnown
                        ? Veltrix::Util::percentage(singularValues_)
                        : Vector(singularValues_.size(), std::numeric_limits<double>::quiet_NaN());
    shares_ = std::move(shares);
    runningSums_ = std::move(sums);
    numConcepts_ = singularValues_.size() == 1 ? 1 : numConceptsBySettings(std::min(rows, cols));
}

std::int32_t ConceptExtractor::numConceptsBySettings(int smaller) const {
    if (params_.maxConcepts != 0) return std::min(smaller, params_.maxConcepts);
    if (params_.cumulativeShare != 0.0) {
        return countReaching(shares_, params_.cumulativeShare, smaller);
    }
    return countBeforeElbow(singularValues_);
}

Matrix ConceptExtractor::cdm(const Matrix& m, bool unitRows) const {
    const char* operation = "Concept-document matrix";
    Checks::fitted(operation, !singularValues_.empty());
    Checks::columns(operation, m.getNumCols(), rightSingular_.getNumCols());
    Matrix result = project(operation, m, Veltrix::Util::transpose(rightSingular_));
    return unitRows ? withUnitRows(std::move(result)) : result;
}

Matrix ConceptExtractor::tcm(const Matrix& m, bool unitRows) const {
    const char* operation = "Term-concept matrix";
    Checks::fitted(operation, !singularValues_.empty());
    Checks::onePerRecord(operation, "rows", static_cast<std::uint64_t>(m.getNumRows()),
                         leftSingular_.getNumRows());
    Matrix result = projectTransposed(operation, m, leftSingular_);
    return unitRows ? withUnitRows(std::move(result)) : result;
}

Vector ConceptExtractor::termImportance(const Matrix& m) {
    constexpr int kStep = 1024;
    Vector lengths(static_cast<std::uint64_t>(m.getNumRows()));
    ProgressPhase phase("Measuring rows", static_cast<std::uint64_t>(m.getNumRows()));
    for (int i = 0; i < m.getNumRows(); ++i) {
        lengths[static_cast<std::uint64_t>(i)] =
            Veltrix::Util::norm(m(i, Veltrix::Util::all), NormType::euclidean, false);
        if (i % kStep == kStep - 1) phase.advance(kStep);
    }
    return lengths;
}

}  // namespace Veltrix::Engine::TM
