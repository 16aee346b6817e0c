// Hierarchical clustering: linkages against records and columns, of records and of a given matrix,
// without ties and with many.
#include <cmath>

#include <benchmark/benchmark.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/HC.h"

namespace {

using Veltrix::Matrix;
using Veltrix::Engine::HC::Model;

/// Records, columns and linkage are the arguments.
Matrix noise(const benchmark::State& state) {
    return Veltrix::Util::gaussianMatrix(static_cast<int>(state.range(0)),
                                         static_cast<int>(state.range(1)),
                                         Veltrix::MatrixOrderType::columnMajor, 0.0, 1.0, 1);
}

void sizes(benchmark::internal::Benchmark* bench) {
    for (int linkage = 1; linkage <= 7; ++linkage) bench->Args({2000, 10, linkage});
    bench->Args({200, 4, 3})->Args({5000, 10, 3})->Args({10000, 10, 3})->Args({2000, 500, 3});
    bench->Unit(benchmark::kMillisecond);
}

void run(benchmark::State& state, const Matrix& x, int inputType) {
    Model model({static_cast<int>(state.range(2)), 1, inputType});
    for (auto _ : state) benchmark::DoNotOptimize(model.fit(x).getMergingHistory().data());
}

void records(benchmark::State& state) { run(state, noise(state), 1); }
BENCHMARK(records)->Apply(sizes);

void recordsWithTies(benchmark::State& state) {
    Matrix x = noise(state);
    for (int i = 0; i < x.getNumRows(); ++i) {
        for (int j = 0; j < x.getNumCols(); ++j) x(i, j) = std::round(x(i, j));
    }
    run(state, x, 1);
}
BENCHMARK(recordsWithTies)->Apply(sizes);

void givenMatrix(benchmark::State& state) {
    run(state,
        Veltrix::Util::pairwiseDistance(noise(state), false, Veltrix::DissimilarityType::euclidean),
        2);
}
BENCHMARK(givenMatrix)->Apply(sizes);

void cutIntoTen(benchmark::State& state) {
    Model model;
    model.setLinkage(static_cast<int>(state.range(2))).fit(noise(state));
    for (auto _ : state) benchmark::DoNotOptimize(model.predict(10).data());
}
BENCHMARK(cutIntoTen)->Args({5000, 3, 3});

}  // namespace

BENCHMARK_MAIN();
