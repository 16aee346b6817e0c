#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/veltrix/host/Family.h"
#include "tools/veltrix/host/SeriesReport.h"

namespace Veltrix::Tool {

/// Base of a family that models a series and forecasts it. It holds back the last values where it
/// is asked to, and reports errors, fitted values, forecasts and residuals; the family fits.
///
/// Everything that is said of values beyond the fitted ones is what the model says of the longer
/// series with its parameters as they are.
class SeriesFamily : public RecordFamily {
  public:
    Needs needs() const final { return {.target = TargetKind::Series, .confidence = true}; }
    void options(OptionGroup& own) final;
    void fit(const Prepared& data) final;
    void summarize(Table& summary, const Prepared& data) const final;
    void describe(ReportBuilder& report, const Prepared& data) const final;
    Scores score(const Records& records, double confidence) const final;
    void addBeyond(ReportBuilder& report, const Records& records, double confidence) const final;
    int numColumns() const final { return isFitted() ? 1 : 0; }

  protected:
    /// Declares the options of the family alone.
    virtual void modelOptions(OptionGroup& own) = 0;
    virtual void fitTo(const Vector& series) = 0;
    virtual bool isFitted() const = 0;
    virtual void summarizeModel(Table& summary) const = 0;
    /// Appends the tables of the fitted model.
    virtual void describeModel(ReportBuilder& report, double confidence) const = 0;
    /// The model's word on a series with its parameters as they are. With `noise` the forecasts
    /// also come with simulated noise, where the options ask for it.
    virtual Followed follow(const Vector& series, std::int64_t horizon, bool noise) const = 0;
    virtual std::vector<Engine::TS::ARIMA::LjungBox> testResiduals(
        const Vector& residuals) const = 0;
    /// What the tests' degrees of freedom are.
    virtual std::string testNote() const = 0;
    /// What must be known of the standard deviations of forecasts; may be empty.
    virtual std::string forecastNote() const { return {}; }

    static void describeSeries(auto& a, auto& self) {
        a("forecast", self.horizon_);
        a.check(
            "forecast", [&] { return self.horizon_ >= 0 && self.horizon_ <= kMostSteps; },
            "expected a number of steps");
    }

  private:
    static constexpr std::int64_t kMostSteps = 1000000;

    /// `follow` for a file to be scored. Throws `UserError` for too few values.
    Followed followRecords(const Records& records, std::int64_t horizon) const;
    void addHoldout(ReportBuilder& report, const Prepared& data, const Followed& ahead,
                    const Vector& oneStep) const;
    void addValues(ReportBuilder& report, const Prepared& data, const Vector& fitted) const;
    void addForecasts(ReportBuilder& report, const Followed& followed, const SeriesTimes& times,
                      double confidence) const;

    std::int64_t horizon_ = 12;
    std::int64_t holdout_ = 0;
};

}  // namespace Veltrix::Tool
