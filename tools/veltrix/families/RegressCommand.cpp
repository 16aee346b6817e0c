#include "tools/veltrix/families/RegressCommand.h"

#include <CLI/CLI.hpp>

#include "Veltrix/Engine/LinearModel/OLS.h"
#include "tools/veltrix/families/RegressionReport.h"
#include "tools/veltrix/families/StoredRegression.h"
#include "tools/veltrix/host/ColumnRoles.h"
#include "tools/veltrix/host/ModelFile.h"
#include "tools/veltrix/host/Progress.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kTarget = "--target";
constexpr const char* kPredictors = "--predictors";
constexpr const char* kWeights = "--weights";

}  // namespace

void RegressCommand::declare(CLI::App& app) {
    declareFile(app, data_, "CSV file with a header row", true);
    app.add_option(kTarget, target_, "Column to explain")->required()->type_name("COLUMN");
    app.add_option(kPredictors, predictors_,
                   "Columns that explain it, separated by commas; may be repeated, also for a "
                   "name that holds a comma. All other columns when left out")
        ->allow_extra_args(false)
        ->type_name("A,B");
    app.add_option(kWeights, weights_, "Column with record weights of 0 or more")
        ->type_name("COLUMN");
    app.add_flag("--no-intercept", noIntercept_, "Fits without a constant");
    declareConfidence(app, confidence_);
    output_.declare(app);
    declareFile(app, save_, "Stores the fitted model for veltrix predict (JSON)", false);
}

void RegressCommand::run() {
    output_.checkFiles({data_}, {save_});
    Progress progress;
    progress.stage("Reading " + data_.path);
    const DataFile data(data_.path);
    const std::vector<RoleColumn> roles{{kTarget, target_, "is the target"},
                                        {kWeights, weights_, "holds the weights"}};
    checkRoles(data, roles);
    PredictorCoding coding(choosePredictors(data, kPredictors, predictors_, roles),
                           LevelColumns::AllButBase);

    std::vector<UsedColumn> used = coding.usedForFit(kPredictors, data);
    used.insert(used.begin(), {kTarget, target_});
    if (!weights_.empty()) used.push_back({kWeights, weights_});
    const NumericSelection selection = selectNumeric(data, used);
    checkRowsLeft(selection);

    progress.stage("Fitting the model");
    coding.learn(selection, 1);
    const Matrix x = coding.code(selection, 1);
    const Vector& y = selection.columns.front();
    StoredRegression fit;
    fit.setTarget(target_);
    fit.setCoding(coding);
    if (weights_.empty()) {
        fit.model.fit(x, y, !noIntercept_);
    } else {
        checkWeights(selection.columns.back(), selection.used.back(), selection.rowNumbers);
        fit.model.fit(x, y, selection.columns.back(), !noIntercept_);
    }

    progress.stage("Computing the report");
    const RegressionTask task{data_.path,
                              target_,
                              coding,
                              weights_,
                              !noIntercept_,
                              confidence_,
                              selection.rowsRead,
                              selection.rowNumbers,
                              describeTextColumns(data, selection, kPredictors)};
    const Report report = regressionReport(task, fit.model, x, y);
    progress.stage("Writing");
    output_.deliver(report, {{save_, save_.path.empty() ? "" : writeModel(fit)}});
}

}  // namespace Veltrix::Tool
