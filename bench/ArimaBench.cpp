// ARIMA models: likelihoods and fits against length and orders; one BLAS thread unless the
// environment says otherwise.
#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/TS/ARIMA/SARMA.h"

namespace {

using Veltrix::Vector;
using Veltrix::Engine::TS::ARIMA::ARMA;
using Veltrix::Engine::TS::ARIMA::SARMA;

/// Sums of an ARMA(2, 2) process, so that one difference makes it stationary.
std::vector<double> walk(std::int64_t n) {
    const Vector noise =
        Veltrix::Util::gaussianMatrix(static_cast<int>(n), 1, Veltrix::MatrixOrderType::columnMajor,
                                      0.0, 1.0, 1)
            .getAsDoubleVector();
    std::vector<double> step(noise.begin(), noise.end());
    std::vector<double> series = step;
    for (std::size_t t = 2; t < step.size(); ++t) {
        step[t] += 0.5 * step[t - 1] - 0.3 * step[t - 2] + 0.4 * noise[t - 1] + 0.2 * noise[t - 2];
        series[t] = series[t - 1] + step[t];
    }
    return series;
}

void likelihood(benchmark::State& state) {
    ARMA model(2, 2, 1);
    model.loadData(walk(state.range(0))).preprocess();
    const Vector at{0.5, -0.3, 0.4, 0.2};
    for (auto _ : state) benchmark::DoNotOptimize(model.function(at));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(likelihood)->Arg(100)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);

/// A seasonal unit root: the prediction variances never settle.
void seasonalLikelihood(benchmark::State& state) {
    SARMA model(1, 1, 1, 0, 1, 1, static_cast<std::uint64_t>(state.range(1)));
    model.loadData(walk(state.range(0))).preprocess();
    const Vector at{0.5, 0.3, -1.0};
    for (auto _ : state) benchmark::DoNotOptimize(model.function(at));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(seasonalLikelihood)
    ->Args({600, 12})
    ->Args({6000, 12})
    ->Args({6000, 52})
    ->Args({6000, 365})
    ->Unit(benchmark::kMicrosecond);

void fit(benchmark::State& state) {
    const std::vector<double> series = walk(state.range(0));
    for (auto _ : state) {
        ARMA model(2, 2, 1);
        model.loadData(series).preprocess().fit().computeModelDetails();
        benchmark::DoNotOptimize(model.lnL());
    }
}
BENCHMARK(fit)->Arg(100)->Arg(2000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void seasonalFit(benchmark::State& state) {
    const std::vector<double> series = walk(state.range(0));
    for (auto _ : state) {
        SARMA model(1, 1, 1, 0, 1, 1, 12);
        model.loadData(series).preprocess().fit().computeModelDetails();
        benchmark::DoNotOptimize(model.lnL());
    }
}
BENCHMARK(seasonalFit)->Arg(144)->Arg(600)->Arg(5000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
