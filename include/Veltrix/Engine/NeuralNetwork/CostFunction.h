#pragma once

#include <memory>
#include <span>

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Export.h"

/// @file
/// What the outputs a of a network cost where the responses are y. They hold no state; networks
/// share them.
///
/// A logarithm is taken of max(v, 4.9e-324), the least positive double, so that an output of 0 or 1
/// costs no more than 744.44 a value and never gives NaN; NaN stays NaN.

namespace Veltrix::Engine::NeuralNetwork::CostFunction {

class VELTRIX_ENGINE_API Generic {
  public:
    Generic() = default;
    Generic(const Generic&) = delete;
    Generic& operator=(const Generic&) = delete;
    virtual ~Generic();

    virtual int getCode() const noexcept = 0;
    /// Summed over all values; the two are of equal length.
    virtual double total(std::span<const double> output,
                         std::span<const double> response) const = 0;
    /// Derivatives of the total by the outputs; `result` may be the place of an argument. Where the
    /// logarithm is that of the least double, the term is constant and its derivative 0.
    virtual void differentiate(std::span<const double> output, std::span<const double> response,
                               std::span<double> result) const = 0;

    /// Mean over the N records, the columns of the matrices: total/N; NaN without records. Throws
    /// `Exception` for different shapes.
    double cost(const Matrix& output, const Matrix& response) const;
};

/// ½(a − y)².
class VELTRIX_ENGINE_API Quadratic final : public Generic {
  public:
    int getCode() const noexcept override { return 1; }
    double total(std::span<const double> output, std::span<const double> response) const override;
    void differentiate(std::span<const double> output, std::span<const double> response,
                       std::span<double> result) const override;
};

/// −y ln a − (1 − y) ln(1 − a), every output being a probability of its own.
class VELTRIX_ENGINE_API CrossEntropy final : public Generic {
  public:
    int getCode() const noexcept override { return 2; }
    double total(std::span<const double> output, std::span<const double> response) const override;
    void differentiate(std::span<const double> output, std::span<const double> response,
                       std::span<double> result) const override;
};

/// −y ln a, the outputs being the probabilities of classes that exclude each other.
class VELTRIX_ENGINE_API LogLoss final : public Generic {
  public:
    int getCode() const noexcept override { return 3; }
    double total(std::span<const double> output, std::span<const double> response) const override;
    void differentiate(std::span<const double> output, std::span<const double> response,
                       std::span<double> result) const override;
};

/// The function of that code; `Quadratic` for any but 1, 2 and 3.
VELTRIX_ENGINE_API std::shared_ptr<const Generic> make(int code);

}  // namespace Veltrix::Engine::NeuralNetwork::CostFunction
