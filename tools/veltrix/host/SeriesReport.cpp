#include "tools/veltrix/host/SeriesReport.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "Veltrix/Engine/Distributions.h"
#include "tools/veltrix/report/NumberFormat.h"

namespace Veltrix::Tool {

namespace {

using Engine::TS::ARIMA::ARMA;
using Engine::TS::ARIMA::Data;
using Engine::TS::ARIMA::LjungBox;

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

double quantile(double confidence) {
    return Engine::Distributions::normalQuantile((1.0 + confidence) / 2.0);
}

}  // namespace

SeriesErrors::SeriesErrors(const Vector& actual, const Vector& predicted) {
    double percentages = 0.0;
    std::int64_t usable = 0;
    for (std::size_t t = 0; t < actual.size(); ++t) {
        const double error = actual[t] - predicted[t];
        if (std::isnan(error)) continue;
        ++count;
        sum += error;
        meanSquared += error * error;
        meanAbsolute += std::fabs(error);
        if (std::fabs(actual[t]) <= kEpsilon) continue;
        ++usable;
        percentages += std::fabs(error / actual[t]);
    }
    const double magnitudes = meanAbsolute;
    const double n = count > 0 ? static_cast<double>(count) : kNaN;
    meanSquared /= n;
    meanAbsolute /= n;
    meanPercentage = usable > 0 ? 100.0 / static_cast<double>(usable) * percentages : kNaN;
    trackingSignal = magnitudes < kEpsilon ? 0.0 * n : sum / meanAbsolute;
    if (count == 0) sum = kNaN;
}

void addErrors(Table& table, const std::vector<std::pair<std::string, SeriesErrors>>& columns) {
    table.text("Measure", std::vector<std::string>{"Values compared", "Mean squared error",
                                                   "Root mean squared error", "Mean absolute error",
                                                   "Mean absolute percentage error", "Mean error",
                                                   "Sum of errors", "Tracking signal"});
    for (const auto& [name, errors] : columns) {
        const double mean =
            errors.count > 0 ? errors.sum / static_cast<double>(errors.count) : kNaN;
        table.cells(name, {errors.count, errors.meanSquared, std::sqrt(errors.meanSquared),
                           errors.meanAbsolute, errors.meanPercentage, mean, errors.sum,
                           errors.trackingSignal});
    }
    table.note("Error = actual - expected; percentages of the values that are not 0.");
}

void addLimits(Table& table, const Followed& followed, double confidence) {
    const Vector width = followed.stdDevs * quantile(confidence);
    table.series("Forecast", followed.forecasts)
        .series("Standard deviation", followed.stdDevs)
        .series("Lower " + percentText(confidence), followed.forecasts - width)
        .series("Upper " + percentText(confidence), followed.forecasts + width);
    if (!followed.noisy.empty()) table.series("With noise", followed.noisy);
}

void addCorrelogram(ReportBuilder& report, const std::string& table,
                    const CorrelogramCharts& charts, const Data& data, double confidence) {
    const std::vector<double>& acvf = data.acvf();
    const double limit =
        quantile(confidence) / std::sqrt(static_cast<double>(data.numProcessedRecords()));
    Vector acf(acvf.begin(), acvf.end());
    acf /= acvf.front();
    const std::string lower = "Lower " + percentText(confidence);
    const std::string upper = "Upper " + percentText(confidence);
    report.table(table)
        .counted("Lag", acvf.size(), 0)
        .series("Autocovariance", Vector(acvf.begin(), acvf.end()))
        .series("ACF", std::move(acf))
        .series("PACF", Vector(data.pacf().begin(), data.pacf().end()))
        .series(lower, Vector(acvf.size(), -limit))
        .series(upper, Vector(acvf.size(), limit))
        .note(
            "Limits for both functions at lags above 0 when the processed series is white "
            "noise.");
    if (!(acvf.front() > 0.0)) return;  // a constant has no autocorrelations
    // A stem for every lag between the limits of white noise.
    for (const auto& [chart, column] :
         {std::pair(charts.all, "ACF"), std::pair(charts.partial, "PACF")}) {
        report.chart(chart)
            .x(table, "Lag")
            .y(table, column)
            .line(table, lower)
            .line(table, upper)
            .stems();
    }
}

std::uint64_t usualLags(std::uint64_t numValues) {
    const double usual = 10.0 * std::log10(static_cast<double>(numValues));
    return std::min(numValues - 1, static_cast<std::uint64_t>(usual));
}

void addResiduals(ReportBuilder& report, const Vector& residuals,
                  const std::vector<LjungBox>& tests, const std::string& note, double confidence) {
    if (residuals.empty()) return;
    Data data;
    data.load({residuals.begin(), residuals.end()}).preprocess();
    data.computePACF(0, usualLags(residuals.size()) + 1);
    addCorrelogram(report, "Residual autocorrelations",
                   {"Residual autocorrelations", "Residual partial autocorrelations"}, data,
                   confidence);
    if (tests.empty()) return;
    Table& table = report.table("Ljung-Box tests of the residuals");
    std::vector<std::int64_t> lags;
    std::vector<std::int64_t> freedoms;
    Vector statistics;
    Vector pValues;
    for (const LjungBox& test : tests) {
        lags.push_back(static_cast<std::int64_t>(test.lag));
        freedoms.push_back(static_cast<std::int64_t>(test.degreesOfFreedom));
        statistics.push_back(test.statistic);
        pValues.push_back(test.pValue);
    }
    table.integers("Lag", std::move(lags))
        .numbers("Statistic", std::move(statistics))
        .integers("DF", std::move(freedoms))
        .probability("p-value", std::move(pValues))
        .note(note);
}

std::vector<LjungBox> testNoise(const Vector& residuals) {
    constexpr std::size_t kLeast = 13;  // the first test looks at 12 lags
    if (residuals.size() < kLeast) return {};
    ARMA nothing(0, 0);
    nothing.loadData(std::vector<double>(residuals.begin(), residuals.end())).preprocess().fit();
    return nothing.performLjungBoxTest().ljungBox();
}

Vector residualsOf(const Vector& actual, const Vector& fitted) {
    Vector residuals;
    for (std::size_t t = 0; t < actual.size(); ++t) {
        const double residual = actual[t] - fitted[t];
        if (!std::isnan(residual)) residuals.push_back(residual);
    }
    return residuals;
}

}  // namespace Veltrix::Tool
