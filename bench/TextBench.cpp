// Text mining: documents to terms against number and length of the documents, stems, and both forms
// of the matrix.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Engine/TM/TextMiner.h"

namespace {

using namespace Veltrix;
using namespace Veltrix::Engine::TM;

/// Words with English endings, the rarer the later they come.
std::vector<std::wstring> makeWords(std::mt19937& random) {
    const std::vector<std::wstring> syllables{L"con", L"ta",  L"mi",  L"ver",
                                              L"lo",  L"sti", L"pen", L"ur"};
    const std::vector<std::wstring> endings{L"",      L"s",    L"ing",   L"ed",
                                            L"ation", L"ness", L"fully", L"ize"};
    std::vector<std::wstring> words(20000);
    for (std::wstring& word : words) {
        for (auto k = 1 + random() % 3; k > 0; --k) word += syllables[random() % syllables.size()];
        word += endings[random() % endings.size()];
    }
    return words;
}

/// As many documents as the first argument says, of about as many words as the second.
DataFrame makeDocuments(const benchmark::State& state) {
    std::mt19937 random(1);
    std::vector<std::wstring> words = makeWords(random);
    words[5] = L"someone@example.org";
    words[7] = L"3.14";
    words[11] = L"<b>the</b>";
    StringVector documents;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
        std::wstring text;
        for (std::int64_t k = 0; k < state.range(1); ++k) {
            const double share = static_cast<double>(random()) / 4294967296.0;
            const double rank = std::pow(static_cast<double>(words.size()), share) - 1.0;
            text += words[static_cast<std::size_t>(rank)] + (k % 12 == 11 ? L".\n" : L" ");
        }
        documents.push_back(text);
    }
    DataFrame frame;
    frame.append(documents, L"document");
    return frame;
}

TextMiner makeMiner() {
    return TextMiner(PreprocessingFlags{
        PreprocessingFlags::kRemoveExcluded | PreprocessingFlags::kLimitVocabulary, 255});
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Args({100, 100})->Args({1000, 200})->Args({10000, 200})->Args({10, 200000});
    bench->Unit(benchmark::kMillisecond);
}

void preprocess(benchmark::State& state) {
    const DataFrame frame = makeDocuments(state);
    TextMiner miner = makeMiner();
    for (auto _ : state) {
        miner.preprocess(frame(Selection::all, 0));
        benchmark::DoNotOptimize(miner.getTerms().size());
    }
    std::int64_t characters = 0;
    for (const int length : miner.getDocumentLengths()) characters += length;
    state.SetBytesProcessed(state.iterations() * characters);
}
BENCHMARK(preprocess)->Apply(sizes);

void dense(benchmark::State& state) {
    const DataFrame frame = makeDocuments(state);
    TextMiner miner = makeMiner();
    miner.preprocess(frame(Selection::all, 0));
    for (auto _ : state) benchmark::DoNotOptimize(miner.buildTDM().getNumCols());
}
BENCHMARK(dense)->Apply(sizes);

void sparse(benchmark::State& state) {
    const DataFrame frame = makeDocuments(state);
    TextMiner miner = makeMiner();
    miner.preprocess(frame(Selection::all, 0));
    for (auto _ : state) benchmark::DoNotOptimize(miner.buildSparseTDM().weights.size());
}
BENCHMARK(sparse)->Apply(sizes);

void stems(benchmark::State& state) {
    std::mt19937 random(1);
    const std::vector<std::wstring> words = makeWords(random);
    for (auto _ : state) {
        for (const std::wstring& word : words) benchmark::DoNotOptimize(stem(word).size());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(words.size()));
}
BENCHMARK(stems)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
