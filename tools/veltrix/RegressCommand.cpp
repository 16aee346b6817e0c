#include "tools/veltrix/RegressCommand.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "Veltrix/Engine/LinearModel/OLS.h"
#include "support/NumberText.h"
#include "tools/veltrix/ModelFile.h"
#include "tools/veltrix/Progress.h"
#include "tools/veltrix/RegressionReport.h"
#include "tools/veltrix/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kTarget = "--target";
constexpr const char* kPredictors = "--predictors";
constexpr const char* kWeights = "--weights";

void checkWeights(const Vector& weights, const NumericSelection& selection,
                  const std::string& name) {
    const auto negative = std::ranges::find_if(weights, [](double w) { return w < 0.0; });
    if (negative != weights.end()) {
        const auto index = static_cast<std::size_t>(negative - weights.begin());
        throw UserError(fmt::format("{}: column {}, row {} holds {}, expected 0 or more", kWeights,
                                    Tool::quoted(name), selection.rowNumbers[index],
                                    Support::numberText(*negative)));
    }
    if (std::ranges::all_of(weights, [](double w) { return w == 0.0; })) {
        throw UserError(
            fmt::format("{}: column {} holds only 0 in the rows used, expected a "
                        "weight above 0",
                        kWeights, Tool::quoted(name)));
    }
}

void checkRowsLeft(const NumericSelection& selection) {
    if (selection.rowsUsed() > 0) return;
    throw UserError(
        fmt::format("--data: no row is left, expected at least one without missing "
                    "values in the columns used ({} read)",
                    counted(selection.rowsRead, "row")));
}

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

void RegressCommand::checkTarget(const DataFile& data) const {
    data.columnIndex(kTarget, target_);
    if (weights_.empty()) return;
    data.columnIndex(kWeights, weights_);
    if (weights_ == target_) {
        throw UserError(fmt::format("{}: column {} is the target, expected another one", kWeights,
                                    Tool::quoted(weights_)));
    }
}

std::vector<std::string> RegressCommand::choosePredictors(const DataFile& data) const {
    if (predictors_.empty()) {
        std::vector<std::string> names = data.columnNames();
        std::erase(names, target_);
        std::erase(names, weights_);
        if (names.empty()) {
            throw UserError(
                fmt::format("{}: {} has no column beside the target, expected at least "
                            "one",
                            kPredictors, Tool::quoted(data.path())));
        }
        return names;
    }
    std::vector<std::string> names = splitNames(data, predictors_);
    for (std::size_t k = 0; k < names.size(); ++k) {
        data.columnIndex(kPredictors, names[k]);
        const char* problem = nullptr;
        if (names[k] == target_) problem = "is the target";
        if (names[k] == weights_) problem = "holds the weights";
        if (std::find(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(k), names[k]) !=
            names.begin() + static_cast<std::ptrdiff_t>(k)) {
            problem = "is named twice";
        }
        if (problem == nullptr) continue;
        throw UserError(fmt::format("{}: column {} {}, expected each predictor once", kPredictors,
                                    Tool::quoted(names[k]), problem));
    }
    return names;
}

void RegressCommand::run() {
    output_.checkFiles({data_}, {save_});
    Progress progress;
    progress.stage("Reading " + data_.path);
    const DataFile data(data_.path);
    checkTarget(data);
    PredictorCoding coding(choosePredictors(data));

    std::vector<UsedColumn> used = coding.usedForFit(kPredictors, data);
    used.insert(used.begin(), {kTarget, target_});
    if (!weights_.empty()) used.push_back({kWeights, weights_});
    const NumericSelection selection = selectNumeric(data, used);
    checkRowsLeft(selection);

    progress.stage("Fitting the model");
    coding.learn(selection, 1);
    const Matrix x = coding.code(selection, 1);
    const Vector& y = selection.columns.front();
    StoredRegression fit{target_, coding, {}};
    if (weights_.empty()) {
        fit.model.fit(x, y, !noIntercept_);
    } else {
        checkWeights(selection.columns.back(), selection, weights_);
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
                              selection.rowNumbers};
    const Report report = regressionReport(task, fit.model, x, y);
    progress.stage("Writing");
    output_.deliver(report, {{save_, save_.path.empty() ? "" : writeModel(fit)}});
}

}  // namespace Veltrix::Tool
