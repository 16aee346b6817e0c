#include "tools/veltrix/families/PredictCommand.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

#include <fmt/format.h>

#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/InputOptions.h"
#include "tools/veltrix/host/ModelFile.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/host/UserError.h"

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
    options.file(source_.data,
                 "CSV file with a column for each predictor of the model, or with documents");
    source_.declare(options);
    options.confidence(confidence_);
    declareRowChoice(options);
    output_.declare(options);
}

void PredictCommand::run() {
    const FileOption& input = source_.given();
    if (input.path.empty()) throw UserError(source_.data.option + " is required");
    output_.checkFiles({input, model_});
    ProgressLine progress;
    progress.stage("Reading " + input.path);
    const StoredModel stored = readModel(model_.path);
    const Report report = stored.documents != nullptr ? scoreDocuments(stored, progress)
                                                      : scoreRecords(stored, progress);
    progress.stage("Writing");
    output_.deliver(report);
}

Report PredictCommand::scoreDocuments(const StoredModel& stored, ProgressLine& progress) const {
    DocumentSource source = source_;
    if (source.column.empty() && !source.data.path.empty())
        source.column = stored.documents->column();
    const Documents documents = readDocuments(source);
    progress.stage("Scoring");
    ReportBuilder report("Scores of documents");
    Table& summary = report.table("Summary");
    summary.entry(source.data.path.empty() ? "Folder" : "Data file", source.given().path);
    addDialect(summary, documents.dialect);
    summary.entry("Model file", model_.path).entry("Model", stored.family->names().family);
    try {
        stored.documents->score(documents, summary, report);
    } catch (const UserError& error) {
        throw UserError(source.given().option + ": " + error.what());
    }
    return report.take();
}

Report PredictCommand::scoreRecords(const StoredModel& stored, ProgressLine& progress) const {
    const FileOption& input = source_.data;
    for (const auto& [option, value] :
         {std::pair<std::string, std::string>{source_.folder.option, source_.folder.path},
          {DocumentSource::kColumn, source_.column}}) {
        if (value.empty()) continue;
        throw UserError(fmt::format("{}: given for a model of {}, which scores rows of {}", option,
                                    stored.family->names().family, input.option));
    }
    const DataFile data(input.path, stored.coding.csvOptions());
    const RowSelection selection = selectRows(data, stored.coding.used(input.option));

    if (stored.family->needs().target == TargetKind::Series) checkSeries(selection);
    progress.stage("Scoring");
    const Records records = stored.coding.encode(selection);
    const std::vector<Column> scores = stored.records->score(records, confidence_).columns();
    ReportBuilder report("Predictions of " + stored.target);
    Table& summary = report.table("Summary");
    summary.entry("Data file", input.path);
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
    stored.records->addBeyond(report, records, confidence_);
    return report.take();
}

}  // namespace Veltrix::Tool
