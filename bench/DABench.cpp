// Discriminant analysis: cost of a fit and of scoring against records, columns and groups.
#include <benchmark/benchmark.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/DA.h"

namespace {

using Veltrix::IntVector;
using Veltrix::Matrix;
using Veltrix::Engine::DA::Model;

/// Records, columns and groups from the ranges.
struct Data {
    Matrix x;
    IntVector groups;

    explicit Data(const benchmark::State& state)
        : x(Veltrix::Util::gaussianMatrix(static_cast<int>(state.range(0)),
                                          static_cast<int>(state.range(1)),
                                          Veltrix::MatrixOrderType::columnMajor, 0.0, 1.0, 1)) {
        for (std::int64_t i = 0; i < state.range(0); ++i) {
            groups.push_back(static_cast<int>(i % state.range(2)));
        }
    }
};

void sizes(benchmark::internal::Benchmark* bench) {
    for (const int n : {10000, 100000, 1000000, 2000000}) bench->Args({n, 20, 3});
    for (const int p : {2, 100}) bench->Args({100000, p, 3});
    for (const int groups : {30, 300}) bench->Args({100000, 20, groups});
    bench->Unit(benchmark::kMillisecond);
}

template <bool quadratic>
void fit(benchmark::State& state) {
    const Data data(state);
    for (auto _ : state) {
        Model model;
        benchmark::DoNotOptimize(model.setQuadratic(quadratic).fit(data.x, data.groups));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(fit<false>)->Apply(sizes);
BENCHMARK(fit<true>)->Apply(sizes);

template <bool quadratic>
void score(benchmark::State& state) {
    const Data data(state);
    const Model model = Model().setQuadratic(quadratic).fit(data.x, data.groups);
    for (auto _ : state) benchmark::DoNotOptimize(model.posteriorProbability(data.x));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(score<false>)->Apply(sizes);
BENCHMARK(score<true>)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
