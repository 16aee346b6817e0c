#include "Veltrix/Data/Imputer.h"

#include <cmath>

#include "Veltrix/Data/Util.h"

namespace Veltrix::Engine {
namespace {

/// The mean; divided before the sum where the sum of very large values overflows.
double finiteMean(const Vector& values) {
    const double mean = Veltrix::Util::mean(values);
    if (std::isfinite(mean)) return mean;
    double result = 0.0;
    for (const double value : values) result += value / static_cast<double>(values.size());
    return result;
}

}  // namespace

Vector Imputer::clean(const Vector& values) {
    Vector finite;
    for (const double value : values) {
        if (std::isfinite(value)) finite.push_back(value);
    }
    const double replacement = finite.empty() ? 0.0 : finiteMean(finite);
    Vector result = values;
    for (double& value : result) {
        if (!std::isfinite(value)) value = replacement;
    }
    return result;
}

}  // namespace Veltrix::Engine
