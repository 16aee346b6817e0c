#include <cmath>
#include <span>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/LinearModel/Logistic.h"
#include "Veltrix/Engine/LinearModel/OLS.h"
#include "engine/core/Checks.h"
#include "engine/supervised/LinearModel/LogisticLikelihood.h"
#include "engine/supervised/LinearModel/Newton.h"
#include "engine/supervised/LinearModel/SweptModel.h"

namespace Veltrix::Engine::LinearModel {
namespace {

constexpr const char* kOperation = "Feature selection";

void checkData(const Matrix& x, const Vector& y, const Vector& weights) {
    Checks::notEmpty(kOperation, x);
    Checks::onePerRecord(kOperation, "responses", y.size(), x.getNumRows());
    Checks::weights(kOperation, weights, x.getNumRows(), true);
}

Vector orUnit(const Vector& weights, const Vector& y) {
    return weights.empty() ? Vector(y.size(), 1.0) : weights;
}

/// The equations of the last Newton step as a least-squares problem: √v and the working response
/// η + r/v, at the coefficients that the step started from.
Matrix workingTriangle(const LogisticRecords& records, const LogisticEstimates& estimates) {
    const DesignRows& design = records.design;
    const auto n = static_cast<std::uint64_t>(design.getNumRows());
    Vector roots(n);
    Vector response(n);
    LogisticLikelihood likelihood(records.y, records.weights);
    readProducts(design, estimates.columns, estimates.before,
                 [&](std::uint64_t first, std::span<const double> products) {
                     const std::span<double> v{roots.data() + first, products.size()};
                     const std::span<double> r{response.data() + first, products.size()};
                     likelihood.add(first, products, v, r);
                     for (std::size_t i = 0; i < products.size(); ++i) {
                         r[i] = v[i] > 0.0 ? products[i] + r[i] / v[i] : 0.0;
                         v[i] = std::sqrt(v[i]);
                     }
                 });
    return triangularise({design.x, design.intercept, &roots}, response);
}

}  // namespace

using FeatureSelection::Algorithm;
using FeatureSelection::History;

History OLS::Model::featureSelection(Algorithm algorithm, const Matrix& x, const Vector& y,
                                     const Vector& weights, bool intercept, const double* fIn,
                                     const double* fOut, const int* numSubsets,
                                     const bool* exhaustive, int maxSize) {
    const Vector w = orUnit(weights, y);
    checkData(x, y, w);
    const Vector roots = Veltrix::Util::sqrt(w);
    IntVector columns;
    const FeatureSelection::Problem problem = FeatureSelection::problemOf(
        triangularise({x, intercept, &roots}, y), x.getNumRows(), intercept, columns);
    History history = search(problem, {algorithm, fIn, fOut, numSubsets, exhaustive, maxSize});
    history.setModelStatistics(
        leastSquaresStatistics(problem, history, computeSST(y, w, intercept)));
    return history.spread(columns, x.getNumCols() + (intercept ? 1 : 0));
}

History OLS::Model::featureSelection(Algorithm algorithm, const DataFrame& x,
                                     const ConstDataFrameColumn& y,
                                     const ConstDataFrameColumn& weights, bool intercept,
                                     const double* fIn, const double* fOut, const int* numSubsets,
                                     const bool* exhaustive, int maxSize) {
    return featureSelection(algorithm, Convert::toMatrix(x), Convert::toDoubleVector(y),
                            Convert::toDoubleVector(weights), intercept, fIn, fOut, numSubsets,
                            exhaustive, maxSize);
}

History Logistic::Model::featureSelection(Algorithm algorithm, const Matrix& x, const Vector& y,
                                          const Vector& weights, int maxIterations, bool intercept,
                                          const double* fIn, const double* fOut,
                                          const int* numSubsets, const bool* exhaustive,
                                          int maxSize) {
    const Vector w = orUnit(weights, y);
    checkData(x, y, w);
    checkResponses(y, x.getNumRows());
    const LogisticRecords records{{x, intercept}, y, w};
    const LogisticEstimates full = maximiseLikelihood(records, maxIterations);
    IntVector columns;
    const FeatureSelection::Problem problem = FeatureSelection::problemOf(
        workingTriangle(records, full), x.getNumRows(), intercept, columns);
    History history = search(problem, {algorithm, fIn, fOut, numSubsets, exhaustive, maxSize});
    FeatureSelection::ModelStatistics statistics = sweptStatistics(problem, history);
    history = history.spread(columns, x.getNumCols() + (intercept ? 1 : 0));
    refitModels(history, std::move(statistics), x, y, w, maxIterations);
    return history;
}

History Logistic::Model::featureSelection(Algorithm algorithm, const DataFrame& x,
                                          const ConstDataFrameColumn& y,
                                          const ConstDataFrameColumn& weights, int maxIterations,
                                          bool intercept, const double* fIn, const double* fOut,
                                          const int* numSubsets, const bool* exhaustive,
                                          int maxSize) {
    return featureSelection(algorithm, Convert::toMatrix(x), Convert::toDoubleVector(y),
                            Convert::toDoubleVector(weights), maxIterations, intercept, fIn, fOut,
                            numSubsets, exhaustive, maxSize);
}

}  // namespace Veltrix::Engine::LinearModel
