#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/TS/ARIMA/ARMA.h"
#include "tools/veltrix/report/ReportBuilder.h"

/// @file
/// Tables and charts that the families of series share.

namespace Veltrix::Tool {

/// What a model says of the values of a series and of those to follow.
struct Followed {
    Vector fitted;     ///< of each value what was expected of it one step before; NaN where nothing
    Vector forecasts;  ///< of the values to follow
    Vector stdDevs;    ///< of their errors
    Vector noisy;      ///< the forecasts with simulated noise; empty without
};

/// How far predictions are from the values; NaN where something cannot be computed. Values without
/// a prediction are left out.
struct SeriesErrors {
    std::int64_t count = 0;
    double meanSquared = 0.0;
    double meanAbsolute = 0.0;
    double meanPercentage = 0.0;  ///< of the values that are not 0
    double sum = 0.0;
    double trackingSignal = 0.0;

    SeriesErrors(const Vector& actual, const Vector& predicted);
};

/// A column for each of the named predictions.
void addErrors(Table& table, const std::vector<std::pair<std::string, SeriesErrors>>& columns);

/// Forecasts and the limits at the level of confidence, ± z standard deviations.
void addLimits(Table& table, const Followed& followed, double confidence);

/// Names of the charts of a correlogram.
struct CorrelogramCharts {
    const char* all;
    const char* partial;
};

/// Autocorrelations and partial autocorrelations of data whose `computePACF` has been run, with the
/// limits of white noise.
void addCorrelogram(ReportBuilder& report, const std::string& table,
                    const CorrelogramCharts& charts, const Engine::TS::ARIMA::Data& data,
                    double confidence);

/// The lags that are usually looked at: 10 log10(n), less than n.
std::uint64_t usualLags(std::uint64_t numValues);

/// Residuals as a series of their own: correlogram and Ljung–Box tests.
void addResiduals(ReportBuilder& report, const Vector& residuals,
                  const std::vector<Engine::TS::ARIMA::LjungBox>& tests, const std::string& note,
                  double confidence);

/// The tests of residuals of a model without ARMA coefficients.
std::vector<Engine::TS::ARIMA::LjungBox> testNoise(const Vector& residuals);

/// The differences that are numbers.
Vector residualsOf(const Vector& actual, const Vector& fitted);

}  // namespace Veltrix::Tool
