#include "tools/veltrix/host/LearnerData.h"

#include <algorithm>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Util.h"
#include "support/NumberText.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

std::optional<Part> partOf(const WString& text) {
    if (text == L"train") return Part::Training;
    if (text == L"valid") return Part::Validation;
    if (text == L"test") return Part::Test;
    return std::nullopt;
}

/// The part of every row of the file; rows with an empty cell have none.
std::vector<std::optional<Part>> readParts(const DataFile& file, const LearnerOptions& options) {
    const auto numRows = static_cast<std::size_t>(file.numRows());
    if (options.partitionColumn.empty()) return {numRows, Part::Training};
    const UsedColumn column{LearnerOptions::kPartitionColumn, options.partitionColumn};
    IntVector codes;
    const StringVector levels =
        file.frame()(Selection::all, file.columnIndex(column.option, column.name)).getLevels(codes);
    std::vector<std::optional<Part>> parts(numRows);
    for (std::size_t i = 0; i < numRows; ++i) {
        const WString& cell = levels[static_cast<std::uint64_t>(codes[i])];
        parts[i] = partOf(cell);
        if (parts[i] || cell.empty()) continue;
        throw UserError(describeCell(column, static_cast<std::int64_t>(i) + 1, cell.toUtf8()) +
                        ", expected train, valid or test");
    }
    return parts;
}

/// A target of numbers that hardly repeat was not meant as classes.
void checkClasses(const LearnerData& data, const LearnerOptions& options) {
    constexpr std::uint64_t kFew = 10;
    const std::uint64_t numClasses = data.classes.size();
    if (numClasses == 1) {
        throw UserError(
            fmt::format("{}: column {} holds only {} in the training rows, expected at "
                        "least two classes",
                        LearnerOptions::kTarget, Tool::quoted(options.target),
                        Tool::quoted(data.classes[0].toUtf8())));
    }
    const std::uint64_t numRows = data.rowsOf(Part::Training).size();
    if (numClasses <= kFew || 2 * numClasses <= numRows) return;
    throw UserError(
        fmt::format("{}: column {} holds {} different texts in {} training rows, "
                    "expected classes, or --regression for numbers",
                    LearnerOptions::kTarget, Tool::quoted(options.target), numClasses, numRows));
}

StringVector textsOf(const Vector& codes, const StringVector& levels) {
    StringVector texts;
    texts.reserve(codes.size());
    for (const double code : codes) texts.push_back(levels[static_cast<std::uint64_t>(code)]);
    return texts;
}

void assignParts(LearnerData& data, const std::vector<std::optional<Part>>& parts) {
    for (const std::optional<Part>& part : parts) {
        if (part) ++data.rowsRead[static_cast<std::size_t>(*part)];
    }
    const std::vector<std::int64_t>& numbers = data.selection.rowNumbers;
    for (std::size_t k = 0; k < numbers.size(); ++k) {
        const std::optional<Part> part = parts[static_cast<std::size_t>(numbers[k]) - 1];
        data.rows[static_cast<std::size_t>(*part)].push_back(static_cast<int>(k));
    }
    if (data.has(Part::Training)) return;
    throw UserError(fmt::format("{}: no row with all values says train, expected at least one",
                                LearnerOptions::kPartitionColumn));
}

}  // namespace

std::string_view partName(Part part) {
    constexpr std::array<std::string_view, kParts.size()> kNames{"training", "validation", "test"};
    return kNames[static_cast<std::size_t>(part)];
}

LearnerData selectLearnerData(const DataFile& file, const LearnerOptions& options,
                              std::vector<UsedColumn> predictors,
                              const std::vector<UsedColumn>& further) {
    const std::vector<std::optional<Part>> parts = readParts(file, options);
    std::vector<UsedColumn> used = std::move(predictors);
    used.insert(used.end(), further.begin(), further.end());
    const std::size_t target = used.size();
    used.push_back({LearnerOptions::kTarget, options.target, !options.regression});
    if (!options.partitionColumn.empty()) {
        used.push_back({LearnerOptions::kPartitionColumn, options.partitionColumn, true});
    }
    LearnerData data;
    data.selection = selectNumeric(file, used);
    checkRowsLeft(data.selection);
    assignParts(data, parts);
    data.textPredictors = describeTextColumns(file, data.selection, LearnerOptions::kPredictors);
    if (options.regression) {
        data.numbers = std::move(data.selection.columns[target]);
        return data;
    }
    data.labels = textsOf(data.selection.columns[target], data.selection.levels[target]);
    data.classes = Util::uniqueElements(data.of(Part::Training, data.labels));
    checkClasses(data, options);
    return data;
}

}  // namespace Veltrix::Tool
