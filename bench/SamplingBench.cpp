// Sampling: cost against records and sample size.
#include <benchmark/benchmark.h>

#include "Veltrix/Engine/Sampling.h"

namespace {

using namespace Veltrix;
using namespace Veltrix::Engine::Sampling;

void simpleRandomSample(benchmark::State& state) {
    ScalableSRS sampler(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    for (auto _ : state) benchmark::DoNotOptimize(sampler.sample());
    state.counters["waiting"] = static_cast<double>(sampler.getWaitList().size());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(simpleRandomSample)
    ->Args({20, 5})
    ->Args({10'000, 100})
    ->Args({1'000'000, 10'000})
    ->Args({10'000'000, 100'000})
    ->Args({10'000'000, 5'000'000})
    ->Unit(benchmark::kMicrosecond);

void partition(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Partitioning(static_cast<int>(state.range(0)), 0.6).sample());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(partition)->Arg(1'000)->Arg(100'000)->Arg(10'000'000)->Unit(benchmark::kMicrosecond);

/// Codes 0 to `strata` − 1 in turn.
IntVector codesOf(int records, int strata) {
    IntVector codes;
    for (int i = 0; i < records; ++i) codes.push_back(i % strata);
    return codes;
}

StringVector levelsOf(int strata) {
    StringVector levels;
    for (int h = 0; h < strata; ++h) levels.push_back(L"stratum " + WString(std::to_wstring(h)));
    return levels;
}

void stratifiedSample(benchmark::State& state) {
    const auto strata = static_cast<int>(state.range(1));
    DataFrame data;
    data.append(L"stratum", codesOf(static_cast<int>(state.range(0)), strata), levelsOf(strata));
    StratifiedSRS sampler;
    sampler.setData(data).setSampleSize(static_cast<int>(state.range(0) / 100));
    for (auto _ : state) benchmark::DoNotOptimize(sampler.sample());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(stratifiedSample)
    ->Args({1'000, 4})
    ->Args({100'000, 10})
    ->Args({10'000'000, 10})
    ->Args({1'000'000, 10'000})
    ->Unit(benchmark::kMicrosecond);

void oversample(benchmark::State& state) {
    StringVector labels;
    for (int i = 0; i < state.range(0); ++i) labels.push_back(i % 10 == 0 ? L"yes" : L"no");
    OversamplingPartitioning partitioning;
    for (auto _ : state) partitioning.setSeed(1).partition(labels, L"yes");
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(oversample)->Arg(1'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
