#pragma once

#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine {

/// Replaces values that numeric work cannot use.
class VELTRIX_DATA_API Imputer {
  public:
    /// The vector with NaN and infinite entries replaced by the mean of the finite ones (0 when
    /// there is none). Name kept.
    [[nodiscard]] static Vector clean(const Vector& values);
};

}  // namespace Veltrix::Engine
