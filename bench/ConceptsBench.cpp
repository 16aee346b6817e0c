// Concepts: fits with the leading singular values and with all of them, projections; counts of
// Zipf's law, idf-weighted, as documents have them.
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/TM/ConceptExtractor.h"

namespace {

using Veltrix::Matrix;
using Veltrix::Vector;
using Veltrix::Engine::TM::ConceptExtractor;

/// Documents and terms are the first two arguments; a hundred words a document.
Matrix corpus(const benchmark::State& state) {
    constexpr int kWords = 100;
    const auto documents = static_cast<int>(state.range(0));
    const auto terms = static_cast<int>(state.range(1));
    std::vector<double> cumulative(static_cast<std::size_t>(terms));
    double total = 0.0;
    for (double& sum : cumulative)
        sum = total += 1.0 / (static_cast<double>(&sum - cumulative.data()) + 1.0);
    std::mt19937 random(1);
    Matrix counts(documents, terms);
    for (int word = 0; word < documents * kWords; ++word) {
        const double place = static_cast<double>(random()) / 4294967296.0 * total;
        const auto found = std::ranges::lower_bound(cumulative, place);
        counts(word % documents, static_cast<int>(found - cumulative.begin())) += 1.0;
    }
    for (int j = 0; j < terms; ++j) {
        const auto column = counts(Veltrix::Util::all, j).elements();
        const auto holding = std::ranges::count_if(column, [](double c) { return c > 0.0; });
        counts(Veltrix::Util::all, j) *= std::log(documents / (static_cast<double>(holding) + 1.0));
    }
    return counts;
}

void fit(benchmark::State& state, bool all) {
    const Matrix m = corpus(state);
    ConceptExtractor concepts({0.0, static_cast<int>(state.range(2)), all});
    for (auto _ : state) benchmark::DoNotOptimize(concepts.fit(m).getNumConcepts());
}
void fitLeading(benchmark::State& state) { fit(state, false); }
void fitAll(benchmark::State& state) { fit(state, true); }

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Args({200, 100, 10})->Args({2000, 500, 10})->Args({2000, 1000, 50});
    bench->Args({10000, 1000, 50})->Unit(benchmark::kMillisecond);
}
BENCHMARK(fitLeading)->Apply(sizes);
BENCHMARK(fitAll)->Apply(sizes);

void project(benchmark::State& state) {
    const Matrix m = corpus(state);
    const ConceptExtractor concepts =
        ConceptExtractor({0.0, static_cast<int>(state.range(2))}).fit(m);
    for (auto _ : state) {
        benchmark::DoNotOptimize(concepts.cdm(m, true).data());
        benchmark::DoNotOptimize(concepts.tcm(m, true).data());
    }
}
BENCHMARK(project)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
