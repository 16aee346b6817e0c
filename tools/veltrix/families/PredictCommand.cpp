#include "tools/veltrix/families/PredictCommand.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <numeric>
#include <type_traits>
#include <utility>

#include <CLI/CLI.hpp>

#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/ModelFile.h"
#include "tools/veltrix/host/Progress.h"

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

/// The rows scored for which the first column, the prediction, says nothing.
std::int64_t countWithoutPrediction(const std::vector<Column>& scores) {
    const Column& predictions = scores.front();
    std::int64_t count = 0;
    for (std::size_t i = 0; i < predictions.size(); ++i) {
        const Cell cell = predictions.cell(i);
        const auto* const number = std::get_if<double>(&cell);
        const auto* const label = std::get_if<std::string_view>(&cell);
        const bool without =
            (number != nullptr && std::isnan(*number)) || (label != nullptr && label->empty());
        count += without ? 1 : 0;
    }
    return count;
}

Table predictionTable(const std::vector<Column>& scores, const NumericSelection& selection) {
    std::vector<std::int64_t> rows(static_cast<std::size_t>(selection.rowsRead));
    std::iota(rows.begin(), rows.end(), std::int64_t{1});
    Table table = recordTable("Predictions", Column{"Row", std::move(rows)});
    for (const Column& scored : scores) {
        table.columns.push_back(inPlace(scored, selection));
    }
    return table;
}

Table summaryTable(const StoredModel& stored, const std::string& dataFile,
                   const std::string& modelFile, const NumericSelection& selection,
                   std::int64_t withoutPrediction, double confidence) {
    std::vector<Entry> entries{{"Data file", dataFile},
                               {"Model file", modelFile},
                               {"Model", std::string(stored.family())},
                               {"Target", stored.target()},
                               {"Rows read", selection.rowsRead},
                               {"Rows scored", selection.rowsUsed()},
                               {"Rows with missing values (not scored)", selection.rowsLeftOut()},
                               {"Rows without a prediction", withoutPrediction}};
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
    const std::vector<Column> scores = stored->scoreColumns(selection, confidence_);
    Report report{.title = "Predictions of " + stored->target(), .tables = {}};
    report.tables.push_back(summaryTable(*stored, data_.path, model_.path, selection,
                                         countWithoutPrediction(scores), confidence_));
    report.tables.push_back(predictionTable(scores, selection));
    progress.stage("Writing");
    output_.deliver(report);
}

}  // namespace Veltrix::Tool
