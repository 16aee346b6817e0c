#include <algorithm>
#include <cstdint>
#include <functional>
#include <span>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/NeuralNetwork/Model.h"
#include "data/containers/Lines.h"
#include "engine/core/Checks.h"
#include "engine/supervised/NeuralNetwork/MiniBatches.h"
#include "engine/supervised/NeuralNetwork/Trainer.h"
#include "engine/supervised/NeuralNetwork/Values.h"
#include "support/LinearAlgebra.h"

namespace Veltrix::Engine::NeuralNetwork {
namespace {

using Support::Transpose;

/// Values of some records, from a matrix with a column for each.
template <class Of>
auto part(Of& values, std::int64_t first, std::int64_t count) {
    const auto rows = static_cast<std::size_t>(values.getNumRows());
    return valuesOf(values).subspan(static_cast<std::size_t>(first) * rows,
                                    static_cast<std::size_t>(count) * rows);
}

/// operation(first record, records) for blocks of some milliseconds of work, each of which is told
/// of as a part of what the caller has under way.
template <class Operation>
void forBlocks(std::int64_t records, std::int64_t costPerRecord, Operation operation) {
    constexpr std::int64_t kWork = std::int64_t{1} << 25;
    constexpr std::int64_t kLeast = 64;
    const std::int64_t step = std::max(kWork / costPerRecord, kLeast);
    if (records <= step) return operation(0, records);
    ProgressPhase phase("Computing a layer", static_cast<std::uint64_t>(records));
    for (std::int64_t first = 0; first < records; first += step) {
        const std::int64_t count = std::min(step, records - first);
        operation(first, count);
        phase.advance(static_cast<std::uint64_t>(count));
    }
}

/// W·previous + b for some records.
void linearPart(const Layer& layer, const double* previous, std::int64_t records, double* result) {
    const std::int64_t units = layer.weights.getNumRows();
    const std::int64_t inputs = layer.weights.getNumCols();
    for (std::int64_t k = 0; k < records; ++k) {
        std::copy_n(layer.biases.data(), units, result + k * units);
    }
    Support::gemm(Transpose::No, Transpose::No, units, records, inputs, 1.0, layer.weights.data(),
                  units, previous, inputs, 1.0, result, units);
}

/// Adds derivatives of the summed cost by the weights and biases of a layer.
void addGradient(const Matrix& delta, std::int64_t first, std::int64_t records,
                 const double* previous, double scale, LayerGradient& gradient) {
    const std::int64_t units = delta.getNumRows();
    const std::int64_t inputs = gradient.weights.getNumCols();
    const double* const own = delta.data() + first * units;
    Support::gemm(Transpose::No, Transpose::Yes, units, inputs, records, scale, own, units,
                  previous + first * inputs, inputs, first == 0 ? 0.0 : 1.0,
                  gradient.weights.data(), units);
    double* const biases = gradient.biases.data();
    if (first == 0) std::fill_n(biases, units, 0.0);
    for (std::int64_t k = 0; k < records; ++k) {
        for (std::int64_t i = 0; i < units; ++i) biases[i] += scale * own[k * units + i];
    }
}

/// velocity ← m·velocity + (1 − m)·gradient, value ← keep·value − rate·velocity.
void moveBy(std::span<double> values, std::span<double> velocities,
            std::span<const double> gradients, double momentum, double rate, double keep) {
    double* const value = values.data();
    double* const velocity = velocities.data();
    const double* const gradient = gradients.data();
    for (std::size_t i = 0; i < values.size(); ++i) {
        velocity[i] = momentum * velocity[i] + (1.0 - momentum) * gradient[i];
        value[i] = keep * value[i] - rate * velocity[i];
    }
}

}  // namespace

void Model::linear(const Matrix& previous, int layer, Matrix& result) const {
    const Layer& own = state_.layers[static_cast<std::size_t>(layer - 1)];
    reshape(result, own.weights.getNumRows(), previous.getNumCols());
    forBlocks(previous.getNumCols(), sizeOf(own.weights), [&](auto first, auto count) {
        linearPart(own, part(previous, first, count).data(), count,
                   part(result, first, count).data());
    });
}

void Model::activate(const Matrix& linear, int layer, Matrix& result) const {
    constexpr std::int64_t kCostOfValue = 16;  // in multiplications
    const auto& activation = *activations_[static_cast<std::size_t>(layer - 1)];
    const int units = linear.getNumRows();
    reshape(result, units, linear.getNumCols());
    forBlocks(linear.getNumCols(), kCostOfValue * units, [&](auto first, auto count) {
        activation.activate(units, part(linear, first, count), part(result, first, count));
    });
}

void Model::forward(const Matrix& x, ForwardCache& cache) const {
    const Matrix* previous = &x;
    for (int layer = 1; layer <= params_.architecture.getOutputLayer(); ++layer) {
        LayerForward& own = cache[layer];
        linear(*previous, layer, own.linear);
        activate(own.linear, layer, own.activation);
        previous = &own.activation;
    }
}

void Model::delta(const Matrix& output, const Matrix& y, Matrix& result) const {
    const auto& activation = *activations_.back();
    const ActivationType type = activation.getType();
    reshape(result, output.getNumRows(), output.getNumCols());
    const auto a = valuesOf(output);
    const auto responses = valuesOf(y);
    const auto derivatives = valuesOf(result);
    constexpr int kCrossEntropy = 2;
    constexpr int kLogLoss = 3;
    if (type == ActivationType::sigmoid && cost_->getCode() == kCrossEntropy) {
        std::ranges::transform(a, responses, derivatives.begin(), std::minus<>());
    } else if (type == ActivationType::softmax && cost_->getCode() == kLogLoss) {
        const auto units = static_cast<std::size_t>(output.getNumRows());
        for (std::size_t first = 0; first < a.size(); first += units) {
            double total = 0.0;
            for (std::size_t k = first; k < first + units; ++k) total += responses[k];
            for (std::size_t k = first; k < first + units; ++k) {
                derivatives[k] = a[k] * total - responses[k];
            }
        }
    } else {
        cost_->differentiate(a, responses, derivatives);
        activation.backpropagate(output.getNumRows(), a, derivatives);
    }
}

void Model::backward(const Matrix& x, const Matrix& y, const ForwardCache& cache,
                     NetworkCache& gradients) const {
    const int outputLayer = params_.architecture.getOutputLayer();
    const double scale = 1.0 / x.getNumCols();
    delta(cache.at(outputLayer).activation, y, gradients[outputLayer].delta);
    for (int layer = outputLayer; layer >= 1; --layer) {
        const Matrix& weights = state_.layers[static_cast<std::size_t>(layer - 1)].weights;
        const Matrix& previous = layer == 1 ? x : cache.at(layer - 1).activation;
        const std::int64_t units = weights.getNumRows();
        const std::int64_t inputs = weights.getNumCols();
        LayerGradient& own = gradients[layer];
        reshape(own.weights, weights.getNumRows(), weights.getNumCols());
        if (own.biases.size() != static_cast<std::uint64_t>(units)) {
            own.biases = Vector(static_cast<std::uint64_t>(units));
        }
        Matrix* const before = layer == 1 ? nullptr : &gradients[layer - 1].delta;
        if (before != nullptr) reshape(*before, weights.getNumCols(), x.getNumCols());
        forBlocks(x.getNumCols(), 2 * sizeOf(weights), [&](auto first, auto count) {
            addGradient(own.delta, first, count, previous.data(), scale, own);
            if (before == nullptr) return;
            const auto derivatives = part(*before, first, count);
            Support::gemm(Transpose::Yes, Transpose::No, inputs, count, units, 1.0, weights.data(),
                          units, part(own.delta, first, count).data(), units, 0.0,
                          derivatives.data(), inputs);
            activations_[static_cast<std::size_t>(layer - 2)]->backpropagate(
                weights.getNumCols(), part(previous, first, count), derivatives);
        });
    }
}

void Model::move(const NetworkCache& gradients) {
    const Params::Training& training = params_.training;
    const double keep = 1.0 - training.learningRate * training.weightDecay;
    for (const auto& [layer, gradient] : gradients) {
        Layer& own = state_.layers[static_cast<std::size_t>(layer - 1)];
        moveBy(valuesOf(own.weights), valuesOf(own.weightVelocity), valuesOf(gradient.weights),
               training.momentum, training.learningRate, keep);
        moveBy(valuesOf(own.biases), valuesOf(own.biasVelocity), valuesOf(gradient.biases),
               training.momentum, training.learningRate, 1.0);
    }
}

}  // namespace Veltrix::Engine::NeuralNetwork
