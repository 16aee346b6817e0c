// Decision trees: growth, pruning and prediction against records, columns and categories.
#include <cstdint>
#include <limits>

#include <benchmark/benchmark.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/DT.h"

namespace {

using namespace Veltrix;
namespace DT = Veltrix::Engine::DT;

DT::Params fullGrowth() {
    constexpr int kNoLimit = std::numeric_limits<int>::max();
    DT::Params params;
    params.maxSplits = params.maxLevels = params.maxNodes = kNoLimit;
    params.minRecords = 5;
    return params;
}

struct Problem {
    Matrix x;
    Vector numbers;
    Vector classes;
};

/// Three classes and numbers that depend on the first columns and on noise.
Problem makeProblem(std::int64_t rows, std::int64_t cols) {
    const auto n = static_cast<int>(rows);
    const auto order = MatrixOrderType::columnMajor;
    Problem problem{Util::gaussianMatrix(n, static_cast<int>(cols), order, 0.0, 1.0, 7), {}, {}};
    const Matrix noise = Util::gaussianMatrix(n, 1, order, 0.0, 1.0, 8);
    for (int i = 0; i < n; ++i) {
        const double value = problem.x(i, 0) + problem.x(i, 1) * problem.x(i, 2) + noise(i, 0);
        problem.numbers.push_back(value);
        problem.classes.push_back(value < -0.5 ? 0.0 : value < 0.7 ? 1.0 : 2.0);
    }
    return problem;
}

void growClasses(benchmark::State& state) {
    const Problem problem = makeProblem(state.range(0), state.range(1));
    DT::Classification::Model model(fullGrowth());
    for (auto _ : state) model.fit(problem.x, problem.classes);
    state.counters["leaves"] = model.getNumLeaves();
}
BENCHMARK(growClasses)
    ->Unit(benchmark::kMillisecond)
    ->Args({100, 10})
    ->Args({10'000, 10})
    ->Args({100'000, 10})
    ->Args({10'000, 100});

void growNumbers(benchmark::State& state) {
    const Problem problem = makeProblem(state.range(0), state.range(1));
    DT::Regression::Model model(fullGrowth());
    for (auto _ : state) model.fit(problem.x, problem.numbers);
    state.counters["leaves"] = model.getNumLeaves();
}
BENCHMARK(growNumbers)
    ->Unit(benchmark::kMillisecond)
    ->Args({100, 10})
    ->Args({10'000, 10})
    ->Args({100'000, 10});

/// A categorical column: subsets are enumerated up to twenty categories, then walked in order.
void growCategories(benchmark::State& state) {
    Problem problem = makeProblem(10'000, 3);
    const auto categories = static_cast<int>(state.range(0));
    for (int i = 0; i < problem.x.getNumRows(); ++i) problem.x(i, 0) = i % categories;
    DT::Params params = fullGrowth();
    params.categorical = {0};
    params.minRecords = 200;
    DT::Regression::Model model(params);
    for (auto _ : state) model.fit(problem.x, problem.numbers);
}
BENCHMARK(growCategories)->Unit(benchmark::kMillisecond)->Arg(4)->Arg(12)->Arg(20)->Arg(1000);

void prune(benchmark::State& state) {
    const Problem problem = makeProblem(state.range(0), 10);
    DT::Regression::Model model(fullGrowth());
    model.fit(problem.x, problem.numbers);
    for (auto _ : state) model.prune(problem.x, problem.numbers);
    state.counters["trees"] = model.getPruning().numTrees();
}
BENCHMARK(prune)->Unit(benchmark::kMillisecond)->Arg(100)->Arg(10'000)->Arg(100'000);

void predict(benchmark::State& state) {
    const Problem problem = makeProblem(state.range(0), 10);
    DT::Regression::Model model(fullGrowth());
    model.fit(problem.x, problem.numbers);
    for (auto _ : state) benchmark::DoNotOptimize(model.predict(problem.x).data());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(predict)->Unit(benchmark::kMillisecond)->Arg(100)->Arg(10'000)->Arg(100'000);

}  // namespace

BENCHMARK_MAIN();
