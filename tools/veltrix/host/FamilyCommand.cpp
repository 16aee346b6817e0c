#include "tools/veltrix/host/FamilyCommand.h"

#include <fmt/format.h>

#include "Veltrix/Data/Exception.h"
#include "tools/veltrix/host/Evaluation.h"
#include "tools/veltrix/host/ModelFile.h"
#include "tools/veltrix/host/Progress.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

std::string joined(const std::vector<std::string>& names) {
    return fmt::format("{}", fmt::join(names, ", "));
}

}  // namespace

void FamilyCommand::declare(OptionGroup& options) {
    options_.declare(options);
    family_->options(options);
    options_.declareOutput(options);
}

void FamilyCommand::fit(const Prepared& data) {
    try {
        family_->fit(data);
    } catch (const Cancelled&) {
        throw;
    } catch (const Exception& error) {
        std::string_view problem = error.what();
        // The operation that found it is nothing to the user.
        const std::size_t operation = problem.find(": ");
        if (operation != std::string_view::npos) problem.remove_prefix(operation + 2);
        throw UserError(fmt::format("{}: {}", options_.predictorOption(), problem));
    }
}

void FamilyCommand::summarize(Table& summary, const Prepared& data) const {
    summary.entry("Data file", options_.data.path);
    if (options_.hasTarget()) {
        summary.entry("Target", options_.target);
    } else {
        summary.entry(options_.isSeries() ? "Series" : "Columns", joined(data.coding.predictors()));
        if (!data.leftOut.empty()) summary.entry("Text columns left out", joined(data.leftOut));
    }
    if (options_.needs.target == TargetKind::Either) {
        summary.entry("Task", options_.regression ? "regression" : "classification");
    }
    summary.entry("Rows read", data.rowsRead)
        .entry("Rows used", data.rowsUsed)
        .entry("Rows left out (missing values)", data.rowsRead - data.rowsUsed);
    if (options_.hasTarget()) {
        if (!options_.partitionColumn.empty()) {
            summary.entry("Partition column", options_.partitionColumn);
        } else if (!options_.needs.describesTraining) {
            summary.entry("Partition column", "none");
        }
        summary.entry("Predictors", static_cast<std::int64_t>(data.coding.predictors().size()))
            .entry("Text predictors", data.text.list);
    }
    const ClassRoles roles = family_->roles();
    if (roles.classes.size() == 2 && !roles.successClass.empty()) {
        summary.entry("Success class", roles.successClass.toUtf8()).entry("Cutoff", roles.cutoff);
    }
    family_->summarize(summary, data);
    summary.note(data.text.notes);
}

Report FamilyCommand::makeReport(const Prepared& data) const {
    ReportBuilder report(family_->title(options_.subject()));
    summarize(report.table("Summary"), data);
    const bool evaluates = options_.hasTarget() &&
                           (!options_.needs.describesTraining || !options_.partitionColumn.empty());
    if (evaluates) addParts(report, data);
    addClasses(report, data, family_->roles());
    family_->describe(report, data);
    if (evaluates) addEvaluation(report, data, *family_);
    return report.take();
}

void FamilyCommand::run() {
    family_->checkOptions();
    options_.output.checkFiles({options_.data}, {options_.save});
    ProgressLine progress;
    progress.stage("Reading " + options_.data.path);
    const Prepared data = prepare(options_.readData(), options_);
    progress.stage("Fitting the model");
    fit(data);
    progress.stage("Computing the report");
    const Report report = makeReport(data);
    std::string model;
    if (!options_.save.path.empty()) {
        const std::string target =
            options_.hasTarget() ? options_.target : family_->names().product;
        model = writeModel(target, data.coding, *family_);
    }
    progress.stage("Writing");
    options_.output.deliver(report, {{options_.save, std::move(model)}});
}

}  // namespace Veltrix::Tool
