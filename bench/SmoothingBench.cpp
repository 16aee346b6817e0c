// Smoothers against the length of the series: one smoothing, the random search and the quasi-Newton
// search.
#include <cmath>
#include <cstdint>

#include <benchmark/benchmark.h>

#include "Veltrix/Engine/TS/Smoothing.h"

namespace {

using namespace Veltrix::Engine::TS::Smoothing;

/// A line with a season of twelve and something that repeats less simply.
Veltrix::Vector series(std::int64_t n) {
    Veltrix::Vector values;
    for (std::int64_t t = 0; t < n; ++t) {
        const auto x = static_cast<double>(t);
        values.push_back(100.0 + 0.01 * x + 10.0 * std::sin(x * 0.5236) + std::cos(0.37 * x * x));
    }
    return values;
}

template <class Form>
Form make(std::int64_t n) {
    return Form(series(n), 0.3, 0.1, 0.2, 12);
}
template <>
Exponential make(std::int64_t n) {
    return {series(n), 0.3, 2000};
}

template <class Form>
void run(benchmark::State& state) {
    auto smoother = make<Form>(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(smoother.run().error());
}
template <class Form>
void randomSearch(benchmark::State& state) {
    auto smoother = make<Form>(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(smoother.runAuto().error());
}
template <class Form>
void optimisation(benchmark::State& state) {
    auto smoother = make<Form>(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(smoother.runOptimised().error());
}

void sizes(benchmark::internal::Benchmark* each) {
    each->Arg(144)->Arg(20000)->Arg(1000000)->Unit(benchmark::kMillisecond);
}
BENCHMARK(run<Exponential>)->Apply(sizes);
BENCHMARK(run<AddHoltWinters>)->Apply(sizes);
BENCHMARK(run<MulHoltWinters>)->Apply(sizes);
BENCHMARK(randomSearch<Exponential>)->Arg(144)->Arg(20000)->Unit(benchmark::kMillisecond);
BENCHMARK(randomSearch<AddHoltWinters>)->Arg(144)->Arg(20000)->Unit(benchmark::kMillisecond);
BENCHMARK(randomSearch<MulHoltWinters>)->Arg(144)->Arg(20000)->Unit(benchmark::kMillisecond);
BENCHMARK(optimisation<AddHoltWinters>)->Apply(sizes);
BENCHMARK(optimisation<MulHoltWinters>)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
