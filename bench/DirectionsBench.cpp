// Principal components and canonical variates: cost against records and columns.
#include <benchmark/benchmark.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/CVA.h"
#include "Veltrix/Engine/PCA.h"

namespace {

using Veltrix::IntVector;
using Veltrix::Matrix;

/// Records and columns from the ranges.
Matrix normals(const benchmark::State& state) {
    return Veltrix::Util::gaussianMatrix(static_cast<int>(state.range(0)),
                                         static_cast<int>(state.range(1)),
                                         Veltrix::MatrixOrderType::columnMajor, 0.0, 1.0, 1);
}

void sizes(benchmark::internal::Benchmark* bench) {
    for (const int n : {10000, 100000, 1000000, 2000000}) bench->Args({n, 50});
    for (const int p : {5, 200, 1000}) bench->Args({20000, p});
    bench->Unit(benchmark::kMillisecond);
}

template <int method>
void components(benchmark::State& state) {
    const Matrix x = normals(state);
    for (auto _ : state) {
        Veltrix::Engine::PCA::Model model({method});
        benchmark::DoNotOptimize(model.fit(x).transform(x, 2));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(components<1>)->Apply(sizes);
BENCHMARK(components<2>)->Apply(sizes);

void variates(benchmark::State& state) {
    const Matrix x = normals(state);
    IntVector classes;
    for (int i = 0; i < x.getNumRows(); ++i) classes.push_back(i % 4);
    for (auto _ : state) {
        Veltrix::Engine::CVA::Model model;
        benchmark::DoNotOptimize(model.fit(x, classes).transform(x));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(variates)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
