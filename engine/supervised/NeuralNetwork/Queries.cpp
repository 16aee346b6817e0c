#include <algorithm>
#include <cstdint>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/NeuralNetwork/Model.h"
#include "data/containers/Lines.h"
#include "engine/core/Checks.h"
#include "engine/supervised/NeuralNetwork/MiniBatches.h"
#include "engine/supervised/NeuralNetwork/Trainer.h"
#include "engine/supervised/NeuralNetwork/Values.h"

// The steps of a training for callers from outside, with their checks.

namespace Veltrix::Engine::NeuralNetwork {
namespace {

/// The shape of a layer's values for as many records as the responses.
void checkLayer(const char* operation, const char* what, const Matrix& found, const Layer& layer,
                const Matrix& y) {
    Checks::shape(operation, what, found, layer.weights.getNumRows(), y.getNumCols());
}

}  // namespace

Matrix Model::feedforward(const Matrix& x) const {
    checkInputs("Neural network outputs", x);
    Matrix result(numOutputs(), x.getNumCols());
    const Matrix noResponses(0, x.getNumCols());
    const MiniBatches blocks(x, noResponses, kLeastBlock);
    Batch batch;
    ForwardCache cache;
    ProgressPhase phase("Scoring records", static_cast<std::uint64_t>(blocks.count()));
    double* target = result.data();
    for (int k = 0; k < blocks.count(); ++k) {
        blocks.load(k, batch);
        forward(batch.features, cache);
        const auto outputs = valuesOf(cache.at(params_.architecture.getOutputLayer()).activation);
        target = std::copy(outputs.begin(), outputs.end(), target);
        phase.advance();
    }
    return result;
}

ForwardCache Model::feedforwardCache(const Matrix& x) const {
    checkInputs("Neural network forward pass", x);
    ForwardCache cache;
    forward(byColumns(x), cache);
    return cache;
}

std::vector<Batch> Model::createMiniBatches(const Matrix& x, const Matrix& y, unsigned seed) const {
    const char* const operation = "Neural network batches";
    Checks::atLeast(operation, "records of a batch", params_.training.batchSize, 1);
    Checks::onePerRecord(operation, "responses", static_cast<std::uint64_t>(y.getNumCols()),
                         x.getNumCols());
    MiniBatches runs(x, y, params_.training.batchSize);
    if (shuffles(params_.training, runs)) runs.shuffle(seed);
    std::vector<Batch> batches(static_cast<std::size_t>(runs.count()));
    for (int k = 0; k < runs.count(); ++k) runs.load(k, batches[static_cast<std::size_t>(k)]);
    return batches;
}

Matrix Model::linearForward(const Matrix& previous, int layer) const {
    const char* const operation = "Neural network layer";
    const Matrix& weights = layerAt(operation, layer).weights;
    Checks::shape(operation, "values of the layer before", previous, weights.getNumCols(),
                  previous.getNumCols());
    Matrix result;
    linear(byColumns(previous), layer, result);
    return result;
}

Matrix Model::linearActivationForward(const Matrix& previous, int layer) const {
    Matrix result = linearForward(previous, layer);
    activate(result, layer, result);
    return result;
}

Matrix Model::costFunctionDelta(const Matrix& output, const Matrix& y) const {
    const char* const operation = "Neural network delta";
    const Layer& layer = layerAt(operation, params_.architecture.getOutputLayer());
    checkLayer(operation, "outputs", output, layer, y);
    checkLayer(operation, "responses", y, layer, y);
    Matrix result;
    delta(byColumns(output), byColumns(y), result);
    return result;
}

NetworkCache Model::backpropagate(const Matrix& x, const Matrix& y,
                                  const ForwardCache& forward) const {
    const char* const operation = "Neural network gradients";
    checkInputs(operation, x);
    Checks::onePerRecord(operation, "responses", static_cast<std::uint64_t>(y.getNumCols()),
                         x.getNumCols());
    for (int l = 1; l <= params_.architecture.getOutputLayer(); ++l) {
        const auto found = forward.find(l);
        checkLayer(operation, "values of a layer",
                   found == forward.end() ? Matrix() : found->second.activation,
                   layerAt(operation, l), y);
    }
    checkLayer(operation, "responses", y, state_.layers.back(), y);
    NetworkCache gradients;
    backward(byColumns(x), byColumns(y), forward, gradients);
    return gradients;
}

Model& Model::update(const NetworkCache& gradients) {
    const char* const operation = "Neural network update";
    for (const auto& [l, gradient] : gradients) {
        const Layer& layer = layerAt(operation, l);
        Checks::shape(operation, "gradients", gradient.weights, layer.weights.getNumRows(),
                      layer.weights.getNumCols());
        Veltrix::Checks::counts(operation, gradient.biases.size(), "gradients of biases",
                                layer.biases.size(), "units");
    }
    move(gradients);
    return *this;
}

}  // namespace Veltrix::Engine::NeuralNetwork
