#pragma once

#include <utility>
#include <vector>

/// @file
/// The coefficient groups of an ARIMA model.

namespace Veltrix::Engine::TS::ARIMA {

/// The coefficients of a (seasonal) ARMA model, or one figure for each of them, such as its
/// standard error:
///
///     x_t = constant + Σ ar_k x_{t−k} + e_t + Σ ma_k e_{t−k},
///
/// with the seasonal groups at multiples of the period. Entry k − 1 of a group belongs to lag k.
/// A group is empty when the model has no such part. Setters store their argument unchecked and
/// return the record, so that calls chain.
class ModelParts {
  public:
    double constant() const noexcept { return constant_; }
    /// Autoregressive coefficients.
    const std::vector<double>& ar() const noexcept { return ar_; }
    /// Moving-average coefficients.
    const std::vector<double>& ma() const noexcept { return ma_; }
    /// Seasonal autoregressive coefficients.
    const std::vector<double>& sar() const noexcept { return sar_; }
    /// Seasonal moving-average coefficients.
    const std::vector<double>& sma() const noexcept { return sma_; }

    ModelParts& constant(double value) {
        constant_ = value;
        return *this;
    }
    ModelParts& ar(std::vector<double> values) {
        ar_ = std::move(values);
        return *this;
    }
    ModelParts& ma(std::vector<double> values) {
        ma_ = std::move(values);
        return *this;
    }
    ModelParts& sar(std::vector<double> values) {
        sar_ = std::move(values);
        return *this;
    }
    ModelParts& sma(std::vector<double> values) {
        sma_ = std::move(values);
        return *this;
    }

  private:
    double constant_ = 0.0;
    std::vector<double> ar_;
    std::vector<double> ma_;
    std::vector<double> sar_;
    std::vector<double> sma_;
};

}  // namespace Veltrix::Engine::TS::ARIMA
