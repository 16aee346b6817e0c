#include "tools/veltrix/families/PredictCommand.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/InputOptions.h"
#include "tools/veltrix/host/ModelFile.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/host/Progress.h"

namespace Veltrix::Tool {

namespace {

/// The rows of the file that are chosen, counted from 1.
std::vector<std::int64_t> chosenRows(const DataFile& data) {
    std::vector<std::int64_t> rows;
    for (std::size_t i = 0; i < static_cast<std::size_t>(data.numRows()); ++i) {
        if (data.isChosen(i)) rows.push_back(static_cast<std::int64_t>(i) + 1);
    }
    return rows;
}

/// The values at the rows that were scored; a missing number or an empty text at the others.
Column inPlace(const Column& scored, const std::vector<std::int64_t>& scoredRows,
               const std::vector<std::int64_t>& rows) {
    return std::visit(
        [&](const auto& list) -> Column {
            auto all = list;
            all.resize(0);
            all.resize(rows.size());
            if constexpr (std::is_same_v<decltype(all), Vector>) {
                std::ranges::fill(all, std::numeric_limits<double>::quiet_NaN());
            }
            std::size_t place = 0;
            for (std::size_t k = 0; k < scoredRows.size(); ++k) {
                while (rows[place] != scoredRows[k]) ++place;
                all[place] = list[k];
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

}  // namespace

void PredictCommand::declare(OptionGroup& options) {
    options.file(model_, "Model stored by --save").required();
    options.file(data_, "CSV file with a column for each predictor of the model").required();
    options.confidence(confidence_);
    declareRowChoice(options);
    output_.declare(options);
}

void PredictCommand::run() {
    output_.checkFiles({data_, model_});
    ProgressLine progress;
    progress.stage("Reading " + data_.path);
    const StoredModel stored = readModel(model_.path);
    const DataFile data(data_.path, stored.coding.csvOptions());
    const RowSelection selection = selectRows(data, stored.coding.used(data_.option));

    if (stored.family->needs().target == TargetKind::Series) checkSeries(selection);
    progress.stage("Scoring");
    const Records records = stored.coding.encode(selection);
    const std::vector<Column> scores = stored.family->score(records, confidence_).columns();
    ReportBuilder report("Predictions of " + stored.target);
    Table& summary = report.table("Summary");
    summary.entry("Data file", data_.path);
    addDialect(summary, data.dialect());
    summary.entry("Model file", model_.path)
        .entry("Model", stored.family->names().family)
        .entry("Target", stored.target)
        .entry("Rows read", selection.rowsRead);
    if (selection.rowsChosen < selection.rowsRead) {
        summary.entry("Rows chosen", selection.rowsChosen);
    }
    summary.entry("Rows scored", selection.rowsUsed())
        .entry("Rows with missing values (not scored)", selection.rowsLeftOut())
        .entry("Rows without a prediction", countWithoutPrediction(scores));
    if (stored.family->needs().confidence) summary.entry("Confidence level", confidence_);
    Table& predictions = report.records("Predictions");
    const std::vector<std::int64_t> rows = chosenRows(data);
    predictions.integers("Row", rows);
    for (const Column& scored : scores) {
        predictions.add(inPlace(scored, selection.rowNumbers, rows));
    }
    stored.family->addBeyond(report, records, confidence_);
    progress.stage("Writing");
    output_.deliver(report.take());
}

}  // namespace Veltrix::Tool
