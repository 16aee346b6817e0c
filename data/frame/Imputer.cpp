#include "Veltrix/Data/Imputer.h"

#include <cmath>

#include "Veltrix/Data/Util.h"

namespace Veltrix::Engine {

Vector Imputer::clean(const Vector& values) {
    Vector finite;
    for (const double value : values) {
        if (std::isfinite(value)) finite.push_back(value);
    }
    const double replacement = finite.empty() ? 0.0 : Veltrix::Util::mean(finite);
    Vector result = values;
    for (double& value : result) {
        if (!std::isfinite(value)) value = replacement;
    }
    return result;
}

}  // namespace Veltrix::Engine
