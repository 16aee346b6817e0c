// Feature selection: cost of the searches against the number of predictors, a quarter of which
// matter.
#include <benchmark/benchmark.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/LinearModel/OLS.h"

namespace {

using Veltrix::Matrix;
using Veltrix::Vector;
using Veltrix::Engine::LinearModel::FeatureSelection::Algorithm;
using Veltrix::Engine::LinearModel::OLS::Model;

void search(benchmark::State& state, Algorithm algorithm) {
    const int p = static_cast<int>(state.range(0));
    const auto normals = [](int rows, int cols, unsigned seed) {
        return Veltrix::Util::gaussianMatrix(rows, cols, Veltrix::MatrixOrderType::columnMajor, 0.0,
                                             1.0, seed);
    };
    const Matrix x = normals(500, p, 1);
    Vector weights(static_cast<std::uint64_t>(p), 0.0);
    for (int j = 0; j < p; j += 4) weights[j] = 0.3;
    const Vector y = x * weights + normals(500, 1, 2).getAsDoubleVector();
    for (auto _ : state) {
        benchmark::DoNotOptimize(Model::featureSelection(algorithm, x, y, {}, true, nullptr,
                                                         nullptr, nullptr, nullptr, p));
    }
}
BENCHMARK_CAPTURE(search, forward, Algorithm::forwardSelection)->Arg(10)->Arg(40)->Arg(160);
BENCHMARK_CAPTURE(search, sequential, Algorithm::sequentialReplacement)->Arg(10)->Arg(40)->Arg(80);
BENCHMARK_CAPTURE(search, best, Algorithm::bestSubsets)
    ->Arg(10)
    ->Arg(20)
    ->Arg(40)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
