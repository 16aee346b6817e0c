#include <array>
#include <cmath>
#include <string>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Engine/Distributions.h"
#include "Veltrix/Engine/TS/Smoothing/Smoother.h"
#include "engine/core/Checks.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::TS::Smoothing {

namespace {

void appendNamed(DataFrame& table, Vector values, const WString& name) {
    values.setName(name);
    table.append(std::move(values));
}

}  // namespace

WString Smoother::titled(const wchar_t* prefix) const { return prefix + series_.getName(); }

DataFrame Smoother::getSeriesTable() const {
    DataFrame table(titled(L"Smoothed Values: "));
    appendNamed(table, series_, L"Actual");
    appendNamed(table, state_.smoothed, L"Fitted");
    appendNamed(table, series_ - state_.smoothed, L"Residual");
    return table;
}

DataFrame Smoother::getForecastTable(double confidence) const {
    Checks::inside(name(), "confidence", confidence, 0.0, 1.0);
    Vector stdDevs = state_.forecastsStdDev;
    stdDevs.resize(state_.forecasts.size(), kNaN);
    const Vector width = stdDevs * Distributions::normalQuantile((1.0 + confidence) / 2.0);
    const std::wstring level = Support::wideNumberText(std::round(1e10 * confidence) / 1e8) + L"%";
    DataFrame table(titled(L"Forecasts: "));
    appendNamed(table, state_.forecasts, L"Forecast");
    appendNamed(table, stdDevs, L"Standard Deviation");
    appendNamed(table, state_.forecasts - width, L"Lower " + level);
    appendNamed(table, state_.forecasts + width, L"Upper " + level);
    return table;
}

void Smoother::listParameters(StringVector& names, Vector& values) const {
    static constexpr std::array kNames{L"Alpha", L"Beta", L"Gamma"};
    const std::array<bool, 3> own = ownParams();
    for (std::size_t k = 0; k < own.size(); ++k) {
        if (!own[k]) continue;
        names.push_back(kNames[k]);
        values.push_back(state_.params[k]);
    }
}

DataFrame Smoother::getParameterTable() const {
    StringVector names;
    Vector values;
    listParameters(names, values);
    DataFrame table(titled(L"Parameters: "));
    table.append(names, L"Parameter");
    appendNamed(table, std::move(values), L"Value");
    return table;
}

DataFrame Smoother::getErrorTable() const {
    Vector values;
    for (int code = 0; code <= static_cast<int>(ErrorMeasure::trackingSignal); ++code) {
        values.push_back(computeForecastError(static_cast<ErrorMeasure>(code)));
    }
    DataFrame table(titled(L"Error Measures: "));
    table.append(
        StringVector{L"Mean squared error", L"Mean absolute percentage error",
                     L"Mean absolute error", L"Sum of errors", L"Mean error", L"Tracking signal"},
        L"Error Measure");
    appendNamed(table, std::move(values), L"Value");
    return table;
}

}  // namespace Veltrix::Engine::TS::Smoothing
