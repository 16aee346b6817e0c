#pragma once

#include <memory>
#include <span>

#include "Veltrix/Engine/NeuralNetwork/Params.h"
#include "Veltrix/Export.h"

/// @file
/// Activation functions of the layers of a network. They hold no state; networks share them.
///
/// Values of several records stand one record after the other, `units` numbers each, as the columns
/// of a column-major matrix do.

namespace Veltrix::Engine::NeuralNetwork::Activation {

class VELTRIX_ENGINE_API Generic {
  public:
    Generic() = default;
    Generic(const Generic&) = delete;
    Generic& operator=(const Generic&) = delete;
    virtual ~Generic();

    virtual ActivationType getType() const noexcept = 0;
    /// Activations from linear parts; both may be the same place.
    virtual void activate(int units, std::span<const double> linear,
                          std::span<double> activation) const = 0;
    /// Turns the derivatives of a cost by the activations into those by the linear parts, which all
    /// of these functions allow to compute from the activations alone.
    virtual void backpropagate(int units, std::span<const double> activation,
                               std::span<double> derivative) const = 0;
};

/// a = 1/(1 + e⁻ᶻ), da/dz = a(1 − a).
class VELTRIX_ENGINE_API Sigmoid final : public Generic {
  public:
    ActivationType getType() const noexcept override { return ActivationType::sigmoid; }
    void activate(int units, std::span<const double> linear,
                  std::span<double> activation) const override;
    void backpropagate(int units, std::span<const double> activation,
                       std::span<double> derivative) const override;
};

/// da/dz = 1 − a².
class VELTRIX_ENGINE_API Tanh final : public Generic {
  public:
    ActivationType getType() const noexcept override { return ActivationType::tanh; }
    void activate(int units, std::span<const double> linear,
                  std::span<double> activation) const override;
    void backpropagate(int units, std::span<const double> activation,
                       std::span<double> derivative) const override;
};

/// Shares e^(z − max z)/Σe^(z − max z) of a record, ∂aⱼ/∂zₖ = aⱼ([j = k] − aₖ).
class VELTRIX_ENGINE_API Softmax final : public Generic {
  public:
    ActivationType getType() const noexcept override { return ActivationType::softmax; }
    void activate(int units, std::span<const double> linear,
                  std::span<double> activation) const override;
    void backpropagate(int units, std::span<const double> activation,
                       std::span<double> derivative) const override;
};

/// da/dz = 1 for z > 0, else 0.
class VELTRIX_ENGINE_API Relu final : public Generic {
  public:
    ActivationType getType() const noexcept override { return ActivationType::relu; }
    void activate(int units, std::span<const double> linear,
                  std::span<double> activation) const override;
    void backpropagate(int units, std::span<const double> activation,
                       std::span<double> derivative) const override;
};

class VELTRIX_ENGINE_API Identity final : public Generic {
  public:
    ActivationType getType() const noexcept override { return ActivationType::identity; }
    void activate(int units, std::span<const double> linear,
                  std::span<double> activation) const override;
    void backpropagate(int units, std::span<const double> activation,
                       std::span<double> derivative) const override;
};

/// The function of that code; `Identity` for any that is not in the list.
VELTRIX_ENGINE_API std::shared_ptr<const Generic> make(ActivationType type);

}  // namespace Veltrix::Engine::NeuralNetwork::Activation
