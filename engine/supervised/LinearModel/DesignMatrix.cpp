#include "Veltrix/Engine/LinearModel/DesignMatrix.h"

#include <utility>

#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/Util.h"
#include "engine/supervised/LinearModel/ColumnRank.h"

namespace Veltrix::Engine::LinearModel {

Matrix designMatrix(const Matrix& x, bool intercept) {
    Matrix design = x;
    if (intercept) {
        design.insertColumn(0, Vector(static_cast<std::uint64_t>(x.getNumRows()), 1.0));
    }
    return design;
}

Matrix weightedDesignMatrix(const Matrix& x, const Vector& weights, bool intercept) {
    Matrix design = designMatrix(x, intercept);
    for (int j = 0; j < design.getNumCols(); ++j) design(Veltrix::Util::all, j) *= weights;
    return design;
}

Matrix sqrtWeightedDesignMatrix(const Matrix& x, const Vector& weights, bool intercept) {
    return weightedDesignMatrix(x, Veltrix::Util::sqrt(weights), intercept);
}

PredictorScreeningInfo screenPredictors(const Matrix& x) { return screenDesign({x}); }

PredictorScreeningInfo screenDesign(const DesignRows& design) {
    ColumnRank found = factoriseColumns(triangularise(design), design.getNumCols(),
                                        design.getNumRows(), ColumnOrder::asGiven);
    PredictorScreeningInfo info;
    info.rank = static_cast<int>(found.columns.size());
    info.columns = std::move(found.columns);
    info.diagonal = std::move(found.diagonal);
    info.tolerance = std::move(found.tolerance);
    return info;
}

}  // namespace Veltrix::Engine::LinearModel
