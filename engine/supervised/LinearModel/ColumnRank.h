#pragma once

#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/LinearModel/DesignMatrix.h"

namespace Veltrix::Engine::LinearModel {

/// The independent columns of a matrix A with their QR factorisation.
struct ColumnRank {
    IntVector columns;  ///< independent columns, in the order in which R has them
    Matrix r;           ///< R of these columns, upper triangular
    Vector diagonal;    ///< for every column the length of its part outside the columns before it
    Vector tolerance;   ///< for every column the length at or below which it counts as dependent
    Vector rotated;     ///< Qᵀb, the first entries belonging to the rows of R
};

/// In which order columns are judged.
enum class ColumnOrder {
    asGiven,
    /// The one whose part outside the columns kept so far is the longest; of several that agree
    /// within 1e-10 of the columns' own lengths the first, so that of twins it is always the later
    /// one that is left out, however their rows were rounded.
    longestFirst,
};

/// Factorises a matrix of p columns that stands for one of n rows with the same lengths and angles,
/// its triangle say. Column k is independent of the columns i kept before it when
///
///     |R(k, k)| > max(n, p) ε (‖aₖ‖ + Σ |γᵢ| ‖aᵢ‖),   aₖ ≈ Σ γᵢ aᵢ,
///
/// that is, when no relative changes of that size in the columns could make it dependent: neither
/// the units of a column nor those of its neighbours decide. Dependent columns are set aside and
/// take no part in what follows. The matrix may have one column more, b.
ColumnRank factoriseColumns(Matrix a, int p, int n, ColumnOrder order);

/// max(n, p)·ε times the longest of the p lengths.
double rankTolerance(const Vector& lengths, int n);

/// `screenPredictors` of a design matrix that is not formed.
PredictorScreeningInfo screenDesign(const DesignRows& design);

}  // namespace Veltrix::Engine::LinearModel
