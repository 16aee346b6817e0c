#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "Veltrix/Engine/TS/Smoothing/Smoother.h"
#include "Veltrix/Export.h"

/// @file
/// Moving average, exponential smoothing and the Holt–Winters forms (Holt 1957, Winters 1960).
///
/// L is the level, T the trend, S the seasonal index of t mod period; each smoothed value is formed
/// before the update with x_t.

namespace Veltrix::Engine::TS::Smoothing {

/// The mean of the `window` values before each time; NaN for the first `window` ones. Forecasts
/// feed on themselves. c_j = 1/window.
class VELTRIX_ENGINE_API MovingAverage final : public Smoother {
  public:
    MovingAverage() = default;
    /// Throws `Exception` too unless 1 ≤ window ≤ n. With window = n no smoothed value is defined:
    /// the error is the largest double and the standard deviations are NaN.
    MovingAverage(Vector series, std::uint64_t window);
    MovingAverage(const MovingAverage&) = default;
    MovingAverage(MovingAverage&&) noexcept = default;
    MovingAverage& operator=(const MovingAverage& other) { return *this = MovingAverage(other); }
    MovingAverage& operator=(MovingAverage&&) noexcept = default;
    ~MovingAverage() override;

    std::uint64_t window() const noexcept { return window_; }

    void initParams() override;
    void resetParams() override;
    void computeSmoothedValues() override;
    void computeForecastedValues(std::int64_t h) override;
    double computeCParam(std::uint64_t j) const override;
    std::unique_ptr<Smoother> clone() const override;

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;
    const char* name() const noexcept override;
    void checkLength(std::uint64_t numRecords) const override;
    std::array<bool, 3> ownParams() const noexcept override;
    void listParameters(StringVector& names, Vector& values) const override;

  private:
    friend struct Stored<Smoother>;

    std::uint64_t window_ = 0;
};

/// Simple exponential smoothing. The level starts as x₀, for which there is no smoothed value; then
///
///     smoothed_t = L,  L ← α x_t + (1 − α) L   for t ≥ 1.
///
/// Forecast: L. c_j = α.
class VELTRIX_ENGINE_API Exponential : public Smoother {
  public:
    Exponential() = default;
    Exponential(Vector series, double alpha, std::uint64_t numTrials);
    Exponential(const Exponential&) = default;
    Exponential(Exponential&&) noexcept = default;
    Exponential& operator=(const Exponential& other) { return *this = Exponential(other); }
    Exponential& operator=(Exponential&&) noexcept = default;
    ~Exponential() override;

    double level() const noexcept { return state_.level; }
    double initialLevel() const noexcept { return state_.initialLevel; }

    void initParams() override;
    void resetParams() override;
    void computeSmoothedValues() override;
    void computeForecastedValues(std::int64_t h) override;
    double computeCParam(std::uint64_t j) const override;
    std::unique_ptr<Smoother> clone() const override;

  protected:
    Exponential(std::uint64_t numSkipped, std::uint64_t numTrials)
        : Smoother(numSkipped, numTrials) {}

    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;
    const char* name() const noexcept override;
    void checkLength(std::uint64_t numRecords) const override;
    std::array<bool, 3> ownParams() const noexcept override;
    void listParameters(StringVector& names, Vector& values) const override;
    void computeTrialErrors(std::span<const Params> trials, std::span<double> errors) override;
};

/// Holt's double exponential smoothing. L and T start as intercept and slope of the
/// `linearRegression` over the series; then
///
///     smoothed_t = L + T;  L' = α x_t + (1 − α)(L + T),  T ← β (L' − L) + (1 − β) T,  L ← L',
///
/// the first update being that of t = 1. Forecast: L + kT. c_j = α (1 + jβ).
class VELTRIX_ENGINE_API DoubleExponential : public Exponential {
  public:
    DoubleExponential() = default;
    DoubleExponential(Vector series, double alpha, double beta, std::uint64_t numTrials);
    DoubleExponential(const DoubleExponential&) = default;
    DoubleExponential(DoubleExponential&&) noexcept = default;
    DoubleExponential& operator=(const DoubleExponential& other) {
        return *this = DoubleExponential(other);
    }
    DoubleExponential& operator=(DoubleExponential&&) noexcept = default;
    ~DoubleExponential() override;

