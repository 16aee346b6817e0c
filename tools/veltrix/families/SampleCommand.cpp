#include "tools/veltrix/families/SampleCommand.h"

#include <numeric>
#include <vector>

#include <fmt/format.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Sampling.h"
#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/Progress.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/FrameCsv.h"

namespace Veltrix::Tool {

namespace {

namespace Sampling = Engine::Sampling;

constexpr const char* kSize = "--size";
constexpr const char* kStrata = "--strata";

/// The rows of every stratum, ascending: those of stratum h from starts[h] on.
struct RowsByStratum {
    std::vector<std::size_t> rows;
    std::vector<std::size_t> starts;

    /// Codes from 0 on, one for each row.
    explicit RowsByStratum(const IntVector& stratumOf) : rows(stratumOf.size()) {
        starts.resize(2 + static_cast<std::size_t>(Util::maxValue(stratumOf)));
        for (const int stratum : stratumOf) ++starts[static_cast<std::size_t>(stratum) + 1];
        std::partial_sum(starts.begin(), starts.end(), starts.begin());
        std::vector<std::size_t> next = starts;
        for (std::size_t row = 0; row < rows.size(); ++row) {
            rows[next[static_cast<std::size_t>(stratumOf[row])]++] = row;
        }
    }
};

/// A sampler that runs out of records, which happens when nearly all are drawn, fills up with a
/// record of the same stratum that it has drawn already. These repeats give way to the stratum's
/// first rows that are not drawn. `stratumOf` holds codes from 0 on, one for each row of the file.
void replaceRepeats(IntVector& rows, const IntVector& stratumOf) {
    std::vector<bool> drawn(stratumOf.size());
    std::vector<std::uint64_t> repeats;
    for (std::uint64_t i = 0; i < rows.size(); ++i) {
        const auto row = static_cast<std::size_t>(rows[i]);
        if (drawn[row]) repeats.push_back(i);
        drawn[row] = true;
    }
    if (repeats.empty()) return;
    const RowsByStratum strata(stratumOf);
    std::vector<std::size_t> next = strata.starts;
    for (const std::uint64_t i : repeats) {
        const auto stratum =
            static_cast<std::size_t>(stratumOf[static_cast<std::uint64_t>(rows[i])]);
        while (drawn[strata.rows[next[stratum]]]) ++next[stratum];
        const std::size_t row = strata.rows[next[stratum]];
        drawn[row] = true;
        rows[i] = static_cast<int>(row);
    }
}

IntVector drawRows(int numRows, int size, std::uint32_t seed) {
    IntVector rows = Sampling::ScalableSRS(numRows, size).setSeed(seed).sample();
    replaceRepeats(rows, IntVector(static_cast<std::uint64_t>(numRows)));
    return rows;
}

IntVector drawFromStrata(const DataFrame& strata, int size, std::uint32_t seed) {
    Sampling::StratifiedSRS sampler;
    IntVector rows = sampler.setData(strata).setSampleSize(size).setSeed(seed).sample();
    IntVector stratumOf;
    strata(Selection::all, 0).getLevels(stratumOf);
    replaceRepeats(rows, stratumOf);
    return rows;
}

}  // namespace

void SampleCommand::declare(OptionGroup& options) {
    options.file(data_, "CSV file with a header row").required();
    options.count(kSize, size_, "Number of rows to draw").placeholder("K").required();
    options.column(kStrata, strata_,
                   "Column with strata, each of which is drawn from in proportion to its size");
    options.seed(seed_);
    options.file(output_, "Writes the rows into this file");
    options.footer(
        "The rows come in the order in which they are drawn, stratum after stratum. The same\n"
        "file, size and seed give the same rows.");
}

void SampleCommand::run() {
    checkDistinct(output_, data_);
    ProgressLine progress;
    progress.stage("Reading " + data_.path);
    const DataFile data(data_.path, verbatim());
    if (size_ > data.numRows()) {
        throw UserError(fmt::format("{}: {}, expected at most the {} rows of {}", kSize, size_,
                                    data.numRows(), Tool::quoted(data_.path)));
    }
    progress.stage("Drawing");
    const DataFrame& frame = data.frame();
    const IntVector rows =
        strata_.empty()
            ? drawRows(frame.getNumRows(), size_, seed_)
            : drawFromStrata(typedColumn(frame, data.columnIndex(kStrata, strata_)), size_, seed_);
    progress.stage("Writing");
    FrameCsv csv;
    csv.add(frame);
    deliverText(output_, csv.render(rows));
}

}  // namespace Veltrix::Tool
