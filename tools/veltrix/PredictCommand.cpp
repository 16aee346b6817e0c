#include "tools/veltrix/PredictCommand.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <numeric>
#include <type_traits>
#include <utility>

#include <CLI/CLI.hpp>

#include "tools/veltrix/DataSelection.h"
#include "tools/veltrix/ModelFile.h"
#include "tools/veltrix/Progress.h"

namespace Veltrix::Tool {

namespace {

/// The values at the rows that were scored; a missing number or an empty text at the others.
Column inPlace(const Column& scored, const NumericSelection& selection) {
    return std::visit(
        [&](const auto& list) -> Column {
            auto all = list;
            all.resize(0);
            all.resize(static_cast<std::size_t>(selection.rowsRead));
            if constexpr (std::is_same_v<decltype(all), Vector>) {
                std::ranges::fill(all, std::numeric_limits<double>::quiet_NaN());
            }
            for (std::size_t k = 0; k < selection.rowNumbers.size(); ++k) {
                all[static_cast<std::size_t>(selection.rowNumbers[k] - 1)] = list[k];
            }
            return {scored.heading, std::move(all), scored.style};
        },
        scored.values);
}

Table predictionTable(const StoredModel& stored, const NumericSelection& selection,
                      double confidence) {
    std::vector<std::int64_t> rows(static_cast<std::size_t>(selection.rowsRead));
    std::iota(rows.begin(), rows.end(), std::int64_t{1});
    Table table = recordTable("Predictions", Column{"Row", std::move(rows)});
    for (const Column& scored : stored.scoreColumns(selection, confidence)) {
        table.columns.push_back(inPlace(scored, selection));
    }
    return table;
}

Table summaryTable(const StoredModel& stored, const std::string& dataFile,
                   const std::string& modelFile, const NumericSelection& selection,
                   double confidence) {
    std::vector<Entry> entries{{"Data file", dataFile},
                               {"Model file", modelFile},
                               {"Model", std::string(stored.family())},
                               {"Target", stored.target()},
                               {"Rows read", selection.rowsRead},
                               {"Rows scored", selection.rowsUsed()},
                               {"Rows with missing values (not scored)", selection.rowsLeftOut()}};
    if (stored.hasIntervals()) entries.push_back({"Confidence level", confidence});
    return entryTable("Summary", std::move(entries));
}

}  // namespace

void PredictCommand::declare(CLI::App& app) {
    declareFile(app, model_, "Model stored by --save", true);
    declareFile(app, data_, "CSV file with a column for each predictor of the model", true);
    declareConfidence(app, confidence_);
    output_.declare(app);
}

void PredictCommand::run() {
    output_.checkFiles({data_, model_});
    Progress progress;
    progress.stage("Reading " + data_.path);
    const std::unique_ptr<StoredModel> stored = readModel(model_.path);
    const DataFile data(data_.path, stored->csvOptions());
    const NumericSelection selection = selectNumeric(data, stored->usedForScoring(data_.option));

    progress.stage("Scoring");
    Report report{.title = "Predictions of " + stored->target(), .tables = {}};
    report.tables.push_back(summaryTable(*stored, data_.path, model_.path, selection, confidence_));
    report.tables.push_back(predictionTable(*stored, selection, confidence_));
    progress.stage("Writing");
    output_.deliver(report);
}

}  // namespace Veltrix::Tool
