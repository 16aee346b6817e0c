#pragma once

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Engine/LinearModel/Model.h"

namespace Veltrix::Engine::LinearModel {

/// Collinearity diagnostics of any matrix whose columns have the same lengths and angles as those
/// of the design matrix; its triangle serves as well as itself.
Multicollinearity collinearityDiagnostics(const Matrix& columns);

/// Diagnostics of the right shapes for p columns, all NaN.
Multicollinearity unknownCollinearity(int p);

/// Triangle of the root-weighted design matrix of X.
Matrix rootWeightedTriangle(const Matrix& x, bool intercept, const Vector& weights);

}  // namespace Veltrix::Engine::LinearModel
