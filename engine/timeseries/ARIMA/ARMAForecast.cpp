#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <string>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Engine/Distributions.h"
#include "Veltrix/Engine/TS/ARIMA/ARMA.h"
#include "engine/core/Checks.h"
#include "engine/timeseries/ARIMA/Likelihood.h"
#include "engine/timeseries/ARIMA/Polynomials.h"
#include "support/VectorMath.h"

namespace Veltrix::Engine::TS::ARIMA {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void checkHorizon(std::size_t horizon) {
    constexpr std::size_t kMost = 10000000;
    if (horizon <= kMost) return;
    Checks::fail(
        ErrorCode::invalidArgument, "Forecast",
        "horizon " + std::to_string(horizon) + ", at most " + std::to_string(kMost) + " expected");
}

Vector column(std::span<const double> values) { return Vector(values); }

}  // namespace

ARMA& ARMA::computeFittedValues() {
    checkFitted("Fitted values");
    const std::vector<double>& series = data_.processedData();
    Predictions predictions = predict(series);
    std::vector<double> residuals = series;
    for (std::size_t t = 0; t < series.size(); ++t) residuals[t] -= predictions.values[t];
    const double variance = computeWhiteNoiseVariance(series, predictions);
    fittedValues_ = data_.postprocess(predictions.values);
    residuals_ = std::move(residuals);
    variances_ = std::move(predictions.variances);
    whiteNoiseVariance_ = variance;
    return *this;
}

/// Forecasts of a processed series, brought back to the original scale.
std::vector<double> ARMA::forecastProcessed(const Data& data, std::size_t horizon) const {
    checkFitted("Forecast");
    checkHorizon(horizon);
    std::vector<double> series = data.processedData();
    if (series.empty()) {
        Checks::fail(ErrorCode::invalidArgument, "Forecast", "an empty series, values expected");
    }
    Likelihood likelihood;
    followOwn(likelihood, "Forecast");
    likelihood.filter.run(series);
    const std::vector<double> ahead = likelihood.filter.forecast(series, horizon);
    series.insert(series.end(), ahead.begin(), ahead.end());
    const std::vector<double> restored = data.postprocess(series);
    return {restored.end() - static_cast<std::ptrdiff_t>(horizon), restored.end()};
}

const std::vector<double>& ARMA::forecast(std::size_t horizon) {
    forecasts_ = forecastProcessed(data_, horizon);
    forecastsStdDev_.clear();
    integratedForecastsStdDev_.clear();
    return forecasts_;
}

std::vector<double> ARMA::forecast(const std::vector<double>& series, std::size_t horizon) const {
    Checks::finite("Forecast", "value", series);
    Data data;
    data.load(series);
    data.lag(data_.numSeasonalLags(), data_.period()).lag(data_.numLags(), 1);
    if (constantIncluded_) data.subtractMean(data_.mean());
    return forecastProcessed(data.apply(), horizon);
}

std::vector<double> ARMA::stdDevs(std::size_t horizon, bool integratedWeights) const {
    std::vector<double> ar;
    std::vector<double> ma;
    expand(parameters_, ar, ma);
    if (integratedWeights) {
        ar = integrated(ar, data_.numLags(), data_.numSeasonalLags(), data_.period());
    }
    std::vector<double> result = psiWeights(ar, ma, horizon);
    double sum = 0.0;
    for (double& weight : result) {
        sum += weight * weight;
        weight = whiteNoiseVariance_ * sum;
    }
    Support::sqrt(result.data(), result.data(), static_cast<std::int64_t>(horizon));
    return result;
}

ARMA& ARMA::computeForecastsStdDev() {
    forecastsStdDev_ = stdDevs(forecasts_.size(), false);
    return *this;
}

ARMA& ARMA::computeIntegratedForecastsStdDev() {
    integratedForecastsStdDev_ = stdDevs(forecasts_.size(), true);
    return *this;
}

