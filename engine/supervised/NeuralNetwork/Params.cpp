#include "Veltrix/Engine/NeuralNetwork/Params.h"

#include <algorithm>

namespace Veltrix::Engine::NeuralNetwork {

int Params::Architecture::getNumHiddenLayers() const noexcept {
    return std::max(getNumLayers() - 2, 0);
}

ActivationType Params::Architecture::getActivationType(int layer) const {
    const auto found = activations.find(layer);
    return found == activations.end() ? ActivationType::identity : found->second;
}

ActivationType Params::Architecture::getOutputActivationType() const {
    return getActivationType(getOutputLayer());
}

Params::Architecture& Params::Architecture::setActivationType(int layer, ActivationType type) {
    activations[layer] = type;
    return *this;
}

}  // namespace Veltrix::Engine::NeuralNetwork
