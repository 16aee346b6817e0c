// Nearest neighbours: cost against training records, predictors and neighbours.
#include <benchmark/benchmark.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/NearestRows.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/KNN.h"

namespace {

using Veltrix::Matrix;
using Veltrix::Vector;
using Veltrix::Engine::Regression::KNN::Model;
using Veltrix::KNearestNeighbors::WeightingScheme;

Matrix normals(std::int64_t rows, std::int64_t cols, unsigned seed) {
    return Veltrix::Util::gaussianMatrix(static_cast<int>(rows), static_cast<int>(cols),
                                         Veltrix::MatrixOrderType::columnMajor, 0.0, 1.0, seed);
}

/// Training records, columns and neighbours from the ranges; 500 records to be scored.
struct Data {
    Matrix x, records;
    int k;

    explicit Data(const benchmark::State& state)
        : x(normals(state.range(0), state.range(1), 1)),
          records(normals(500, state.range(1), 2)),
          k(static_cast<int>(state.range(2))) {}
};

void sizes(benchmark::internal::Benchmark* bench) {
    for (const int n : {1000, 10000, 100000, 1000000}) bench->Args({n, 20, 10});
    for (const int p : {2, 100}) bench->Args({10000, p, 10});
    for (const int k : {1, 100, 1000}) bench->Args({10000, 20, k});
    bench->Unit(benchmark::kMillisecond);
}

/// Compared pairs of records as a rate.
void countPairs(benchmark::State& state) {
    state.counters["pairs"] = benchmark::Counter(500.0 * static_cast<double>(state.range(0)),
                                                 benchmark::Counter::kIsIterationInvariantRate);
}

void nearestRows(benchmark::State& state) {
    const Data data(state);
    for (auto _ : state) {
        Veltrix::visitNearestRows(
            data.records, data.x, data.k, false, false,
            [](int, const Matrix& nearest) { benchmark::DoNotOptimize(nearest.data()); });
    }
    countPairs(state);
}
BENCHMARK(nearestRows)->Apply(sizes);

void search(benchmark::State& state) {
    const Data data(state);
    Model model;
    model.fit(data.x, Veltrix::Convert::toDoubleVector(data.x(Veltrix::Util::all, 0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(model.kSearch(data.records, Vector(500), data.k, true, false,
                                               WeightingScheme::inverseDistance));
    }
    countPairs(state);
}
BENCHMARK(search)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
