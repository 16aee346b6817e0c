#include "tools/veltrix/families/PredictCommand.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/ModelFile.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/host/Progress.h"

namespace Veltrix::Tool {

namespace {

/// The values at the rows that were scored; a missing number or an empty text at the others.
Column inPlace(const Column& scored, const RowSelection& selection) {
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

}  // namespace

void PredictCommand::declare(OptionGroup& options) {
    options.file(model_, "Model stored by --save").required();
    options.file(data_, "CSV file with a column for each predictor of the model").required();
    options.confidence(confidence_);
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
    summary.entry("Data file", data_.path)
        .entry("Model file", model_.path)
        .entry("Model", stored.family->names().family)
        .entry("Target", stored.target)
        .entry("Rows read", selection.rowsRead)
        .entry("Rows scored", selection.rowsUsed())
        .entry("Rows with missing values (not scored)", selection.rowsLeftOut())
        .entry("Rows without a prediction", countWithoutPrediction(scores));
    if (stored.family->needs().confidence) summary.entry("Confidence level", confidence_);
    Table& predictions = report.records("Predictions");
    predictions.counted("Row", static_cast<std::uint64_t>(selection.rowsRead));
    for (const Column& scored : scores) predictions.add(inPlace(scored, selection));
    stored.family->addBeyond(report, records, confidence_);
    progress.stage("Writing");
    output_.deliver(report.take());
}

}  // namespace Veltrix::Tool