    double trend() const noexcept { return state_.trend; }
    double initialTrend() const noexcept { return state_.initialTrend; }

    void initParams() override;
    void resetParams() override;
    void computeSmoothedValues() override;
    void computeForecastedValues(std::int64_t h) override;
    double computeCParam(std::uint64_t j) const override;
    std::unique_ptr<Smoother> clone() const override;

  protected:
    /// For the seasonal forms, which count every smoothed value.
    explicit DoubleExponential(std::uint64_t numTrials) : Exponential(0, numTrials) {}

    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;
    const char* name() const noexcept override;
    std::array<bool, 3> ownParams() const noexcept override;
    void listParameters(StringVector& names, Vector& values) const override;
    void computeTrialErrors(std::span<const Params> trials, std::span<double> errors) override;
    /// L + kT for k = 1 … h.
    Vector lineAhead(std::int64_t h) const;
};

/// What the seasonal forms share. L and T start as intercept and slope of the `linearRegression`
/// over the first m seasons, m = 4 or as many whole ones as there are; the seasonal indexes as the
/// m-season means of what the line leaves. The random search always has 2000 trials.
class VELTRIX_ENGINE_API HoltWinters : public DoubleExponential {
  public:
    HoltWinters(const HoltWinters&) = default;
    HoltWinters(HoltWinters&&) noexcept = default;
    ~HoltWinters() override;

    std::uint64_t period() const noexcept { return period_; }
    /// Seasonal indexes after the last value, of the times that are 0 … period − 1 modulo period.
    const Vector& seasonal() const noexcept { return state_.seasonal; }
    const Vector& initialSeasonal() const noexcept { return state_.initialSeasonal; }

    void initParams() override;
    void resetParams() override;

  protected:
    HoltWinters() : DoubleExponential(kNumTrials) {}
    explicit HoltWinters(std::uint64_t period) : DoubleExponential(kNumTrials), period_(period) {}
    HoltWinters& operator=(const HoltWinters&) = default;
    HoltWinters& operator=(HoltWinters&&) noexcept = default;

    void checkLength(std::uint64_t numRecords) const override;
    std::uint64_t numSeasonal() const noexcept override;
    std::array<bool, 3> ownParams() const noexcept override;
    void listParameters(StringVector& names, Vector& values) const override;
    /// Initial seasonal indexes from that many seasons.
    virtual void initSeasonality(std::uint64_t numSeasons) = 0;
    /// Initial indexes as the means of left(x_t, L + (t + 1) T) over that many seasons.
    void accumulateSeasons(std::uint64_t numSeasons, double (*left)(double x, double line));
    /// Seasons that the initial values are taken from.
    std::uint64_t numSeasons() const noexcept;
    /// Position of the index for the step k = 1, 2, … after the last value.
    std::uint64_t seasonAhead(std::uint64_t k) const noexcept;

  private:
    friend struct Stored<Smoother>;
    static constexpr std::uint64_t kNumTrials = 2000;

    std::uint64_t period_ = 0;
};

/// Multiplicative Holt–Winters smoothing,
///
///     smoothed_t = (L + T) S;  L' = α x_t/S + (1 − α)(L + T),  T ← β (L' − L) + (1 − β) T,
///     S ← γ x_t/L' + (1 − γ) S,  L ← L'.
///
/// The initial indexes are divided by their mean. When |L| and |T| are both below
/// 1.1920928955078125e-7, or the magnitude of an initial index is, the smoothed values are 0 and L,
/// T and S stay. Forecast: (L + kT) S, S that of the time forecast.
class VELTRIX_ENGINE_API MulHoltWinters final : public HoltWinters {
  public:
    MulHoltWinters() = default;
    /// Throws `Exception` too unless 1 ≤ period ≤ n. The last argument is not used.
    MulHoltWinters(Vector series, double alpha, double beta, double gamma, std::uint64_t period,
                   std::uint64_t unused = 0);
    MulHoltWinters(const MulHoltWinters&) = default;
    MulHoltWinters(MulHoltWinters&&) noexcept = default;
    MulHoltWinters& operator=(const MulHoltWinters& other) { return *this = MulHoltWinters(other); }
    MulHoltWinters& operator=(MulHoltWinters&&) noexcept = default;
    ~MulHoltWinters() override;

