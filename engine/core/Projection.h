#pragma once

#include <string_view>

#include "Veltrix/Data/Matrix.h"

namespace Veltrix::Engine {

/// x (n × p) times directions (p × k, column-major), in the storage order and with the name of x,
/// in row blocks that report progress. The number of columns must agree.
Matrix project(std::string_view operation, const Matrix& x, const Matrix& directions);

/// xᵀ times directions (n × k, column-major), p × k, column-major and with the name of x; otherwise
/// as `project`, with rows for columns.
Matrix projectTransposed(std::string_view operation, const Matrix& x, const Matrix& directions);

}  // namespace Veltrix::Engine
