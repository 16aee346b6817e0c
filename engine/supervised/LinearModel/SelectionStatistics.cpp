#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Distributions.h"
#include "Veltrix/Engine/LinearModel/Logistic.h"
#include "engine/core/Checks.h"
#include "engine/supervised/LinearModel/SweptModel.h"

namespace Veltrix::Engine::LinearModel::FeatureSelection {
namespace {

constexpr const char* kOperation = "Statistics of models";

/// RSS of a recorded model, from the start.
double rssOf(SweptModel model, const IntVector& columns) {
    for (const int j : columns) {
        // What cannot enter adds nothing.
        if (!model.contains(j) && model.reduction(j) >= 0.0) model.turn(j);
    }
    return model.rss();
}

SweptModel fullModel(const Problem& problem) {
    SweptModel model(problem);
    for (int j = 0; j < model.numColumns(); ++j) {
        if (!model.contains(j) && model.reduction(j) >= 0.0) model.turn(j);
    }
    return model;
}

double probabilityAgainstFull(double rss, double size, double fullRss, double fullSize, double n) {
    if (size >= fullSize) return 1.0;
    const double ratio = ((rss - fullRss) / (fullSize - size)) / (fullRss / (n - fullSize));
    return Distributions::fUpperTail(std::max(ratio, 0.0), fullSize - size, n - fullSize);
}

void checkSame(const Problem& problem, const History& history) {
    Checks::columns(kOperation, problem.numColumns(), history.getNumPredictors());
}

}  // namespace

ModelStatistics sweptStatistics(const Problem& problem, const History& history) {
    checkSame(problem, history);
    const SweptModel full = fullModel(problem);
    const double n = problem.numRecords;
    ModelStatistics result;
    for (int m = 0; m < history.getNumModels(); ++m) {
        const IntVector columns = history.getColumns(m);
        const double rss = rssOf(SweptModel(problem), columns);
        const auto size = static_cast<double>(columns.size());
        result.residualSumOfSquares.push_back(rss);
        result.cp.push_back(rss / (full.rss() / (n - full.size())) - n + 2.0 * size);
        result.probability.push_back(probabilityAgainstFull(rss, size, full.rss(), full.size(), n));
    }
    return result;
}

ModelStatistics leastSquaresStatistics(const Problem& problem, const History& history,
                                       double totalSumOfSquares) {
    ModelStatistics result = sweptStatistics(problem, history);
    const double n = problem.numRecords;
    const double totalDf = n - problem.numForced();
    for (int m = 0; m < history.getNumModels(); ++m) {
        const double rss = result.residualSumOfSquares[static_cast<std::uint64_t>(m)];
        const auto size = static_cast<double>(history.getColumns(m).size());
        const double unexplained = rss / totalSumOfSquares;
        result.R2.push_back(1.0 - unexplained);
        result.adjustedR2.push_back(1.0 - unexplained * totalDf / (n - size));
        const double deviance = n * (std::log(2.0 * std::numbers::pi) + std::log(rss / n) + 1.0);
        result.aic.push_back(deviance + 2.0 * (size + 1.0));
        result.bic.push_back(deviance + std::log(n) * (size + 1.0));
    }
    return result;
}

void OLS::computeStatistics(History& history, const Matrix& crossProduct,
                            double totalSumOfSquares) {
    history.setModelStatistics(leastSquaresStatistics(
        problemOf(crossProduct, history.getNumRecords(), history.hasIntercept()), history,
        totalSumOfSquares));
}

void refitModels(History& history, ModelStatistics statistics, const Matrix& x, const Vector& y,
                 const Vector& weights, int maxIterations) {
    const bool intercept = history.hasIntercept();
    const double records = Veltrix::Util::sum(weights);
    ModelStatistics& all = statistics;
    for (int m = 0; m < history.getNumModels(); ++m) {
        IntVector taken;
        for (const int j : history.getColumns(m)) {
            if (j >= (intercept ? 1 : 0)) taken.push_back(j - (intercept ? 1 : 0));
        }
        const auto size = static_cast<double>(taken.size()) + (intercept ? 1.0 : 0.0);
        LinearModel::Logistic::Model model;
        LinearModel::Logistic::FitEvaluation fit;
        if (size > 0.0) {
            model.fit(x(Veltrix::Util::all, taken), y, weights, maxIterations, intercept);
            fit = model.computeFitEvaluation(y);
        } else {
            fit.residualDeviance = fit.nullDeviance = 2.0 * std::numbers::ln2 * records;
            fit.pseudoR2 = 0.0;
        }
        all.deviance.push_back(fit.residualDeviance);
        all.pseudoR2.push_back(fit.pseudoR2);
        all.aic.push_back(fit.residualDeviance + 2.0 * size);
        all.bic.push_back(fit.residualDeviance + std::log(records) * size);
    }
    history.setModelStatistics(std::move(statistics));
}

void Logistic::computeStatistics(History& history, const Matrix& crossProduct, const Matrix& x,
                                 const Vector& y, const Vector& weights, int maxIterations) {
    Checks::columns(kOperation, x.getNumCols() + (history.hasIntercept() ? 1 : 0),
                    history.getNumPredictors());
    refitModels(
        history,
        sweptStatistics(problemOf(crossProduct, history.getNumRecords(), history.hasIntercept()),
                        history),
        x, y, weights, maxIterations);
}

}  // namespace Veltrix::Engine::LinearModel::FeatureSelection
