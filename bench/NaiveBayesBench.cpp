// Naive Bayes: counting and scoring against records, columns, categories and classes, with columns
// of whole numbers, of other numbers and of text.
#include <benchmark/benchmark.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/NaiveBayes.h"

namespace {

using Veltrix::DataFrame;
using namespace Veltrix::Classification::NaiveBayes::Engine;

constexpr std::int64_t kIntegers = 0;
constexpr std::int64_t kNumbers = 1;

/// Records, columns, categories of each column and kind of the columns are the arguments; the last
/// column holds four classes.
DataFrame draws(const benchmark::State& state) {
    const auto rows = static_cast<std::uint64_t>(state.range(0));
    const auto categories = static_cast<std::uint32_t>(state.range(2));
    DataFrame frame;
    std::uint32_t x = 1;
    const auto next = [&x](std::uint32_t count) {
        x = x * 1664525U + 1013904223U;
        return static_cast<int>((x >> 8U) % count);
    };
    for (std::int64_t j = 0; j <= state.range(1); ++j) {
        const bool last = j == state.range(1);
        Veltrix::IntVector codes(rows);
        for (int& code : codes) code = next(last ? 4U : categories);
        const Veltrix::WString name = Veltrix::Convert::toString(j);
        if (last || state.range(3) == kIntegers) {
            codes.setName(name);
            frame.append(codes);
        } else if (state.range(3) == kNumbers) {
            Veltrix::Vector numbers(codes.begin(), codes.end());
            numbers.setName(name);
            frame.append(numbers / 3.0);
        } else {
            Veltrix::StringVector levels;
            for (std::uint32_t k = 0; k < categories; ++k) {
                levels.push_back(Veltrix::Convert::toString(k));
            }
            frame.append(name, codes, levels);
        }
    }
    return frame;
}

struct Data {
    DataFrame all;
    DataFrame features;

    explicit Data(const benchmark::State& state)
        : all(draws(state)),
          features(all(Veltrix::Util::all, Veltrix::Util::range(0, all.getNumCols() - 1))) {}
    Model count() const {
        const Model::ClassValues priors{{L"0", .25}, {L"1", .25}, {L"2", .25}, {L"3", .25}};
        return computeFrequency(features, all(Veltrix::Util::all, all.getNumCols() - 1), 1.0,
                                priors);
    }
};

void sizes(benchmark::internal::Benchmark* bench) {
    for (const int n : {10000, 200000, 2000000}) bench->Args({n, 20, 10, kIntegers});
    for (const int kind : {1, 2}) bench->Args({200000, 20, 10, kind});
    for (const int kind : {0, 1, 2}) bench->Args({200000, 20, 10000, kind});
    bench->Unit(benchmark::kMillisecond);
}

void countRecords(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void frequencies(benchmark::State& state) {
    const Data data(state);
    for (auto _ : state) benchmark::DoNotOptimize(data.count().alpha);
    countRecords(state);
}
BENCHMARK(frequencies)->Apply(sizes);

void posteriors(benchmark::State& state) {
    const Data data(state);
    const Model model = frequencyToPriorConditionalProbability(data.count());
    for (auto _ : state) {
        benchmark::DoNotOptimize(computePosteriorProbability(model, data.features, true));
    }
    countRecords(state);
}
BENCHMARK(posteriors)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
