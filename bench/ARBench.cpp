// Association rules: both miners against transactions, items and their density, and the rules
// alone.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "Veltrix/Engine/AR.h"

namespace {

using namespace Veltrix::Engine::AR;

/// Transactions and items are the first two arguments, the mean number of items of a transaction
/// the third. Items are the rarer the later they come.
Data makeBaskets(const benchmark::State& state) {
    const auto numItems = static_cast<std::size_t>(state.range(1));
    std::vector<std::wstring> names;
    std::vector<double> shares;
    for (std::size_t j = 0; j < numItems; ++j) {
        names.push_back(std::to_wstring(j));
        shares.push_back(std::pow(static_cast<double>(j) + 5.0, -0.8));
    }
    Data data(std::move(names));
    std::mt19937 random(1);
    std::discrete_distribution<std::uint64_t> item(shares.begin(), shares.end());
    for (std::int64_t t = 0; t < state.range(0); ++t) {
        std::vector<std::uint64_t> items(1 +
                                         random() % (2 * static_cast<unsigned>(state.range(2))));
        for (std::uint64_t& each : items) each = item(random);
        data.append(items);
    }
    return data;
}

/// One transaction in two hundred.
std::uint64_t minSupport(const benchmark::State& state) {
    return static_cast<std::uint64_t>(state.range(0)) / 200;
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Args({1000, 20, 5})->Args({50000, 200, 10})->Args({1000000, 1000, 12});
    bench->Args({100000, 40, 20})->Unit(benchmark::kMillisecond);
}

template <class Miner>
void fit(benchmark::State& state) {
    const Data data = makeBaskets(state);
    for (auto _ : state) {
        Miner miner(minSupport(state));
        benchmark::DoNotOptimize(miner.fit(data).getNumItemsets());
    }
}
BENCHMARK(fit<TTree>)->Apply(sizes);
BENCHMARK(fit<Apriori>)->Args({1000, 20, 5})->Args({50000, 200, 10})->Unit(benchmark::kMillisecond);

void generate(benchmark::State& state) {
    const Data data = makeBaskets(state);
    TTree tree(minSupport(state));
    tree.fit(data);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tree.generate(data.getItemNames(), 0.3).getRules().size());
    }
}
BENCHMARK(generate)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
