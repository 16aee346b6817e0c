#pragma once

#include <cstdint>
#include <span>

#include "Veltrix/Data/Vector.h"

namespace Veltrix::Engine::LinearModel {

/// Throws `Exception` unless there is one response for each record, each 0 or 1.
void checkResponses(const Vector& y, int numRecords);

/// π = 1/(1 + e^−η) of every η, and 1 − π, both without cancellation.
void successProbabilities(std::span<const double> products, double* success, double* failure);

/// What records say of their linear predictors η = dᵢᵀβ: a sum over blocks of records. Formulas are
/// in u = e^−|η|, which neither overflows nor cancels however sure the model is.
class LogisticLikelihood {
  public:
    /// Both must outlive it.
    LogisticLikelihood(const Vector& y, const Vector& weights) : y_(y), weights_(weights) {}

    /// Takes in the records from `first` on.
    void add(std::uint64_t first, std::span<const double> products);
    /// The same; sets vᵢ = wᵢ πᵢ (1 − πᵢ) and rᵢ = wᵢ (yᵢ − πᵢ).
    void add(std::uint64_t first, std::span<const double> products, std::span<double> v,
             std::span<double> r);

    /// −2 Σ wᵢ (yᵢ ln πᵢ + (1 − yᵢ) ln(1 − πᵢ))
    double deviance() const { return deviance_; }
    /// No record has πᵢ (1 − πᵢ) > 0.0001.
    bool isDecided() const { return decided_; }

  private:
    const Vector& y_;
    const Vector& weights_;
    Vector odds_;  // u
    Vector logs_;  // ln(1 + u)
    double deviance_ = 0.0;
    bool decided_ = true;
};

}  // namespace Veltrix::Engine::LinearModel
