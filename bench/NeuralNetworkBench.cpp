// Neural networks: an epoch, and outputs, against records, units and the size of a batch.
#include <cstdint>
#include <limits>

#include <benchmark/benchmark.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/NeuralNetwork.h"

namespace {

using namespace Veltrix;
namespace NN = Veltrix::Engine::NeuralNetwork;

constexpr int kInputs = 20;

NN::Regression::Model makeModel(std::int64_t hidden, std::int64_t batch) {
    NN::Params params;
    params.architecture.layerSizes = {kInputs, static_cast<int>(hidden), 1};
    params.architecture.setActivationType(1, NN::ActivationType::tanh);
    params.training = {
        .numEpochs = 1, .batchSize = static_cast<int>(batch), .learningRate = 0.1, .momentum = 0.9};
    params.stopping = {.mode = 4, .timeLimit = std::numeric_limits<double>::infinity()};
    return NN::Regression::Model(params);
}

Matrix normal(int rows, std::int64_t cols, unsigned seed) {
    return Util::gaussianMatrix(rows, static_cast<int>(cols), MatrixOrderType::columnMajor, 0.0,
                                1.0, seed);
}

void epoch(benchmark::State& state) {
    const Matrix x = normal(kInputs, state.range(0), 1);
    const Matrix y = normal(1, state.range(0), 2);
    NN::Regression::Model model = makeModel(state.range(1), state.range(2));
    for (auto _ : state) model.fit(x, y);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(epoch)
    ->Unit(benchmark::kMillisecond)
    ->Args({1'000, 25, 32})
    ->Args({100'000, 25, 32})
    ->Args({100'000, 25, 1'000})
    ->Args({100'000, 200, 32})
    ->Args({100'000, 200, 1'000});

void outputs(benchmark::State& state) {
    const Matrix x = normal(kInputs, state.range(0), 1);
    const NN::Regression::Model model = makeModel(state.range(1), 32);
    for (auto _ : state) benchmark::DoNotOptimize(model.feedforward(x));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(outputs)->Unit(benchmark::kMillisecond)->Args({100'000, 25})->Args({100'000, 200});

}  // namespace

BENCHMARK_MAIN();