    void computeSmoothedValues() override;
    void computeForecastedValues(std::int64_t h) override;
    /// For the step i = k − 1, with A = Σ_{j=1..i} c_j² sd_{i−j}, μ = L + kT, B = Av + μ² and
    /// P = (γ²v + 1)^⌊i/period⌋: sd_i = |S_{i mod period}| √((1 + v) P B − μ²). All are 0 when |L|
    /// and |T| are below 1.1920928955078125e-7. O(h²).
    void computeForecastsStdDev(std::int64_t h) override;
    /// Mean of (e_t/smoothed_t)² over the smoothed values above the machine epsilon in magnitude;
    /// 0 when there are none, and when |L| and |T| are below 1.1920928955078125e-7.
    double computeForecastErrorVariance() const override;
    std::unique_ptr<Smoother> clone() const override;

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;
    const char* name() const noexcept override;
    void initSeasonality(std::uint64_t numSeasons) override;
    void computeTrialErrors(std::span<const Params> trials, std::span<double> errors) override;

  private:
    bool isFlat() const noexcept;
};

/// Additive Holt–Winters smoothing,
///
///     smoothed_t = L + T + S;  L' = α (x_t − S) + (1 − α)(L + T),  T ← β (L' − L) + (1 − β) T,
///     S ← γ (x_t − L') + (1 − γ) S,  L ← L'.
///
/// The indexes are not centred. Forecast: L + kT + S, S that of the time forecast.
/// c_j = α (1 + jβ), and γ more for j = period, only there.
class VELTRIX_ENGINE_API AddHoltWinters : public HoltWinters {
  public:
    AddHoltWinters() = default;
    /// As for `MulHoltWinters`.
    AddHoltWinters(Vector series, double alpha, double beta, double gamma, std::uint64_t period,
                   std::uint64_t unused = 0);
    AddHoltWinters(const AddHoltWinters&) = default;
    AddHoltWinters(AddHoltWinters&&) noexcept = default;
    AddHoltWinters& operator=(const AddHoltWinters& other) { return *this = AddHoltWinters(other); }
    AddHoltWinters& operator=(AddHoltWinters&&) noexcept = default;
    ~AddHoltWinters() override;

    void computeSmoothedValues() override;
    void computeForecastedValues(std::int64_t h) override;
    double computeCParam(std::uint64_t j) const override;
    std::unique_ptr<Smoother> clone() const override;

  protected:
    explicit AddHoltWinters(std::uint64_t period) : HoltWinters(period) {}

    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;
    const char* name() const noexcept override;
    void initSeasonality(std::uint64_t numSeasons) override;
    void computeTrialErrors(std::span<const Params> trials, std::span<double> errors) override;
};

/// Additive smoothing without trend: β = 0, T = 0, the level starts as x₀,
///
///     smoothed_t = L + S;  L' = α (x_t − S) + (1 − α) L,  S ← γ (x_t − L) + (1 − γ) S,  L ← L',
///
/// the index being updated with the level before its own update.
class VELTRIX_ENGINE_API NoTrendHoltWinters final : public AddHoltWinters {
  public:
    NoTrendHoltWinters() = default;
    /// As for `MulHoltWinters`.
    NoTrendHoltWinters(Vector series, double alpha, double gamma, std::uint64_t period,
                       std::uint64_t unused = 0);
    NoTrendHoltWinters(const NoTrendHoltWinters&) = default;
    NoTrendHoltWinters(NoTrendHoltWinters&&) noexcept = default;
    NoTrendHoltWinters& operator=(const NoTrendHoltWinters& other) {
        return *this = NoTrendHoltWinters(other);
    }
    NoTrendHoltWinters& operator=(NoTrendHoltWinters&&) noexcept = default;
    ~NoTrendHoltWinters() override;

    void initParams() override;
    void computeSmoothedValues() override;
    std::unique_ptr<Smoother> clone() const override;

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;
    const char* name() const noexcept override;
    std::array<bool, 3> ownParams() const noexcept override;
    void computeTrialErrors(std::span<const Params> trials, std::span<double> errors) override;
};

}  // namespace Veltrix::Engine::TS::Smoothing
