#pragma once

#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/NormalEquations.h"
#include "Veltrix/Data/Vector.h"

namespace Veltrix::Engine::LinearModel {

/// The records of a logistic regression. Refers to its parts, which must outlive it.
struct LogisticRecords {
    DesignRows design;  ///< without scale
    const Vector& y;    ///< 0 or 1
    const Vector& weights;
};

/// What a logistic fit finds.
struct LogisticEstimates {
    IntVector columns;    ///< that are not linearly dependent on earlier ones
    Vector diagonal;      ///< for every design column the length of its part outside those before
    Vector coefficients;  ///< of the columns
    Vector before;        ///< those that the last step started from
    int numIterations = 0;
    double deviance = 0.0;
};

/// Screens the columns and takes Newton steps from 0 under the stopping rules of
/// `Logistic::Model`.
LogisticEstimates maximiseLikelihood(const LogisticRecords& records, int maxIterations);

/// DᵀVD of some columns as RᵀR.
struct Information {
    Matrix r;
    IntVector places;  ///< where the columns of R stand among those asked for
    Vector rotated;    ///< R⁻ᵀDᵀr: the Newton step is R⁻¹ of it
};

/// At given coefficients of the columns.
Information information(const LogisticRecords& records, const IntVector& columns,
                        const Vector& coefficients);

/// The upper triangular R of RᵀR = A when the columns whose cross-products A holds are far enough
/// from dependent for it to have nearly all digits; otherwise an empty matrix.
Matrix reliableFactor(const Matrix& a);

}  // namespace Veltrix::Engine::LinearModel
