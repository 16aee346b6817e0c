// Logistic regression: cost against records and predictors, one BLAS thread unless the environment
// says otherwise.
#include <benchmark/benchmark.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/LinearModel/Logistic.h"

namespace {

using Veltrix::Matrix;
using Veltrix::Vector;
using Veltrix::Engine::LinearModel::Logistic::Model;

struct Data {
    Matrix x;
    Vector y;

    explicit Data(const benchmark::State& state)
        : x(Veltrix::Util::gaussianMatrix(static_cast<int>(state.range(0)),
                                          static_cast<int>(state.range(1)),
                                          Veltrix::MatrixOrderType::columnMajor, 0.0, 1.0, 1)) {
        // Noise of the size of the signal leaves a few steps to do.
        y = Veltrix::Util::gaussianMatrix(x.getNumRows(), 1, Veltrix::MatrixOrderType::columnMajor,
                                          0.0, 1.0, 2)
                .getAsDoubleVector() +
            x * Vector(static_cast<std::uint64_t>(x.getNumCols()), 0.2);
        for (double& value : y) value = value > 0.0 ? 1.0 : 0.0;
    }
};

void sizes(benchmark::internal::Benchmark* bench) {
    for (const int p : {5, 30}) {
        for (const int n : {10000, 100000, 1000000}) bench->Args({n, p});
    }
    bench->Unit(benchmark::kMillisecond);
}

void fitWithCoefficients(benchmark::State& state) {
    const Data data(state);
    for (auto _ : state) {
        Model model;
        model.fit(data.x, data.y, 50, true);
        benchmark::DoNotOptimize(model.computeCoefficientInfo(data.x, 0.95));
    }
    state.counters["records"] = benchmark::Counter(static_cast<double>(state.range(0)),
                                                   benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(fitWithCoefficients)->Apply(sizes)->Args({2000000, 30});

void posteriors(benchmark::State& state) {
    const Data data(state);
    Model model;
    model.fit(data.x, data.y, 50, true);
    for (auto _ : state) benchmark::DoNotOptimize(model.posteriorProbability(data.x));
}
BENCHMARK(posteriors)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
