// Linear regression: cost against records and predictors, one BLAS thread unless the environment
// says otherwise.
#include <benchmark/benchmark.h>

#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/LinearModel/OLS.h"

namespace {

using Veltrix::Matrix;
using Veltrix::Vector;
using Veltrix::Engine::LinearModel::OLS::Model;

struct Data {
    Matrix x;
    Vector y;

    explicit Data(const benchmark::State& state)
        : x(Veltrix::Util::gaussianMatrix(static_cast<int>(state.range(0)),
                                          static_cast<int>(state.range(1)),
                                          Veltrix::MatrixOrderType::columnMajor, 0.0, 1.0, 1)),
          y(Veltrix::Util::gaussianMatrix(x.getNumRows(), 1, Veltrix::MatrixOrderType::columnMajor,
                                          0.0, 1.0, 2)
                .getAsDoubleVector()) {}
};

void sizes(benchmark::internal::Benchmark* bench) {
    for (const int p : {5, 50}) {
        for (const int n : {100, 10000, 200000}) bench->Args({n, p});
    }
    bench->Unit(benchmark::kMillisecond);
}

/// Flops of the triangle, 2np², as a rate.
void countFlops(benchmark::State& state) {
    const double p = static_cast<double>(state.range(1)) + 1.0;
    state.counters["flops"] = benchmark::Counter(2.0 * static_cast<double>(state.range(0)) * p * p,
                                                 benchmark::Counter::kIsIterationInvariantRate);
}

void triangle(benchmark::State& state) {
    const Data data(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Veltrix::triangularise({data.x, true}, data.y));
    }
    countFlops(state);
}
BENCHMARK(triangle)->Apply(sizes);

void fitWithCoefficients(benchmark::State& state) {
    const Data data(state);
    for (auto _ : state) {
        Model model;
        model.fit(data.x, data.y, true);
        benchmark::DoNotOptimize(model.computeCoefficientInfo(0.95));
    }
    countFlops(state);
}
BENCHMARK(fitWithCoefficients)->Apply(sizes);

void fitWithEverything(benchmark::State& state) {
    const Data data(state);
    for (auto _ : state) {
        Model model;
        model.fit(data.x, data.y, true);
        benchmark::DoNotOptimize(model.computeCoefficientInfo(0.95));
        benchmark::DoNotOptimize(model.computeFitEvaluation(data.y));
        const Vector fitted = model.predict(data.x);
        const auto residuals = model.computeResiduals(data.y, fitted);
        benchmark::DoNotOptimize(model.computeDiagnostics(residuals.raw));
    }
    countFlops(state);
}
BENCHMARK(fitWithEverything)->Apply(sizes);

void predict(benchmark::State& state) {
    const Data data(state);
    Model model;
    model.fit(data.x, data.y, true);
    for (auto _ : state) benchmark::DoNotOptimize(model.predict(data.x));
}
BENCHMARK(predict)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
