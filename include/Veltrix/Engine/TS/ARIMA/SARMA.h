#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/TS/ARIMA/ARMA.h"
#include "Veltrix/Export.h"

/// @file
/// Seasonal ARIMA models.

namespace Veltrix::Engine::TS::ARIMA {

/// ARIMA(p, d, q)×(P, D, Q) with season length s: an ARMA model of the orders P·s + p and Q·s + q
/// whose coefficients at the lags L are those of the non-seasonal parts, those of the seasonal
/// parts at L = k s, and at L = j + k s the products −φ_j Φ_k and −θ_j Θ_k.
///
/// So the AR polynomial is the product of its parts; the MA polynomial has a minus sign where the
/// product has a plus. `setMultiplicativeMA(true)` takes the product, as most textbooks and
/// programs do (Box and Jenkins 1976, 9.1); the two differ when q and Q are both above 0.
///
/// `parameters` holds φ_1 … φ_p, θ_1 … θ_q, Φ_1 … Φ_P, Θ_1 … Θ_Q. Everything else is as for `ARMA`,
/// with the expanded coefficients in the place of the plain ones; the criteria and the degrees of
/// freedom of the Ljung–Box test count p and q alone.
class VELTRIX_ENGINE_API SARMA : public ARMA {
  public:
    SARMA() = default;
    /// Throws `Exception` for an order or a period above 1000000, and for a seasonal order above 0
    /// with a period below 2.
    SARMA(std::uint64_t p, std::uint64_t q, std::uint64_t d, std::uint64_t seasonalP,
          std::uint64_t seasonalQ, std::uint64_t seasonalD, std::uint64_t period);
    /// Given coefficients φ, θ, Φ, Θ, which `fit` keeps; the period is that of the `Data` to be
    /// loaded. Throws `Exception` when one is not finite.
    SARMA(const std::vector<double>& ar, const std::vector<double>& ma,
          const std::vector<double>& sar, const std::vector<double>& sma);
    /// The same from one list with p, q, P and Q coefficients. Throws `Exception` when it has
    /// another length.
    SARMA(const std::vector<double>& coefficients, std::size_t p, std::size_t q,
          std::size_t seasonalP, std::size_t seasonalQ);
    SARMA(const SARMA&) = default;
    SARMA(SARMA&& other) noexcept;
    SARMA& operator=(const SARMA& other) { return *this = SARMA(other); }
    SARMA& operator=(SARMA&& other) noexcept;
    ~SARMA() override;

    /// Whether the MA polynomial is the product of its parts. Takes effect with the next fit.
    SARMA& setMultiplicativeMA(bool multiplicative);
    bool isMultiplicativeMA() const noexcept { return multiplicativeMA_; }

    std::uint64_t arOrder() const override { return p_; }
    std::uint64_t maOrder() const override { return q_; }
    std::uint64_t sarOrder() const override { return seasonalP_; }
    std::uint64_t smaOrder() const override { return seasonalQ_; }
    /// P·s + p and Q·s + q.
    std::uint64_t expandedArOrder() const { return seasonalP_ * data().period() + p_; }
    std::uint64_t expandedMaOrder() const { return seasonalQ_ * data().period() + q_; }
    /// The coefficients of the long model, AR before MA. Here and wherever they are needed a model
    /// with seasonal coefficients and no period throws `Exception`.
    Vector expandedParameters() const;

    SARMA& loadData(std::vector<double> series) override;
    /// With the period of the data. Throws `Exception` when a model with seasonal coefficients is
    /// handed a period below 2, and as `ARMA::loadData`.
    SARMA& loadData(Data data) override;
    SARMA& preprocess() override;
    SARMA& fit() override;
    /// Φ and Θ from an ARMA(P, Q) fit of every s-th processed value, φ and θ from an ARMA(p, q) fit
    /// of what that model leaves in all phases of the season; coefficients 0 where a subseries is
    /// too short.
    SARMA& computeInitialEstimates() override;

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

    void expand(const Vector& parameters, std::vector<double>& ar,
                std::vector<double>& ma) const override;
    bool isMovingAverageFactored() const override;
    std::uint64_t longestLag() const override;
    Vector preliminary(InitialEstimates method) const override;

  private:
    friend struct Stored<SARMA>;

    std::uint64_t p_ = 0;
    std::uint64_t q_ = 0;
    std::uint64_t seasonalP_ = 0;
    std::uint64_t seasonalQ_ = 0;
    bool multiplicativeMA_ = false;
};

}  // namespace Veltrix::Engine::TS::ARIMA
