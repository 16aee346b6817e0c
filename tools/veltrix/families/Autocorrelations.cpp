#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "Veltrix/Engine/Distributions.h"
#include "Veltrix/Engine/Exceptions.h"
#include "Veltrix/Engine/TS/ARIMA/Data.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/report/NumberFormat.h"

namespace Veltrix::Tool {

namespace {

using Engine::TS::ARIMA::Data;

constexpr const char* kLags = "Autocorrelations";

class Autocorrelations : public ReportingFamily {
  public:
    FamilyNames names() const override {
        return {"acf", "Computes autocorrelations and partial autocorrelations of a series",
                "autocorrelations"};
    }
    Needs needs() const override {
        return {.target = TargetKind::Series, .confidence = true, .stored = false};
    }

    void options(OptionGroup& own) override {
        own.count("--lags", lags_, "Largest lag; 10 log10(n) when left out, n the number of values",
                  1)
            .placeholder("L");
        own.count("--difference", difference_, "Order of ordinary differencing (0)")
            .placeholder("d");
        own.count("--seasonal-difference", seasonalDifference_,
                  "Order of seasonal differencing (0), taken first; needs --period")
            .placeholder("D");
        own.count("--period", period_, "Length of the season", 1).placeholder("s");
    }

    void checkOptions() const override {
        if (seasonalDifference_ == 0 || period_ > 0) return;
        throw UserError(
            "--period: not given, expected the length of the season for "
            "--seasonal-difference");
    }

    void fit(const Prepared& data) override {
        const std::vector<double> values = data.series();
        series_ = Data(static_cast<std::uint64_t>(difference_),
                       static_cast<std::uint64_t>(seasonalDifference_),
                       static_cast<std::uint64_t>(period_));
        try {
            series_.load(values).preprocess();
        } catch (const Engine::TooFewRecords&) {
            throw UserError(fmt::format(
                "{}: {} values in column {}, expected more than the differences take away",
                seasonalDifference_ > 0 ? "--seasonal-difference" : "--difference", values.size(),
                Tool::quoted(data.coding.predictors()[0])));
        }
        series_.computePACF(0, chooseLags(series_.numProcessedRecords()) + 1);
    }

    std::string title(const std::string& series) const override {
        return "Autocorrelations of " + series;
    }

    void summarize(Table& summary, const Prepared& data) const override {
        summary.entry("Differences", difference_)
            .entry("Seasonal differences", seasonalDifference_)
            .entry("Period", period_ > 0 ? Value(period_) : Value("none"))
            .entry("Values after differencing",
                   static_cast<std::int64_t>(series_.numProcessedRecords()))
            .entry("Mean after differencing", series_.mean())
            .entry("Variance after differencing", series_.variance())
            .entry("Confidence level", data.confidence);
    }

    void describe(ReportBuilder& report, const Prepared& data) const override {
        const std::vector<double>& acvf = series_.acvf();
        const double limit = Engine::Distributions::normalQuantile((1.0 + data.confidence) / 2.0) /
                             std::sqrt(static_cast<double>(series_.numProcessedRecords()));
        Vector acf(acvf.begin(), acvf.end());
        acf /= acvf.front();
        const std::string lower = "Lower " + percentText(data.confidence);
        const std::string upper = "Upper " + percentText(data.confidence);
        report.table(kLags)
            .counted("Lag", acvf.size(), 0)
            .series("Autocovariance", Vector(acvf.begin(), acvf.end()))
            .series("ACF", std::move(acf))
            .series("PACF", Vector(series_.pacf().begin(), series_.pacf().end()))
            .series(lower, Vector(acvf.size(), -limit))
            .series(upper, Vector(acvf.size(), limit))
            .note(
                "Limits for both functions at lags above 0 when the processed series is white "
                "noise.");
        if (!(acvf.front() > 0.0)) return;  // a constant has no autocorrelations
        // A stem for every lag between the limits of white noise.
        for (const auto& [chart, column] : {std::pair("Autocorrelations", "ACF"),
                                            std::pair("Partial autocorrelations", "PACF")}) {
            report.chart(chart)
                .x(kLags, "Lag")
                .y(kLags, column)
                .line(kLags, lower)
                .line(kLags, upper)
                .stems();
        }
    }

  private:
    std::uint64_t chooseLags(std::uint64_t numProcessed) const {
        const std::uint64_t largest = numProcessed - 1;
        if (lags_ == 0) {
            const double usual = 10.0 * std::log10(static_cast<double>(numProcessed));
            return std::min(largest, static_cast<std::uint64_t>(usual));
        }
        const auto lags = static_cast<std::uint64_t>(lags_);
        if (lags <= largest) return lags;
        throw UserError(fmt::format(
            "--lags: {}, expected less than the number of values, {} after differencing", lags,
            numProcessed));
    }

    std::int64_t lags_ = 0;  ///< 0 = by the length of the series
    std::int64_t difference_ = 0;
    std::int64_t seasonalDifference_ = 0;
    std::int64_t period_ = 0;
    Data series_;
};

}  // namespace

std::unique_ptr<Family> makeAutocorrelations() { return std::make_unique<Autocorrelations>(); }

}  // namespace Veltrix::Tool
