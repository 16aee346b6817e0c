// Reading CSV files: tables of numbers, of few texts, of texts that all differ, and columns that
// turn out to be text in their last row.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include <benchmark/benchmark.h>

#include "support/NumberText.h"
#include "support/RuntimeRandom.h"
#include "tools/veltrix/io/CsvReader.h"

namespace {

enum class Cells : std::int64_t { Numbers, FewTexts, DistinctTexts, LateText };

constexpr int kRows = 100000;
constexpr int kColumns = 10;

std::string cell(Cells kind, int row, Veltrix::Support::RuntimeRandom& random) {
    switch (kind) {
        case Cells::FewTexts:
            return "town " + std::to_string(random.next() % 200);
        case Cells::DistinctTexts:
            return "record-" + std::to_string(row);
        case Cells::LateText:
            if (row == kRows - 1) return "late";
            break;
        case Cells::Numbers:
            break;
    }
    return Veltrix::Support::numberText(200.0 * random.nextFraction() / 7.0 - 100.0);
}

/// A file of one kind of cells, removed at the end.
class File {
  public:
    explicit File(Cells kind)
        : path_(std::filesystem::temp_directory_path() / "veltrix-csv-bench.csv") {
        Veltrix::Support::RuntimeRandom random(1);
        std::ofstream file(path_, std::ios::binary);
        for (int j = 0; j < kColumns; ++j) file << (j > 0 ? ",c" : "c") << j;
        for (int i = 0; i < kRows; ++i) {
            for (int j = 0; j < kColumns; ++j)
                file << (j > 0 ? ',' : '\n') << cell(kind, i, random);
        }
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { std::filesystem::remove(path_); }

    std::string path() const { return path_.string(); }
    std::int64_t size() const {
        return static_cast<std::int64_t>(std::filesystem::file_size(path_));
    }

  private:
    std::filesystem::path path_;
};

void read(benchmark::State& state) {
    const File file(static_cast<Cells>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(Veltrix::Tool::readCsv(file.path()));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * file.size());
}
BENCHMARK(read)
    ->ArgName("cells")
    ->DenseRange(0, static_cast<std::int64_t>(Cells::LateText))
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
