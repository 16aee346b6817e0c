#include "tools/veltrix/host/SeriesFamily.h"

#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Progress.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/report/NumberFormat.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kForecast = "--forecast";
constexpr const char* kHoldout = "--holdout";

Vector first(const Vector& values, std::size_t count) {
    return {values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count)};
}

Vector last(const Vector& values, std::size_t count) {
    return {values.end() - static_cast<std::ptrdiff_t>(count), values.end()};
}

Vector wholeSeries(const Prepared& data) {
    const std::vector<double> values = data.series();
    return {values.begin(), values.end()};
}

Vector seriesOf(const Records& records) {
    const auto values = records.x(Selection::all, 0).elements();
    return {values.begin(), values.end()};
}

/// Values that nothing was expected of stand at the beginning.
std::size_t numWithout(const Vector& fitted) {
    std::size_t count = 0;
    while (count < fitted.size() && std::isnan(fitted[count])) ++count;
    return count;
}

}  // namespace

void SeriesFamily::options(OptionGroup& own) {
    modelOptions(own);
    own.count(kForecast, horizon_, "Steps to forecast after the last value")
        .placeholder("H")
        .shown(std::to_string(horizon_));
    own.count(kHoldout, holdout_,
              "Last values to hold back from the fit, to compare forecasts with (0)")
        .placeholder("N");
}

void SeriesFamily::fit(const Prepared& data) {
    if (horizon_ > kMostSteps) {
        throw UserError(
            fmt::format("{}: {}, expected at most {}", kForecast, horizon_, kMostSteps));
    }
    const Vector whole = wholeSeries(data);
    if (holdout_ >= static_cast<std::int64_t>(whole.size())) {
        throw UserError(fmt::format("{}: {}, expected less than the number of values, {}", kHoldout,
                                    holdout_, whole.size()));
    }
    fitTo(first(whole, whole.size() - static_cast<std::size_t>(holdout_)));
}

void SeriesFamily::summarize(Table& summary, const Prepared& data) const {
    if (!data.times.column.empty()) summary.entry("Time column", data.times.column);
    summary.entry("Values fitted to", data.rowsUsed - holdout_)
        .entry("Values held back", holdout_)
        .entry("Steps forecast", horizon_)
        .entry("Confidence level", data.confidence);
    summarizeModel(summary);
}

void SeriesFamily::describe(ReportBuilder& report, const Prepared& data) const {
    describeModel(report, data.confidence);
    const Vector whole = wholeSeries(data);
    const auto held = static_cast<std::size_t>(holdout_);
    const Vector fittedTo = first(whole, whole.size() - held);
    const Followed ahead = follow(fittedTo, holdout_, false);
    const Followed followed = follow(whole, horizon_, true);
    std::vector<std::pair<std::string, SeriesErrors>> errors{
        {"Fitted values", SeriesErrors(fittedTo, ahead.fitted)}};
    if (held > 0) {
        const Vector actual = last(whole, held);
        errors.emplace_back("Held back, forecasts", SeriesErrors(actual, ahead.forecasts));
        errors.emplace_back("Held back, one step ahead",
                            SeriesErrors(actual, last(followed.fitted, held)));
    }
    addErrors(report.table("Error measures"), errors);
    addForecasts(report, followed, data.times, data.confidence);
    if (held > 0) addHoldout(report, data, ahead, last(followed.fitted, held));
    const Vector residuals = residualsOf(fittedTo, ahead.fitted);
    addResiduals(report, residuals, testResiduals(residuals), testNote(), data.confidence);
    addValues(report, data, ahead.fitted);
}

void SeriesFamily::addValues(ReportBuilder& report, const Prepared& data,
                             const Vector& fitted) const {
    const std::string title = "Fitted values and residuals";
    const Vector actual = first(wholeSeries(data), fitted.size());
    Table& table = report.records(title);
    data.times.addTo(table, 0, fitted.size());
    table.series("Actual", actual).series("Fitted", fitted).series("Residual", actual - fitted);
    const std::size_t without = numWithout(fitted);
    const std::size_t count = fitted.size() - without;
    if (count == 0) return;
    Table& drawn = report.chartTable("Fitted chart");
    data.times.addTo(drawn, without, count);
    drawn.series("Actual", last(actual, count)).series("Fitted", last(fitted, count));
    report.chart("Fitted against actual values")
        .x("Fitted chart", data.times.axis())
        .y("Fitted chart", "Actual")
        .line("Fitted chart", "Fitted");
}

void SeriesFamily::addForecasts(ReportBuilder& report, const Followed& followed,
                                const SeriesTimes& times, double confidence) const {
    const std::string title = "Forecasts";
    Table& table = report.table(title);
    const std::size_t count = followed.forecasts.size();
    table.counted("Step", count);
    times.addFollowing(table, count);
    addLimits(table, followed, confidence);
    if (!forecastNote().empty()) table.note(forecastNote());
    const std::string axis = times.followingAxis();
    report.chart("Forecasts and limits")
        .x(title, axis.empty() ? "Step" : axis)
        .y(title, "Forecast")
        .line(title, "Lower " + percentText(confidence))
        .line(title, "Upper " + percentText(confidence));
}

void SeriesFamily::addHoldout(ReportBuilder& report, const Prepared& data, const Followed& ahead,
                              const Vector& oneStep) const {
    const std::string title = "Values held back";
    const Vector whole = wholeSeries(data);
    const auto held = static_cast<std::size_t>(holdout_);
    const std::size_t numFitted = whole.size() - held;
    const Vector actual = last(whole, held);
    Table& table = report.table(title);
    data.times.addTo(table, numFitted, held);
    table.series("Actual", actual);
    addLimits(table, ahead, data.confidence);
    table.series("Error", actual - ahead.forecasts)
        .series("One step ahead", oneStep)
        .note("Forecasts from the last value fitted to; one step ahead with the same parameters.");
    report.chart("Forecasts of the values held back")
        .x(title, data.times.axis())
        .y(title, "Actual")
        .line(title, "Forecast")
        .line(title, "Lower " + percentText(data.confidence))
        .line(title, "Upper " + percentText(data.confidence));
}

Followed SeriesFamily::followRecords(const Records& records, std::int64_t horizon) const {
    try {
        return follow(seriesOf(records), horizon, false);
    } catch (const Cancelled&) {
        throw;
    } catch (const Exception&) {
        throw UserError(
            fmt::format("--data: {} values are too few for the model", records.count()));
    }
}

Scores SeriesFamily::score(const Records& records, double /*confidence*/) const {
    Vector fitted = followRecords(records, 0).fitted;
    Column residuals{"Residual", seriesOf(records) - fitted, NumberStyle::Series};
    return numberScores(std::move(fitted), {std::move(residuals)});
}

void SeriesFamily::addBeyond(ReportBuilder& report, const Records& records,
                             double confidence) const {
    addForecasts(report, followRecords(records, horizon_), {}, confidence);
}

}  // namespace Veltrix::Tool
