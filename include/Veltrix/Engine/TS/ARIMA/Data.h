#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

/// @file
/// A univariate time series on its way to a stationary, mean-free one and back.

namespace Veltrix::Engine::TS::ARIMA {

/// One transformation of a series: a difference x_t − x_{t−lag}, taken `count` times, or the
/// subtraction of a mean.
struct LagOperation {
    std::uint64_t count = 0;  ///< how many times the difference is taken; 0 for a mean
    std::uint64_t lag = 0;    ///< distance of the difference; 0 for a mean
    double value = 0.0;       ///< the mean that is subtracted
    bool isMean = false;      ///< a mean subtraction, not a difference
    bool valueGiven = false;  ///< `value` comes from the caller, not from the data
};

/// Holds a series, differences it and subtracts its mean, brings results back to the original
/// scale, and computes the autocovariances and partial autocorrelations of the processed series.
///
/// Operations are listed by `lag` and `subtractMean` and carried out by `apply`; `preprocess` does
/// what an ARIMA(p, d, q)×(P, D, Q) model needs:
///
///     w_t = (1 − B)^d (1 − Bˢ)^D x_t − mean.
///
/// N is the length of the series, n ≤ N that of the processed one. NaN and infinite values are not
/// refused: they spread by the rules of arithmetic, so that one NaN makes the mean, the variance
/// and, after a mean subtraction, every processed value NaN. An operation that throws leaves the
/// series, its list and its results as they were.
class VELTRIX_ENGINE_API Data : public JSON::Storable {
  public:
    Data() = default;
    /// Ordinary differencing of order d = `numLags`.
    explicit Data(std::uint64_t numLags);
    /// With seasonal differencing of order D = `numSeasonalLags` at lag s = `period`.
    Data(std::uint64_t numLags, std::uint64_t numSeasonalLags, std::uint64_t period);
    Data(const Data&) = default;
    /// What was moved from holds an empty series and no operations.
    Data(Data&& other) noexcept;
    Data& operator=(const Data& other) { return *this = Data(other); }
    Data& operator=(Data&& other) noexcept;
    ~Data() override;

    /// Takes a series, which is the processed one too until `apply`. Mean and variance are those of
    /// the series (0 for an empty one). Autocovariances and partial autocorrelations of an earlier
    /// series are dropped; listed operations stay, to be applied to this series as well.
    Data& load(std::vector<double> series);

    /// Lists a difference; a count or a lag of 0 lists nothing.
    Data& lag(std::uint64_t count, std::uint64_t lag);
    /// Lists the subtraction of the mean that the data has at this point of the list.
    Data& subtractMean();
    /// Lists the subtraction of a given mean.
    Data& subtractMean(double mean);
    /// Carries out all listed operations in order, always from the original series on. A mean that
    /// is exactly 0 is not subtracted. Throws `TooFewRecords` when a difference would leave less
    /// than one value.
    Data& apply();
    /// Lists the seasonal differences, the ordinary ones and a mean subtraction, and applies the
    /// list. What was listed before stays in front: a second call differences once more. Throws as
    /// `apply`, and then lists nothing.
    Data& preprocess();

    /// Brings `y`, a series on the processed scale, back to the original one by undoing the applied
    /// operations in reverse. The first n entries of y belong to the n processed values: they are
    /// integrated on the observed values, so that fitted values become one-step predictions. What
    /// follows belongs to the times after N and is integrated on its own earlier values, as
    /// forecasts are. Result: length N − n + |y|, the first N − n entries being those of the series
    /// itself. Without applied operations, or when y is shorter than n, y comes back unchanged.
    std::vector<double> postprocess(const std::vector<double>& y) const;

    /// Autocovariances of the processed series w for the lags h in [from, to),
    ///
    ///     γ(h) = (1/n) Σ_{t=0}^{n−1−h} w_t w_{t+h},
    ///
    /// (Brockwell and Davis 1991, def. 7.2.1); `to` is clamped to n and an empty range changes
    /// nothing. When the series is not mean-subtracted (`isMeanSubtracted`), a mean subtraction is
    /// listed and the whole list applied first; otherwise the processed series is taken as it is,
    /// so call `apply` before when operations are listed only. O(n · (to − from)). Throws as
    /// `apply`.
    Data& computeACVF(std::uint64_t from, std::uint64_t to);
    /// All n lags, O(n²).
    Data& computeACVF();

    /// Partial autocorrelations for the lags in [from, to) by the Durbin–Levinson recursion
    /// (Brockwell and Davis 1991, prop. 5.2.1), lag 0 counting as 1; `to` and empty ranges as for
    /// `computeACVF`, which is run for the lags [0, to). All are 0 when γ(0) is below the machine
    /// epsilon in magnitude. O(n · to + to²).
    Data& computePACF(std::uint64_t from, std::uint64_t to);
    /// All n lags, O(n²).
    Data& computePACF();

    /// Autocovariances, from the lag on at which the last computation started.
    const std::vector<double>& acvf() const noexcept { return acvf_; }
    /// Partial autocorrelations, likewise.
    const std::vector<double>& pacf() const noexcept { return pacf_; }
    /// The working copy, length N: its last n entries are the processed series, those before them
    /// the first values of the series with only the earlier differences taken.
    const std::vector<double>& lagInfo() const noexcept { return outcome_.working; }
    /// Mean after the last difference, before any mean is subtracted; that of the series itself
    /// when no difference was taken.
    double mean() const noexcept { return outcome_.mean; }
    /// Variance of the processed series with divisor n; 0 for less than two values.
    double variance() const noexcept { return outcome_.variance; }
    std::uint64_t period() const noexcept { return period_; }
    std::uint64_t numLags() const noexcept { return numLags_; }
    std::uint64_t numSeasonalLags() const noexcept { return numSeasonalLags_; }
    std::uint64_t numOriginalRecords() const noexcept { return original_.size(); }
    std::uint64_t numProcessedRecords() const noexcept { return outcome_.processed.size(); }
    const std::vector<double>& originalData() const noexcept { return original_; }
    const std::vector<double>& processedData() const noexcept { return outcome_.processed; }
    /// The last listed operation subtracts a mean other than 0; without any operation: the mean of
    /// the series is 0.
    bool isMeanSubtracted() const noexcept;

  protected:
    /// The series with its operations and all results.
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<Data>;

    /// The listed operations and what they have made of the series.
    struct Outcome {
        double mean = 0.0;
        double variance = 0.0;
        std::vector<double> processed;
        std::vector<double> working;
        std::vector<LagOperation> operations;
        std::uint64_t numApplied = 0;  ///< leading operations that the processed series shows
    };

    /// The series with all of these operations carried out.
    static Outcome applied(const std::vector<double>& series, std::vector<LagOperation> operations);
    /// The outcome with a mean subtraction listed and applied, where the series has none.
    std::optional<Outcome> centred() const;

    std::uint64_t numLags_ = 0;
    std::uint64_t numSeasonalLags_ = 0;
    std::uint64_t period_ = 0;
    std::vector<double> original_;
    Outcome outcome_;
    std::vector<double> acvf_;
    std::vector<double> pacf_;
};

}  // namespace Veltrix::Engine::TS::ARIMA
