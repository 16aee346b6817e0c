#include "Veltrix/Engine/NeuralNetwork/Activation.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "support/VectorMath.h"

namespace Veltrix::Engine::NeuralNetwork::Activation {
namespace {

std::int64_t sizeOf(std::span<const double> values) {
    return static_cast<std::int64_t>(values.size());
}

/// derivative ← derivative · slope(activation), value by value.
template <class Slope>
void multiply(std::span<const double> activation, std::span<double> derivative, Slope slope) {
    const double* const a = activation.data();
    double* const d = derivative.data();
    for (std::size_t i = 0; i < derivative.size(); ++i) d[i] *= slope(a[i]);
}

/// operation(first value) for every record.
template <class Operation>
void forEachRecord(int units, std::size_t size, Operation operation) {
    const auto step = static_cast<std::size_t>(units);
    for (std::size_t first = 0; first + step <= size; first += step) operation(first);
}

}  // namespace

Generic::~Generic() = default;

void Sigmoid::activate(int /*units*/, std::span<const double> linear,
                       std::span<double> activation) const {
    Support::sigmoid(linear.data(), activation.data(), sizeOf(linear));
}

void Sigmoid::backpropagate(int /*units*/, std::span<const double> activation,
                            std::span<double> derivative) const {
    multiply(activation, derivative, [](double a) { return a * (1.0 - a); });
}

void Tanh::activate(int /*units*/, std::span<const double> linear,
                    std::span<double> activation) const {
    Support::tanh(linear.data(), activation.data(), sizeOf(linear));
}

void Tanh::backpropagate(int /*units*/, std::span<const double> activation,
                         std::span<double> derivative) const {
    multiply(activation, derivative, [](double a) { return (1.0 - a) * (1.0 + a); });
}

void Softmax::activate(int units, std::span<const double> linear,
                       std::span<double> activation) const {
    forEachRecord(units, linear.size(), [&](std::size_t first) {
        const auto z = linear.subspan(first, static_cast<std::size_t>(units));
        const double largest = *std::ranges::max_element(z);
        for (std::size_t k = 0; k < z.size(); ++k) activation[first + k] = z[k] - largest;
    });
    Support::exp(activation.data(), activation.data(), sizeOf(activation));
    forEachRecord(units, linear.size(), [&](std::size_t first) {
        const auto a = activation.subspan(first, static_cast<std::size_t>(units));
        double total = 0.0;
        for (const double value : a) total += value;
        for (double& value : a) value /= total;
    });
}

void Softmax::backpropagate(int units, std::span<const double> activation,
                            std::span<double> derivative) const {
    forEachRecord(units, derivative.size(), [&](std::size_t first) {
        const double* const a = activation.data() + first;
        double* const d = derivative.data() + first;
        double mean = 0.0;
        for (int k = 0; k < units; ++k) mean += a[k] * d[k];
        for (int k = 0; k < units; ++k) d[k] = a[k] * (d[k] - mean);
    });
}

void Relu::activate(int /*units*/, std::span<const double> linear,
                    std::span<double> activation) const {
    // NaN stays NaN.
    std::ranges::transform(linear, activation.begin(), [](double z) { return z < 0.0 ? 0.0 : z; });
}

void Relu::backpropagate(int /*units*/, std::span<const double> activation,
                         std::span<double> derivative) const {
    // Chosen, not multiplied: a derivative that overflowed times 0 would be NaN.
    std::ranges::transform(derivative, activation, derivative.begin(),
                           [](double d, double a) { return a > 0.0 ? d : 0.0; });
}

void Identity::activate(int /*units*/, std::span<const double> linear,
                        std::span<double> activation) const {
    if (linear.data() != activation.data()) std::ranges::copy(linear, activation.begin());
}

void Identity::backpropagate(int /*units*/, std::span<const double> /*activation*/,
                             std::span<double> /*derivative*/) const {}

std::shared_ptr<const Generic> make(ActivationType type) {
    switch (type) {
        case ActivationType::sigmoid:
            return std::make_shared<Sigmoid>();
        case ActivationType::tanh:
            return std::make_shared<Tanh>();
        case ActivationType::softmax:
            return std::make_shared<Softmax>();
        case ActivationType::relu:
            return std::make_shared<Relu>();
        case ActivationType::identity:
            break;
    }
    return std::make_shared<Identity>();
}

}  // namespace Veltrix::Engine::NeuralNetwork::Activation