ARMA& ARMA::computePsi(std::size_t h) {
    checkHorizon(h);
    if (h < psi_.size()) return *this;
    std::vector<double> ar;
    std::vector<double> ma;
    expand(parameters_, ar, ma);
    psi_ = psiWeights(ar, ma, h + 1);
    return *this;
}

std::vector<double> ARMA::computeAutoCovariance(std::size_t lags) const {
    checkHorizon(lags);
    Likelihood likelihood;
    followOwn(likelihood, "Autocovariances");
    const std::span<const long double> known = likelihood.filter.autocovariances();
    std::vector<double> result(known.begin(), known.end());
    const std::vector<double>& ar = likelihood.ar;
    for (std::size_t h = result.size(); h <= lags; ++h) {
        double sum = 0.0;
        for (std::size_t k = 1; k <= std::min(h, ar.size()); ++k) sum += ar[k - 1] * result[h - k];
        result.push_back(sum);
    }
    result.resize(lags + 1);
    return result;
}

DataFrame ARMA::getFittedFrame() const {
    checkFitted("Fitted values");
    const std::vector<double>& series = data_.processedData();
    const Predictions predictions = predict(series);
    std::vector<double> fittedValues = data_.postprocess(predictions.values);
    std::vector<double> residuals(data_.numOriginalRecords(), kNaN);
    const std::size_t lost = residuals.size() - series.size();
    for (std::size_t t = 0; t < series.size(); ++t) {
        residuals[lost + t] = series[t] - predictions.values[t];
    }
    std::fill_n(fittedValues.begin(), lost, kNaN);
    DataFrame frame;
    frame.append(column(data_.originalData()));
    frame.append(column(fittedValues));
    frame.append(column(residuals));
    frame.setColNames({L"Actual", L"Fitted", L"Residual"});
    frame.setName(L"Fitted Values");
    return frame;
}

DataFrame ARMA::getForecastFrame(std::size_t horizon, double confidence) const {
    Checks::inside("Forecast", "confidence", confidence, 0.0, 1.0);
    const Vector values = column(forecastProcessed(data_, horizon));
    const Vector deviations = column(stdDevs(horizon, true));
    const double z = Distributions::normalQuantile(0.5 + 0.5 * confidence);
    DataFrame frame;
    frame.append(values);
    frame.append(deviations);
    frame.append(values - deviations * z);
    frame.append(values + deviations * z);
    frame.setColNames({L"Forecast", L"Std. Dev.", L"Lower", L"Upper"});
    frame.setName(L"Forecasts");
    return frame;
}

DataFrame ARMA::getCoefficientFrame() const {
    struct Rows {
        StringVector names;
        Vector estimates, errors, pValues;
    } rows;
    const auto add = [&rows](const WString& name, double estimate, double error, double p) {
        rows.names.push_back(name);
        rows.estimates.push_back(estimate);
        rows.errors.push_back(error);
        rows.pValues.push_back(p);
    };
    if (constantIncluded_) {
        add(L"Constant", details_.constant(), standardErrors_.constant(), pValues_.constant());
    }
    using Group = const std::vector<double>& (ModelParts::*)() const noexcept;
    const auto addGroup = [&](const WString& name, Group group) {
        const std::vector<double>& estimates = (details_.*group)();
        for (std::size_t k = 0; k < estimates.size(); ++k) {
            add(name + L" " + Convert::toString(static_cast<int>(k + 1)), estimates[k],
                (standardErrors_.*group)()[k], (pValues_.*group)()[k]);
        }
    };
    addGroup(L"AR", &ModelParts::ar);
    addGroup(L"MA", &ModelParts::ma);
    addGroup(L"Seasonal AR", &ModelParts::sar);
    addGroup(L"Seasonal MA", &ModelParts::sma);
    DataFrame frame;
    frame.append(rows.estimates);
    frame.append(rows.errors);
    frame.append(rows.pValues);
    frame.setColNames({L"Estimate", L"Std. Error", L"p-Value"});
    frame.setRowNames(rows.names);
    frame.setName(L"Coefficients");
    return frame;
}

}  // namespace Veltrix::Engine::TS::ARIMA
