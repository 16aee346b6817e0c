// Series data: autocovariances and partial autocorrelations against length and lags, and
// differencing with its way back; one BLAS thread unless the environment says otherwise.
#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/TS/ARIMA/Data.h"

namespace {

using Veltrix::Engine::TS::ARIMA::Data;

std::vector<double> noise(std::int64_t n) {
    const auto values =
        Veltrix::Util::gaussianMatrix(static_cast<int>(n), 1, Veltrix::MatrixOrderType::columnMajor,
                                      10.0, 1.0, 1)
            .getAsDoubleVector();
    return {values.begin(), values.end()};
}

/// From the raw series: mean, centring and the lags 0 to L, as a function `acf(x, L)` does.
void autocovariances(benchmark::State& state) {
    const std::vector<double> series = noise(state.range(0));
    const auto lags = static_cast<std::uint64_t>(state.range(1));
    for (auto _ : state) {
        Data data;
        data.load(series).computeACVF(0, lags + 1);
        benchmark::DoNotOptimize(data.acvf().data());
    }
}
BENCHMARK(autocovariances)
    ->Args({1000, 40})
    ->Args({100000, 40})
    ->Args({1000000, 40})
    ->Args({1000000, 400})
    ->Unit(benchmark::kMillisecond);

void partialAutocorrelations(benchmark::State& state) {
    Data data;
    data.load(noise(state.range(0))).preprocess();
    for (auto _ : state) {
        data.computePACF(0, static_cast<std::uint64_t>(state.range(1)) + 1);
        benchmark::DoNotOptimize(data.pacf().data());
    }
}
BENCHMARK(partialAutocorrelations)
    ->Args({1000, 40})
    ->Args({1000000, 40})
    ->Args({10000, 5000})
    ->Unit(benchmark::kMillisecond);

void thereAndBack(benchmark::State& state) {
    const std::vector<double> series = noise(state.range(0));
    for (auto _ : state) {
        Data data(1, 1, 12);
        data.load(series).preprocess();
        benchmark::DoNotOptimize(data.postprocess(data.processedData()).data());
    }
}
BENCHMARK(thereAndBack)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
