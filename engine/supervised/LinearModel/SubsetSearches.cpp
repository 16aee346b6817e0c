#include <algorithm>
#include <limits>
#include <set>
#include <utility>
#include <vector>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Exceptions.h"
#include "engine/core/Checks.h"
#include "engine/supervised/LinearModel/SweptModel.h"

namespace Veltrix::Engine::LinearModel::FeatureSelection {
namespace {

constexpr const char* kOperation = "Feature selection";
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Most columns of a model, the intercept included.
int limit(const SweptModel& model, int maxSize) {
    Checks::atLeast(kOperation, "columns as the largest size", maxSize, 0);
    const std::int64_t most = std::int64_t{maxSize} + model.problem().numForced();
    return static_cast<int>(std::min<std::int64_t>(most, model.numColumns()));
}

History emptyHistory(const SweptModel& model) {
    return {model.problem().intercept, model.problem().numRecords, model.numColumns()};
}

/// With the intercept when there is one.
History startedHistory(const SweptModel& model) {
    History history = emptyHistory(model);
    if (model.problem().intercept) history.addVariable(0, model.fToRemove(0));
    return history;
}

bool enter(SweptModel& model, double fIn, int most, History& history) {
    if (model.size() >= most) return false;
    const Step step = model.entry();
    if (step.column < 0 || !(step.F >= fIn)) return false;
    model.turn(step.column);
    history.addVariable(step.column, step.F);
    return true;
}

bool remove(SweptModel& model, double fOut, int most, History& history) {
    const Step step = model.removal();
    if (step.column < 0 || (!(step.F < fOut) && model.size() <= most)) return false;
    model.turn(step.column);
    history.removeVariable(step.column, step.F);
    return true;
}

/// Takes all columns in.
void fill(SweptModel& model) {
    for (int j = model.problem().numForced(); j < model.numColumns(); ++j) {
        if (!(model.reduction(j) >= 0.0)) {
            Checks::fail(ErrorCode::singular, kOperation,
                         "column " + std::to_string(j) + " depends linearly on the ones before it");
        }
        model.turn(j);
    }
}

/// The exchange that leaves the least RSS.
struct Exchange {
    int out = -1;
    int in = -1;
    double rss = std::numeric_limits<double>::infinity();
};

Exchange bestExchange(const SweptModel& model) {
    Exchange best;
    for (int out = model.problem().numForced(); out < model.numColumns(); ++out) {
        if (!model.contains(out)) continue;
        for (int in = model.problem().numForced(); in < model.numColumns(); ++in) {
            if (model.contains(in)) continue;
            const double rss = model.exchanged(out, in);
            if (rss < best.rss) best = {out, in, rss};
        }
    }
    return best;
}

/// Runs a search on a copy of S, which S becomes in the end.
template <class Search>
History searchOn(Matrix& s, int n, bool intercept, Search search) {
    SweptModel model(problemOf(s, n, intercept));
    History history = search(model);
    s = model.problem().swept;
    return history;
}

}  // namespace

History searchBackward(SweptModel& model, double fOut, int maxSize) {
    const int most = limit(model, maxSize);
    fill(model);
    History history = emptyHistory(model);
    history.recordFullModel(kNaN);
    ProgressPhase phase("Searching for predictors", 0);
    while (remove(model, fOut, most, history)) phase.advance();
    return history;
}

History searchForward(SweptModel& model, double fIn, int maxSize) {
    const int most = limit(model, maxSize);
    History history = startedHistory(model);
    ProgressPhase phase("Searching for predictors", 0);
    while (enter(model, fIn, most, history)) phase.advance();
    return history;
}

History searchStepwise(SweptModel& model, double fIn, double fOut, int maxSize) {
    if (!(fOut <= fIn)) throw StepwiseRegressionFinFoutIncorrect();
    const int most = limit(model, maxSize);
    History history = startedHistory(model);
    std::set<std::vector<bool>> met{model.inside()};
    ProgressPhase phase("Searching for predictors", 0);
    while (enter(model, fIn, most, history)) {
        while (remove(model, fOut, model.numColumns(), history)) phase.advance();
        if (!met.insert(model.inside()).second) break;
        phase.advance();
    }
    return history;
}

History searchSequentially(SweptModel& model, int maxSize) {
    // Exchanges that gain less are rounding.
    constexpr double kRounding = 1e-12;
    const int most = limit(model, maxSize);
    History history = emptyHistory(model);
    ProgressPhase phase("Searching for predictors", static_cast<std::uint64_t>(most));
    while (model.size() < most) {
        const int addition = model.bestAddition();
        if (addition < 0) break;
        model.turn(addition);
        for (Exchange best = bestExchange(model); best.rss < model.rss() * (1.0 - kRounding);
             best = bestExchange(model)) {
            model.turn(best.out);
            model.turn(best.in);
        }
        history.recordSubset(model.columns(), model.rss());
        phase.advance();
    }
    return history;
}

History backwardElimination(Matrix& s, int n, double fOut, bool intercept, int maxSize) {
    return searchOn(s, n, intercept,
                    [&](SweptModel& model) { return searchBackward(model, fOut, maxSize); });
}

History forwardSelection(Matrix& s, int n, double fIn, bool intercept, int maxSize) {
    return searchOn(s, n, intercept,
                    [&](SweptModel& model) { return searchForward(model, fIn, maxSize); });
}

History stepwiseRegression(Matrix& s, int n, double fIn, double fOut, bool intercept, int maxSize) {
    Veltrix::Checks::square(s);
    return searchOn(s, n, intercept,
                    [&](SweptModel& model) { return searchStepwise(model, fIn, fOut, maxSize); });
}

History sequentialReplacement(Matrix& s, int n, bool intercept, int maxSize) {
    return searchOn(s, n, intercept,
                    [&](SweptModel& model) { return searchSequentially(model, maxSize); });
}

History bestSubsets(Matrix& s, int n, bool intercept, int numSubsets, bool exhaustive,
                    int maxSize) {
    return searchOn(s, n, intercept, [&](SweptModel& model) {
        return searchBestSubsets(model, numSubsets, exhaustive, maxSize);
    });
}

History search(const Problem& problem, const Request& request) {
    const double fIn = request.fIn == nullptr ? kUsualFIn : *request.fIn;
    const double fOut = request.fOut == nullptr ? kUsualFOut : *request.fOut;
    SweptModel model(problem);
    switch (request.algorithm) {
        case Algorithm::backwardElimination:
            return searchBackward(model, fOut, request.maxSize);
        case Algorithm::forwardSelection:
            return searchForward(model, fIn, request.maxSize);
        case Algorithm::bestSubsets:
            return searchBestSubsets(model, request.numSubsets == nullptr ? 1 : *request.numSubsets,
                                     request.exhaustive != nullptr && *request.exhaustive,
                                     request.maxSize);
        case Algorithm::sequentialReplacement:
            return searchSequentially(model, request.maxSize);
        case Algorithm::stepwiseRegression:
            return searchStepwise(model, fIn, fOut, request.maxSize);
    }
    Veltrix::Checks::failEnumerator(kOperation, "algorithm", static_cast<int>(request.algorithm), 1,
                                    5);
}

}  // namespace Veltrix::Engine::LinearModel::FeatureSelection
