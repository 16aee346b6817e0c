#include "tools/veltrix/PredictCommand.h"

#include <limits>
#include <numeric>
#include <utility>

#include <CLI/CLI.hpp>

#include "tools/veltrix/DataSelection.h"
#include "tools/veltrix/ModelFile.h"
#include "tools/veltrix/Progress.h"
#include "tools/veltrix/RegressionReport.h"

namespace Veltrix::Tool {

namespace {

namespace OLS = Engine::LinearModel::OLS;

/// The values at the rows that were scored, NaN at the others.
Vector inPlace(const Vector& scored, const NumericSelection& selection) {
    Vector all(static_cast<std::uint64_t>(selection.rowsRead),
               std::numeric_limits<double>::quiet_NaN());
    for (std::size_t k = 0; k < selection.rowNumbers.size(); ++k) {
        all[static_cast<std::uint64_t>(selection.rowNumbers[k] - 1)] = scored[k];
    }
    return all;
}

Table predictionTable(const StoredRegression& stored, const NumericSelection& selection,
                      double confidence) {
    const Matrix x = stored.coding.code(selection, 0);
    const Vector predicted = stored.model.predict(x);
    const OLS::PredictionIntervals limits =
        stored.model.computeNewPredictionIntervals(x, predicted, confidence);
    std::vector<std::int64_t> rows(static_cast<std::size_t>(selection.rowsRead));
    std::iota(rows.begin(), rows.end(), std::int64_t{1});
    Table table{.title = "Predictions", .columns = {}, .perRecord = true};
    table.columns = intervalColumns(
        {inPlace(limits.confidenceLower, selection), inPlace(limits.confidenceUpper, selection),
         inPlace(limits.predictionLower, selection), inPlace(limits.predictionUpper, selection)},
        confidence);
    table.columns.insert(table.columns.begin(),
                         {{"Row", std::move(rows)},
                          {"Prediction", inPlace(predicted, selection), NumberStyle::Series}});
    return table;
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
    const StoredRegression stored = readModel(model_.path);
    // Levels are compared as they are written, also when all of them look like numbers.
    CsvOptions options;
    for (const auto& [column, levels] : stored.coding.levels().getMapping()) {
        options.textColumns.push_back(column.toUtf8());
    }
    const DataFile data(data_.path, options);
    const NumericSelection selection =
        selectNumeric(data, stored.coding.usedForScoring(data_.option));

    progress.stage("Scoring");
    Report report{.title = "Predictions of " + stored.target, .tables = {}};
    report.tables.push_back(
        entryTable("Summary", {{"Data file", data_.path},
                               {"Model file", model_.path},
                               {"Target", stored.target},
                               {"Rows read", selection.rowsRead},
                               {"Rows scored", selection.rowsUsed()},
                               {"Rows with missing values (not scored)", selection.rowsLeftOut()},
                               {"Confidence level", confidence_}}));
    report.tables.push_back(predictionTable(stored, selection, confidence_));
    progress.stage("Writing");
    output_.deliver(report);
}

}  // namespace Veltrix::Tool
