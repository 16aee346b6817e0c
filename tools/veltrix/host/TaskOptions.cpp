#include "tools/veltrix/host/TaskOptions.h"

#include "tools/veltrix/host/InputOptions.h"

namespace Veltrix::Tool {

void TaskOptions::declareTarget(OptionGroup& options) {
    const bool either = hasRegressionOption();
    options
        .column(kTarget, target,
                either ? "Column to explain: classes, or numbers with --regression"
                       : "Column to explain")
        .required();
    options.list(predictorOption(), predictors,
                 "Columns that explain it, separated by commas; may be repeated, also for a name "
                 "that holds a comma. All other columns when left out");
    if (!needs.predicts) return;
    options.column(kPartitionColumn, partitionColumn,
                   "Column that says train, valid or test, as veltrix partition writes it; all "
                   "rows train when left out");
    if (either) {
        options.flag("--regression", regression, "Predicts numbers instead of classes");
    }
    if (needs.target != TargetKind::Numbers) declareClasses(options);
}

void TaskOptions::declareClasses(OptionGroup& options) {
    auto priors = options.list(ClassOptions::kPriors, classes.priors,
                               "Prior probabilities of all classes (a=0.3,b=0.7); their shares of "
                               "the training rows when left out");
    priors.placeholder("A=P,B=Q");
    auto success = options.text(ClassOptions::kSuccessClass, classes.successClass,
                                "The one of two classes that is predicted from the cutoff on");
    success.placeholder("CLASS");
    options.share("--cutoff", classes.cutoff, "Least probability at which it is")
        .needs(ClassOptions::kSuccessClass)
        .shown("0.5");
    if (!hasRegressionOption()) return;
    priors.excludes("--regression");
    success.excludes("--regression");
}

void TaskOptions::declare(OptionGroup& options) {
    if (input == Input::Own) return;
    declareRecords(options);
    declareRowChoice(options);
}

void TaskOptions::declareRecords(OptionGroup& options) {
    auto file =
        options.file(data, isSeries() ? "CSV file with a header row, rows in the order of time"
                                      : "CSV file with a header row");
    if (input == Input::Records) file.required();
    if (hasTarget()) {
        declareTarget(options);
    } else if (isSeries()) {
        options.column(predictorOption(), series, "Column with the series").required();
        options.column(kTime, time, "Column with the times, which tables show beside the values");
    } else {
        options.list(predictorOption(), predictors,
                     "Columns to look at, separated by commas; may be repeated, also for a name "
                     "that holds a comma. All columns of numbers when left out");
    }
    if (needs.weights) options.column(kWeights, weights, "Column with record weights of 0 or more");
    if (needs.coding == Coding::Categories) {
        if (needs.numbersAreCategories) return;
        options.list(kCategorical, categorical,
                     "Predictors of numbers that are names of categories; text columns always are");
    } else if (needs.coding != Coding::Numbers) {
        options
            .count("--max-levels", maxLevels,
                   "Most levels of a text predictor, each of which takes a column of numbers", 1)
            .shown(std::to_string(maxLevels));
    }
}

void TaskOptions::declareOutput(OptionGroup& options) {
    if (needs.confidence) options.confidence(confidence);
    output.declare(options);
    if (!needs.stored) return;
    options.file(save, input == Input::Records
                           ? "Stores the fitted model for veltrix predict (JSON)"
                           : "Stores the fitted model (JSON)");
}

DataFile TaskOptions::readData() const {
    CsvOptions csv;
    if (hasClasses()) csv.textColumns.push_back(target);
    if (!partitionColumn.empty()) csv.textColumns.push_back(partitionColumn);
    return DataFile(data.path, csv);
}

std::vector<RoleColumn> TaskOptions::roles() const {
    if (isSeries()) {
        return {{predictorOption(), series, "holds the series"}, {kTime, time, "holds the times"}};
    }
    return {{kTarget, target, "is the target"},
            {kPartitionColumn, partitionColumn, "holds the parts"},
            {kWeights, weights, "holds the weights"}};
}

}  // namespace Veltrix::Tool
