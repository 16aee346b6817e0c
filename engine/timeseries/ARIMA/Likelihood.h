#pragma once

#include <vector>

#include "engine/timeseries/ARIMA/OneStepFilter.h"

namespace Veltrix::Engine::TS::ARIMA {

/// The filter and the coefficients that it is to follow.
class Likelihood {
  public:
    OneStepFilter filter;
    std::vector<double> ar;
    std::vector<double> ma;
};

/// Stands for parameters without a likelihood: large, and still a number.
constexpr double kOutside = 1e300;

}  // namespace Veltrix::Engine::TS::ARIMA
