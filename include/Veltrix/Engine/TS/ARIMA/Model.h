#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/TS/ARIMA/Data.h"
#include "Veltrix/Export.h"

/// @file
/// What all models of one series have in common, and the two plain ones that need no search.

namespace Veltrix::Engine::TS::ARIMA {

/// A model of a series x_t on the processed scale, with innovations e_t of variance σ²:
///
///     x_t = φ_1 x_{t−1} + … + φ_p x_{t−p} + e_t + θ_1 e_{t−1} + … + θ_q e_{t−q}.
///
/// Calling order: `loadData`, `preprocess`, `fit`. An operation that throws leaves the model as it
/// was; a fitted model may be read from several threads.
class VELTRIX_ENGINE_API Model : public JSON::Storable {
  public:
    ~Model() override;

    /// Takes a series; results of an earlier one are dropped. Throws `Exception` when a value is
    /// NaN or infinite, with its place.
    virtual Model& loadData(std::vector<double> series);
    /// Takes a series with its own orders of differencing and its period, which replace the
    /// model's. Throws as above.
    virtual Model& loadData(Data data);
    /// Differences the series and subtracts its mean (`Data::preprocess`); once for each series.
    /// Throws `TooFewRecords` when less than one value is left.
    virtual Model& preprocess();
    /// Estimates the coefficients from the processed series, which is taken as it is: without
    /// `preprocess` from the series itself.
    virtual Model& fit() = 0;

    const Data& data() const noexcept { return data_; }
    /// p
    virtual std::uint64_t arOrder() const { return arOrder_; }
    /// q
    virtual std::uint64_t maOrder() const { return maOrder_; }
    /// The AR coefficients followed by the MA coefficients; 0 before a fit.
    const Vector& parameters() const noexcept { return parameters_; }
    /// σ²; NaN before a fit.
    virtual double whiteNoiseVariance() const { return whiteNoiseVariance_; }

  protected:
    Model();
    /// Throws `Exception` for an order above 1000000.
    Model(std::uint64_t arOrder, std::uint64_t maOrder, Data data);
    Model(const Model&) = default;
    /// What was moved from has no orders and no series.
    Model(Model&& other) noexcept;
    Model& operator=(const Model& other);
    Model& operator=(Model&& other) noexcept;

    /// Autocovariances of the processed series about 0 for the lags 0 to `lags`, fewer when the
    /// series is not longer.
    std::vector<double> sampleAutocovariances(std::uint64_t lags) const;

    friend struct Stored<Model>;

    std::uint64_t arOrder_ = 0;
    std::uint64_t maOrder_ = 0;
    Data data_;
    bool preprocessed_ = false;
    Vector parameters_;
    double whiteNoiseVariance_;
};

/// Pure autoregression by the Yule–Walker equations of the biased autocovariances (Brockwell and
/// Davis 1991, 8.1), solved by the Durbin–Levinson recursion: quick, always stationary, and the
/// start of more exact estimates. O(n p + p²).
class VELTRIX_ENGINE_API AR : public Model {
  public:
    AR() = default;
    /// Order p, no series.
    explicit AR(std::uint64_t order);
    AR(Data data, std::uint64_t order);
    AR(const AR&) = default;
    AR(AR&&) noexcept = default;
    AR& operator=(const AR& other) { return *this = AR(other); }
    AR& operator=(AR&&) noexcept = default;
    ~AR() override;

    /// Throws `TooFewRecords` unless the processed series is longer than p. A series of zeros has
    /// coefficients 0.
    AR& fit() override;
    /// e_t = x_t − Σ a_k x_{t−k} for t = p … n − 1 of the processed series; empty when there is no
    /// such t. With the coefficients 0 before a fit.
    std::vector<double> residuals() const;

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<AR>;
};

/// Pure moving average by the innovations algorithm: θ_k = θ_{q,k} and σ² = v_q of the biased
/// autocovariances (Brockwell and Davis 1991, 8.3). O(n q + q³).
class VELTRIX_ENGINE_API MA : public Model {
  public:
    MA() = default;
    /// Order q, no series.
    explicit MA(std::uint64_t order);
    MA(Data data, std::uint64_t order);
    MA(const MA&) = default;
    MA(MA&&) noexcept = default;
    MA& operator=(const MA& other) { return *this = MA(other); }
    MA& operator=(MA&&) noexcept = default;
    ~MA() override;

    /// Throws `TooFewRecords` unless the processed series is longer than q. A series of zeros has
    /// coefficients 0.
    MA& fit() override;

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<MA>;
};

}  // namespace Veltrix::Engine::TS::ARIMA
