#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string_view>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

namespace Veltrix::Support {
class RuntimeRandom;
}

namespace Veltrix::Engine::TS::Smoothing {

/// What is made small by a search. With e_t = series_t − smoothed_t summed over the n values from
/// `numSkipped` on:
enum class ErrorMeasure : std::int32_t {
    meanSquaredError = 0,  ///< Σe²/n
    /// (100/c) Σ|e/x| over the c values x with |x| above the machine epsilon
    meanAbsolutePercentageError = 1,
    meanAbsoluteError = 2,  ///< Σ|e|/n
    sumOfErrors = 3,        ///< Σe
    meanError = 4,          ///< Σe/n
    trackingSignal = 5      ///< Σe/(Σ|e|/n); 0 when Σ|e| is below the machine epsilon
};

/// Smooths one series and forecasts it. The smoothed value of time t is what the smoother expects
/// from the values before t; the forecasts go on from the last value.
///
/// A smoother is given its series x₀ … x_{n−1} and its parameters as it is constructed; `run`
/// smooths with them, `runAuto` and `runOptimised` look for better ones first, `forecast` looks
/// ahead. Before a run the results are NaN, of the right lengths. What is named `initial` belongs
/// to the time before the first value.
///
/// The constructors of all smoothers and `setSeries` throw `Exception` for a series without values
/// or with one that is NaN or infinite, and for a parameter outside [0, 1]. A default-constructed
/// smoother has no series; running and forecasting it throws. An operation that throws, `Cancelled`
/// included, leaves the smoother as it was. Runs, searches and long forecasts report progress. A
/// smoother may be read from several threads.
class VELTRIX_ENGINE_API Smoother : public JSON::Storable {
  public:
    ~Smoother() override;

    /// Takes another series, with the same parameters; the results of the old one are dropped.
    Smoother& setSeries(Vector series);
    /// Of the random numbers of the searches. By default 12345.
    Smoother& setSeed(std::int32_t seed) noexcept;
    /// Any value is taken; one that is no `ErrorMeasure` has the largest double as its error, so
    /// that no trial of a search wins.
    Smoother& setErrorMeasure(ErrorMeasure measure) noexcept;
    /// Trials of `runAuto`; with 0 the parameters stay as they are.
    Smoother& setNumTrials(std::uint64_t count) noexcept;

    /// Initial values, smoothed values and their error with the parameters as they are.
    Smoother& run();
    /// Tries `numTrials` random parameters and runs with those of the least error, the earliest on
    /// ties. Each parameter is a draw of ⌊s/2¹⁶⌋ mod 2¹⁵ over 32767, s ← 214013 s + 2531011
    /// (mod 2³²) from the seed on, in the order α, β, γ, those of the smoother only. Without a
    /// trial of usable error the parameters stay. O(n · numTrials).
    Smoother& runAuto();
    /// The parameters of the least error within [0, 1] that a quasi-Newton search (BFGS on
    /// φ, α = sin² φ) finds from the best of the first 24 trials of `runAuto`; a local minimum,
    /// never worse than where the search starts.
    Smoother& runOptimised();

    /// Forecasts for the h times that follow, and their standard deviations. With `addNoise` a
    /// normal number times the standard deviation is added to each forecast: MT19937 from
    /// `noiseSeed`, polar method, as in `Util::gaussianMatrix`. Returns the forecasts. Throws
    /// `Exception` for a negative h.
    const Vector& forecast(std::int64_t h, bool addNoise = false, std::uint32_t noiseSeed = 12345);

    /// Sets the initial values and goes back to them. A part of `run`, as what follows is.
    virtual void initParams() = 0;
    /// Goes back to the initial values.
    virtual void resetParams() = 0;
    /// Smooths the series from the current values on, which become those after the last value.
    virtual void computeSmoothedValues() = 0;
    /// The forecasts alone. Throws `Exception` for a negative h, here and below.
    virtual void computeForecastedValues(std::int64_t h) = 0;
    /// The standard deviation of the step i, from 0, is √(v (1 + Σ_{j=1..i} c_j²)), v the
    /// `computeForecastErrorVariance` and c_j the `computeCParam(j)`; NaN where v is.
    virtual void computeForecastsStdDev(std::int64_t h);
    /// Mean of the squared residuals, those that are NaN left out; NaN when there are no others.
    virtual double computeForecastErrorVariance() const;
    /// The weight c_j, j ≥ 1, that the error of a step has j steps later.
    virtual double computeCParam(std::uint64_t j) const = 0;
    /// An error measure of the smoothed values. The largest double, 1.7976931348623157e308, for a
    /// code that is no measure, a series no longer than `numSkipped`, and a percentage error of
    /// values that are all 0.
    double computeForecastError(ErrorMeasure measure) const;

