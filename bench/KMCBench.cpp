// k-means: one update of the centroids, random starts and prediction against records, columns and
// clusters; normal noise, which leaves the records as near to several centroids as can be.
#include <benchmark/benchmark.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/KMC.h"

namespace {

using Veltrix::Matrix;
using Veltrix::Engine::KMC::Model;

/// Records and columns are the first two arguments.
Matrix noise(const benchmark::State& state,
             Veltrix::MatrixOrderType order = Veltrix::MatrixOrderType::columnMajor) {
    return Veltrix::Util::gaussianMatrix(static_cast<int>(state.range(0)),
                                         static_cast<int>(state.range(1)), order, 0.0, 1.0, 1);
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Args({1000, 5, 4})->Args({100000, 20, 20})->Args({100000, 20, 200});
    bench->Args({20000, 200, 20})->Unit(benchmark::kMillisecond);
}

void iterations(benchmark::State& state, Veltrix::MatrixOrderType order) {
    const Matrix x = noise(state, order);
    const auto clusters = static_cast<int>(state.range(2));
    Model model;
    model.setInitialCentroids(x(Veltrix::Util::range(0, clusters), Veltrix::Util::all));
    for (auto _ : state) {
        benchmark::DoNotOptimize(model.setMaxIterations(10).fit(x).getNumIterations());
    }
}
void tenIterationsByColumns(benchmark::State& state) {
    iterations(state, Veltrix::MatrixOrderType::columnMajor);
}
void tenIterationsByRows(benchmark::State& state) {
    iterations(state, Veltrix::MatrixOrderType::rowMajor);
}
BENCHMARK(tenIterationsByColumns)->Apply(sizes);
BENCHMARK(tenIterationsByRows)->Apply(sizes);

void tenRandomStarts(benchmark::State& state) {
    const Matrix x = noise(state);
    for (auto _ : state) {
        Model model({10, static_cast<int>(state.range(2)), 0, 12345});
        benchmark::DoNotOptimize(model.fit(x).getRandomStartSummary().bestStart);
    }
}
BENCHMARK(tenRandomStarts)->Apply(sizes);

void predict(benchmark::State& state) {
    const Matrix x = noise(state);
    Model model({1, static_cast<int>(state.range(2)), 0, 12345});
    model.fit(x);
    for (auto _ : state) benchmark::DoNotOptimize(model.predict(x).data());
}
BENCHMARK(predict)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
