#include <cstdint>
#include <vector>

#include <fmt/format.h>

#include "Veltrix/Engine/Exceptions.h"
#include "Veltrix/Engine/TS/ARIMA/Data.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/host/SeriesReport.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using Engine::TS::ARIMA::Data;

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
        addCorrelogram(report, "Autocorrelations", {"Autocorrelations", "Partial autocorrelations"},
                       series_, data.confidence);
    }

  private:
    std::uint64_t chooseLags(std::uint64_t numProcessed) const {
        const std::uint64_t largest = numProcessed - 1;
        if (lags_ == 0) return usualLags(numProcessed);
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
