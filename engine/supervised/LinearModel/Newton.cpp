#include "engine/supervised/LinearModel/Newton.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <optional>
#include <span>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "engine/supervised/LinearModel/ColumnRank.h"
#include "engine/supervised/LinearModel/LogisticLikelihood.h"
#include "support/LinearAlgebra.h"

namespace Veltrix::Engine::LinearModel {
namespace {

constexpr double kTolerance = 0.0001;

double largestMagnitude(const Vector& values) {
    double largest = 0.0;
    for (const double value : values) largest = std::max(largest, std::abs(value));
    return largest;
}

Vector solveUpper(const Matrix& r, const Vector& b, bool transpose) {
    if (b.empty()) return {};
    return Matrix::solveTriangularSystem(r, b, SideType::left, TriangularityType::upper, transpose,
                                         1.0);
}

/// Squared length of a column times that of the row of the inverse, the largest of all columns:
/// 1/(1 − R²) of the column that the others explain best.
double largestInflation(const Matrix& r) {
    const Matrix inverse =
        Matrix::solveTriangularSystem(r, Veltrix::Util::eye(r.getNumCols(), r.getNumCols()),
                                      SideType::left, TriangularityType::upper, false, 1.0);
    double largest = 0.0;
    for (int j = 0; j < r.getNumCols(); ++j) {
        const double column =
            Veltrix::Util::norm(r(Veltrix::Util::all, j), NormType::euclidean, false);
        const double row =
            Veltrix::Util::norm(inverse(j, Veltrix::Util::all), NormType::euclidean, false);
        largest = std::max(largest, column * row * (column * row));
    }
    return largest;
}

/// √V D of the columns by QR, with the working response: as exact as the columns allow.
Information factoriseRows(const LogisticRecords& records, const IntVector& columns,
                          const Vector& coefficients) {
    const DesignRows& design = records.design;
    const auto n = static_cast<std::uint64_t>(design.getNumRows());
    Vector roots(n);
    Vector response(n);
    LogisticLikelihood likelihood(records.y, records.weights);
    readProducts(design, columns, coefficients,
                 [&](std::uint64_t first, std::span<const double> products) {
                     const std::span<double> v{roots.data() + first, products.size()};
                     const std::span<double> r{response.data() + first, products.size()};
                     likelihood.add(first, products, v, r);
                     for (std::size_t i = 0; i < products.size(); ++i) {
                         r[i] = v[i] > 0.0 ? r[i] / v[i] : 0.0;
                         v[i] = std::sqrt(v[i]);
                     }
                 });
    const int p = design.getNumCols();
    const int k = static_cast<int>(columns.size());
    IntVector taken = columns;
    taken.push_back(p);
    const Matrix triangle = triangularise({design.x, design.intercept, &roots}, response);
    ColumnRank f = factoriseColumns(triangle(Veltrix::Util::all, taken), k, design.getNumRows(),
                                    ColumnOrder::asGiven);
    f.rotated.resize(f.columns.size());
    return {std::move(f.r), std::move(f.columns), std::move(f.rotated)};
}

Information factorise(const LogisticRecords& records, const IntVector& columns,
                      const Vector& coefficients, const NormalEquations& equations) {
    Matrix r = reliableFactor(equations.crossProduct);
    if (r.empty()) return factoriseRows(records, columns, coefficients);
    Vector rotated = solveUpper(r, equations.rightSide, true);
    return {std::move(r), Veltrix::Util::range(0, static_cast<int>(columns.size())),
            std::move(rotated)};
}

Vector newtonStep(const LogisticRecords& records, const IntVector& columns,
                  const Vector& coefficients, const NormalEquations& equations) {
    const Information at = factorise(records, columns, coefficients, equations);
    const Vector solved = solveUpper(at.r, at.rotated, false);
    Vector step(columns.size(), 0.0);
    for (std::uint64_t k = 0; k < solved.size(); ++k) {
        step[static_cast<std::uint64_t>(at.places[k])] = solved[k];
    }
    return step;
}

/// One evaluation of the likelihood, with the equations of the next step or without.
struct Evaluation {
    double deviance = 0.0;
    bool decided = false;
    std::optional<NormalEquations> equations;
};

Evaluation evaluate(const LogisticRecords& records, const IntVector& columns,
                    const Vector& coefficients, bool withEquations) {
    LogisticLikelihood likelihood(records.y, records.weights);
    Evaluation result;
    if (withEquations) {
        result.equations = normalEquations(
            records.design, columns, coefficients,
            [&](std::uint64_t first, std::span<const double> products, std::span<double> v,
                std::span<double> r) { likelihood.add(first, products, v, r); });
    } else {
        readProducts(records.design, columns, coefficients,
                     [&](std::uint64_t first, std::span<const double> products) {
                         likelihood.add(first, products);
                     });
    }
    result.deviance = likelihood.deviance();
    result.decided = likelihood.isDecided();
    return result;
}

/// Screens the columns of diag(w)·D. Their cross-product says enough when all are far from
/// dependent, and with equal weights it serves the first step as well.
std::optional<NormalEquations> screen(const LogisticRecords& records,
                                      LogisticEstimates& estimates) {
    const DesignRows& design = records.design;
    const Vector& w = records.weights;
    const Vector& y = records.y;
    NormalEquations sums =
        normalEquations(design, Veltrix::Util::range(0, design.getNumCols()), {},
                        [&](std::uint64_t first, std::span<const double> /*products*/,
                            std::span<double> v, std::span<double> r) {
                            for (std::size_t i = 0; i < v.size(); ++i) {
                                const double weight = w[first + i];
                                v[i] = weight * weight;
                                r[i] = weight * (y[first + i] - 0.5);
                            }
                        });
    const Matrix r = reliableFactor(sums.crossProduct);
    if (r.empty()) {
        PredictorScreeningInfo info = screenDesign({design.x, design.intercept, &w});
        estimates.columns = std::move(info.columns);
        estimates.diagonal = std::move(info.diagonal);
        return std::nullopt;
    }
    estimates.columns = Veltrix::Util::range(0, design.getNumCols());
    estimates.diagonal = Veltrix::Util::diag(r);
    if (std::adjacent_find(w.begin(), w.end(), std::not_equal_to<>()) != w.end()) {
        return std::nullopt;
    }
    sums.crossProduct *= 0.25 / w[0];
    return sums;
}

}  // namespace

Matrix reliableFactor(const Matrix& a) {
    constexpr double kMostInflation = 1e5;
    // Squares of columns beyond lose digits or range.
    constexpr double kLeast = 1e-200;
    constexpr double kLargest = 1e200;
    if (a.empty()) return {};
    for (int j = 0; j < a.getNumCols(); ++j) {
        if (!(a(j, j) >= kLeast && a(j, j) <= kLargest)) return {};
    }
    Matrix r = a;
    try {
        Support::potrf(Support::Triangle::Upper, r.getNumCols(), r.data(), r.getNumCols());
    } catch (const Support::LinearAlgebraError&) {
        return {};
    }
    for (int j = 0; j < r.getNumCols(); ++j) {
        for (int i = j + 1; i < r.getNumRows(); ++i) r(i, j) = 0.0;
    }
    return largestInflation(r) <= kMostInflation ? r : Matrix();
}

Information information(const LogisticRecords& records, const IntVector& columns,
                        const Vector& coefficients) {
    const Evaluation found = evaluate(records, columns, coefficients, true);
    return factorise(records, columns, coefficients, *found.equations);
}

LogisticEstimates maximiseLikelihood(const LogisticRecords& records, int maxIterations) {
    ProgressPhase phase("Fitting the regression", 0);
    LogisticEstimates estimates;
    Evaluation now;
    now.equations = screen(records, estimates);
    now.deviance = 2.0 * std::numbers::ln2 * Veltrix::Util::sum(records.weights);
    const IntVector& columns = estimates.columns;
    Vector& beta = estimates.coefficients;
    beta.assign(columns.size(), 0.0);
    estimates.before = beta;
    estimates.deviance = now.deviance;
    if (columns.empty()) return estimates;
    for (; estimates.numIterations < maxIterations; ++estimates.numIterations) {
        if (!now.equations) now = evaluate(records, columns, beta, true);
        const Vector change = newtonStep(records, columns, beta, *now.equations);
        estimates.before = beta;
        beta += change;
        const double largest = largestMagnitude(change);
        // Near the solution the deviance falls by the product of slope and step; the equations are
        // formed along with the likelihood unless there will hardly be a use for them.
        const double expected = Veltrix::Util::sum(change * now.equations->rightSide);
        const bool last = largest < kTolerance || expected < kTolerance * now.deviance ||
                          estimates.numIterations + 1 == maxIterations;
        Evaluation next = evaluate(records, columns, beta, !last);
        estimates.deviance = next.deviance;
        phase.advance();
        const double relative = std::abs(next.deviance - now.deviance) / std::abs(now.deviance);
        if (relative < kTolerance || largest < kTolerance || next.decided) break;
        now = std::move(next);
    }
    return estimates;
}

}  // namespace Veltrix::Engine::LinearModel