    double alpha() const noexcept { return state_.params[0]; }
    double beta() const noexcept { return state_.params[1]; }
    double gamma() const noexcept { return state_.params[2]; }
    /// α, β, γ; 0 for those that the smoother does not have.
    Vector params() const;
    const Vector& series() const noexcept { return series_; }
    /// Leading smoothed values that are undefined and count in no error measure.
    std::uint64_t numSkipped() const noexcept { return numSkipped_; }
    std::int32_t seed() const noexcept { return seed_; }
    ErrorMeasure errorMeasure() const noexcept { return errorMeasure_; }
    std::uint64_t numTrials() const noexcept { return numTrials_; }
    /// Length n.
    const Vector& smoothed() const noexcept { return state_.smoothed; }
    const Vector& forecasts() const noexcept { return state_.forecasts; }
    const Vector& forecastsStdDev() const noexcept { return state_.forecastsStdDev; }
    /// The chosen measure after the last run.
    double error() const noexcept { return state_.error; }

    /// "Actual", "Fitted" and "Residual" for every time, the frame being named "Smoothed Values: "
    /// and the series' name.
    DataFrame getSeriesTable() const;
    /// "Forecast", "Standard Deviation" and the limits "Lower 95%" and "Upper 95%", forecast ± z
    /// standard deviations, for every step of the last forecast; named "Forecasts: " and the
    /// series' name. Throws `Exception` for a confidence outside (0, 1).
    DataFrame getForecastTable(double confidence = 0.95) const;
    /// "Parameter" and "Value" of the parameters that the smoother has, and of the values of level,
    /// trend and season after the last time; named "Parameters: " and the series' name.
    DataFrame getParameterTable() const;
    /// The six error measures, as "Error Measure" and "Value"; named "Error Measures: " and the
    /// series' name.
    DataFrame getErrorTable() const;

    /// The smoother as it is, of its own class.
    virtual std::unique_ptr<Smoother> clone() const = 0;

    /// Least-squares line y ≈ intercept + slope·t through the times t = 1 … n. The slope is 0 for
    /// a single value; without any both are NaN.
    static void linearRegression(const Vector& y, double& intercept, double& slope);

  protected:
    static constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    /// Parameters and results: what an operation puts back when it fails.
    struct State {
        std::array<double, 3> params{};  ///< α, β, γ
        double level = kNaN;
        double initialLevel = kNaN;
        double trend = kNaN;
        double initialTrend = kNaN;
        Vector seasonal;
        Vector initialSeasonal;
        Vector smoothed;
        Vector forecasts;
        Vector forecastsStdDev;
        double error = kNaN;
    };
    using Params = std::array<double, 3>;

    Smoother() = default;
    Smoother(std::uint64_t numSkipped, std::uint64_t numTrials)
        : numSkipped_(numSkipped), numTrials_(numTrials) {}
    Smoother(const Smoother&) = default;
    Smoother(Smoother&&) noexcept = default;
    Smoother& operator=(const Smoother&) = default;
    Smoother& operator=(Smoother&&) noexcept = default;

    /// For the constructors: the class's name leads the messages of all checks.
    void start(Vector series, const Params& params);
    virtual const char* name() const noexcept = 0;
    /// Throws unless the series is long enough.
    virtual void checkLength(std::uint64_t numRecords) const = 0;
    /// Number of seasonal indexes.
    virtual std::uint64_t numSeasonal() const noexcept { return 0; }
    /// Which of α, β, γ the smoother has.
    virtual std::array<bool, 3> ownParams() const noexcept = 0;
    /// Appends what `getParameterTable` shows; here the parameters.
    virtual void listParameters(StringVector& names, Vector& values) const;
    /// Draws the smoother's parameters.
    virtual void generateRandomParams(Support::RuntimeRandom& random);
    /// The error of each trial, smoothed from the initial values on; leaves the smoother somewhere.
    virtual void computeTrialErrors(std::span<const Params> trials, std::span<double> errors);

    std::uint64_t numRecords() const noexcept { return series_.size(); }
    struct Line {
        double intercept;
        double slope;
    };
    static Line lineThrough(std::span<const double> y);
    /// Throws unless there is a series and h ≥ 0.
    void checkForecast(std::int64_t h) const;
    void checkSeries() const;
    WString titled(const wchar_t* prefix) const;

    State state_;

  private:
    friend struct Stored<Smoother>;
    class Rollback;
    class Objective;

    void search(std::uint64_t numTrials);
    void improve();

    std::uint64_t numSkipped_ = 0;
    std::int32_t seed_ = 12345;
    ErrorMeasure errorMeasure_ = ErrorMeasure::meanSquaredError;
    std::uint64_t numTrials_ = 0;
    Vector series_;
};

}  // namespace Veltrix::Engine::TS::Smoothing
