// Whole-matrix operations of the data library: distances, products, covariance, sweep, selection.
#include <benchmark/benchmark.h>

#include "Veltrix/Data/Util.h"

namespace {

using Veltrix::IntVector;
using Veltrix::Matrix;
using Veltrix::MatrixOrderType;
using Veltrix::Ordering;
using Veltrix::Util;
using Veltrix::Vector;

constexpr auto kByRows = MatrixOrderType::rowMajor;
constexpr auto kByColumns = MatrixOrderType::columnMajor;

Matrix normals(std::int64_t rows, std::int64_t cols, MatrixOrderType order) {
    return Util::gaussianMatrix(static_cast<int>(rows), static_cast<int>(cols), order, 0.0, 1.0, 7);
}

/// Rows of a, rows of b, columns, storage order.
void pairwiseDistance(benchmark::State& state) {
    const auto order = static_cast<MatrixOrderType>(state.range(3));
    const Matrix a = normals(state.range(0), state.range(2), order);
    const Matrix b = normals(state.range(1), state.range(2), order);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Util::pairwiseDistance(a, b, true).data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(1) * state.range(2));
}
BENCHMARK(pairwiseDistance)
    ->Unit(benchmark::kMillisecond)
    ->Args({4000, 4000, 50, 0})
    ->Args({4000, 4000, 50, 1})
    ->Args({10000, 5000, 20, 0})
    ->Args({100000, 8, 20, 1});

/// Rows, columns, type of distance.
void allPairs(benchmark::State& state) {
    const Matrix a = normals(state.range(0), state.range(1), kByColumns);
    const auto type = static_cast<Veltrix::DissimilarityType>(state.range(2));
    for (auto _ : state) {
        benchmark::DoNotOptimize(Util::pairwiseDistance(a, false, type).data());
    }
}
BENCHMARK(allPairs)->Unit(benchmark::kMillisecond)->ArgsProduct({{4000}, {50}, {1, 2, 4, 5, 7}});

void onePoint(benchmark::State& state) {
    const Matrix b = normals(state.range(0), 20, kByRows);
    const Vector point(20, 0.5);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Util::pairwiseDistance(point, b, true).data());
    }
}
BENCHMARK(onePoint)->Unit(benchmark::kMicrosecond)->Arg(10000);

/// AB with every mix of storage orders.
void product(benchmark::State& state) {
    const auto size = state.range(0);
    const Matrix a = normals(size, size, static_cast<MatrixOrderType>(state.range(1)));
    const Matrix b = normals(size, size, static_cast<MatrixOrderType>(state.range(2)));
    for (auto _ : state) benchmark::DoNotOptimize((a * b).data());
    state.SetItemsProcessed(state.iterations() * 2 * size * size * size);
}
BENCHMARK(product)->Unit(benchmark::kMillisecond)->ArgsProduct({{4, 50, 1000}, {0, 1}, {0, 1}});

void covariance(benchmark::State& state) {
    const Matrix a =
        normals(state.range(0), state.range(1), static_cast<MatrixOrderType>(state.range(2)));
    for (auto _ : state) benchmark::DoNotOptimize(Util::covariance(a).data());
}
BENCHMARK(covariance)->Unit(benchmark::kMillisecond)->ArgsProduct({{200000}, {10, 100}, {0, 1}});

void groupStatistic(benchmark::State& state) {
    const int rows = 200000;
    const Matrix a = normals(rows, 50, static_cast<MatrixOrderType>(state.range(0)));
    IntVector groups;
    for (int i = 0; i < rows; ++i) groups.push_back(i % 7);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Util::groupStatistic(a, groups, true, true).getNumGroups());
    }
}
BENCHMARK(groupStatistic)->Unit(benchmark::kMillisecond)->Arg(0)->Arg(1);

/// Sweeps on all the pivots.
void sweep(benchmark::State& state) {
    const auto order = static_cast<int>(state.range(0));
    const Matrix x = normals(order, order, kByColumns);
    const Matrix a = Util::transpose(x) * x;
    for (auto _ : state) {
        Matrix swept(a);
        Util::sweep(swept, Util::range(0, order));
        benchmark::DoNotOptimize(swept.data());
    }
}
BENCHMARK(sweep)->Unit(benchmark::kMicrosecond)->Arg(10)->Arg(50)->Arg(400);

/// Length, k.
void kTopIndices(benchmark::State& state) {
    const Vector values = normals(state.range(0), 1, kByColumns).getAsDoubleVector();
    const auto k = static_cast<int>(state.range(1));
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            Util::kTopIndices(values, k, false, false, Ordering::smallestFirst).size());
    }
}
BENCHMARK(kTopIndices)
    ->Unit(benchmark::kMicrosecond)
    ->ArgsProduct({{10000, 1000000}, {1, 10, 1000}});

void argSort(benchmark::State& state) {
    const Vector values = normals(state.range(0), 1, kByColumns).getAsDoubleVector();
    for (auto _ : state) {
        benchmark::DoNotOptimize(Util::argSort(values, Ordering::smallestFirst).size());
    }
}
BENCHMARK(argSort)->Unit(benchmark::kMillisecond)->Arg(1000000);

void sum(benchmark::State& state) {
    const Vector values = normals(state.range(0), 1, kByColumns).getAsDoubleVector();
    for (auto _ : state) benchmark::DoNotOptimize(Util::sum(values));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(sum)->Arg(100)->Arg(10000)->Arg(10000000);

void columnMeans(benchmark::State& state) {
    const Matrix a = normals(200000, 20, static_cast<MatrixOrderType>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(Util::mean(a).data());
}
BENCHMARK(columnMeans)->Unit(benchmark::kMillisecond)->Arg(0)->Arg(1);

}  // namespace

BENCHMARK_MAIN();
