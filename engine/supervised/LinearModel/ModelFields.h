#pragma once

/// @file
/// Fields that linear and logistic regression have in common in JSON.

#include <algorithm>
#include <cstdint>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Vector.h"
#include "engine/core/Checks.h"
#include "engine/core/Stored.h"

namespace Veltrix::Engine::LinearModel {

inline bool areAscendingBelow(const IntVector& columns, int limit) {
    int least = 0;
    for (const int column : columns) {
        if (column < least || column >= limit) return false;
        least = column + 1;
    }
    return true;
}

/// What every fit finds.
template <class Archive, class Solution>
void storedSolution(Archive& a, Solution& found) {
    using Support::Length;
    a("fitted", found.fitted)("intercept", found.intercept);
    a.count("numRows", found.numRows).count("numCols", found.numCols).count("rank", found.rank);
    a.check(
        "numCols", [&] { return !found.fitted || found.numCols > 0; }, "expected at least 1");
    a.check(
        "rank", [&] { return found.rank <= std::min(found.numRows, found.numCols); },
        "expected at most the number of rows and of columns");
    const std::int64_t p = found.numCols;
    a("tolerance", found.tolerance)("coefficients", found.coefficients, Length{p});
    a("columnNorms", found.columnNorms, Length{p});
    a("estimable", found.estimable, Length{found.rank});
    a.check(
        "estimable", [&] { return areAscendingBelow(found.estimable, found.numCols); },
        "expected ascending columns of the design matrix");
}

/// Weights of a fitted model belong to its records; an unfitted one may hold any already.
template <class Archive, class Model>
void storedWeights(Archive& a, Model& model, [[maybe_unused]] const char* operation) {
    if constexpr (Archive::kReads) {
        Vector weights;
        a("weights", weights);
        try {
            if (model.isFitted()) Checks::weights(operation, weights, model.getNumRows(), true);
        } catch (const Exception& error) {
            a.view().at("weights").fail(error.what());
        }
        model.setWeights(weights);
    } else {
        a("weights", model.getWeights());
    }
}

/// Names of the training columns; a fit on a matrix has none.
template <class Archive>
void storedColumns(Archive& a, auto& columns) {
    if (Archive::kReads || !columns.getNames().empty()) {
        a.optional("columns", columns);
    }
}

}  // namespace Veltrix::Engine::LinearModel
