#include "tools/veltrix/host/FamilyCommand.h"

#include <fmt/format.h>

#include "Veltrix/Data/Exception.h"
#include "tools/veltrix/host/Evaluation.h"
#include "tools/veltrix/host/InputOptions.h"
#include "tools/veltrix/host/ModelFile.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

std::string joined(const std::vector<std::string>& names) {
    return fmt::format("{}", fmt::join(names, ", "));
}

/// Does what may throw the engine's exceptions, which become mistakes in what the option named.
template <class Fit>
void fitTo(const std::string& option, const Fit& fit) {
    try {
        fit();
    } catch (const Cancelled&) {
        throw;
    } catch (const Exception& error) {
        std::string_view problem = error.what();
        // The operation that found it is nothing to the user.
        const std::size_t operation = problem.find(": ");
        if (operation != std::string_view::npos) problem.remove_prefix(operation + 2);
        throw UserError(fmt::format("{}: {}", option, problem));
    }
}

Input inputOf(bool records, bool own) {
    if (!own) return Input::Records;
    return records ? Input::Either : Input::Own;
}

constexpr std::string_view kFitting = "Fitting the model";
constexpr std::string_view kReporting = "Computing the report";

}  // namespace

FamilyCommand::FamilyCommand(std::unique_ptr<Family> family)
    : family_(std::move(family)),
      records_(dynamic_cast<RecordFamily*>(family_.get())),
      own_(dynamic_cast<OwnInput*>(family_.get())),
      options_(family_->needs(), inputOf(records_ != nullptr, own_ != nullptr)) {}

void FamilyCommand::declare(OptionGroup& options) {
    options_.declare(options);
    family_->options(options);
    options_.declareOutput(options);
}

void FamilyCommand::summarize(Table& summary, const Prepared& data) const {
    summary.entry("Data file", options_.data.path);
    addDialect(summary, data.dialect);
    if (options_.hasTarget()) {
        summary.entry("Target", options_.target);
    } else {
        summary.entry(options_.isSeries() ? "Series" : "Columns", joined(data.coding.predictors()));
        if (!data.leftOut.empty()) summary.entry("Text columns left out", joined(data.leftOut));
    }
    if (options_.hasRegressionOption()) {
        summary.entry("Task", options_.regression ? "regression" : "classification");
    }
    summary.entry("Rows read", data.rowsRead);
    if (data.rowsChosen < data.rowsRead) summary.entry("Rows chosen", data.rowsChosen);
    summary.entry("Rows used", data.rowsUsed)
        .entry("Rows left out (missing values)", data.rowsChosen - data.rowsUsed);
    if (options_.hasTarget()) {
        if (!options_.partitionColumn.empty()) {
            summary.entry("Partition column", options_.partitionColumn);
        } else if (!options_.needs.describesTraining) {
            summary.entry("Partition column", "none");
        }
        summary.entry("Predictors", static_cast<std::int64_t>(data.coding.predictors().size()))
            .entry("Text predictors", data.text.list);
    }
    const ClassRoles roles = records_->roles();
    if (roles.classes.size() == 2 && !roles.successClass.empty()) {
        summary.entry("Success class", roles.successClass.toUtf8()).entry("Cutoff", roles.cutoff);
    }
    records_->summarize(summary, data);
    summary.note(data.text.notes);
}

Report FamilyCommand::makeReport(const Prepared& data) const {
    ReportBuilder report(family_->title(options_.subject()));
    summarize(report.table("Summary"), data);
    const bool hasParts = options_.hasTarget() &&
                          (!options_.needs.describesTraining || !options_.partitionColumn.empty());
    if (hasParts) addParts(report, data);
    addClasses(report, data, records_->roles());
    records_->describe(report, data);
    if (options_.hasTarget() && options_.needs.predicts) addEvaluation(report, data, *records_);
    return report.take();
}

FamilyCommand::Results FamilyCommand::runRecords(ProgressLine& progress) {
    const Prepared data = prepare(options_.readData(), options_);
    progress.stage(kFitting);
    fitTo(options_.predictorOption(), [&] { records_->fit(data); });
    progress.stage(kReporting);
    Results results{makeReport(data), {}};
    if (!options_.save.path.empty()) {
        const std::string target =
            options_.subject().empty() ? family_->names().product : options_.subject();
        PredictorCoding coding = data.coding;
        records_->narrow(coding);
        results.model = writeModel(target, coding, *family_);
    }
    return results;
}

FamilyCommand::Results FamilyCommand::runOwnInput(ProgressLine& progress) {
    own_->read();
    progress.stage(kFitting);
    fitTo(own_->file().option, [&] { own_->fit(); });
    progress.stage(kReporting);
    ReportBuilder report(family_->title({}));
    own_->summarize(report.table("Summary").entry(own_->inputName(), own_->file().path));
    own_->describe(report);
    Results results{report.take(), {}};
    if (!options_.save.path.empty()) results.model = writeModel(*family_);
    return results;
}

bool FamilyCommand::takesOwnInput() const {
    if (own_ == nullptr) return false;
    if (!own_->file().path.empty()) return true;
    if (!options_.data.path.empty()) return false;
    throw UserError(fmt::format("{}: not given, expected this or {}", options_.data.option,
                                own_->file().option));
}

void FamilyCommand::run() {
    family_->checkOptions();
    const bool own = takesOwnInput();
    const FileOption& input = own ? own_->file() : options_.data;
    std::vector<FileOption> outputs{options_.save};
    for (const FileContent& file : family_->files()) outputs.push_back(file.target);
    options_.output.checkFiles({input}, outputs);
    ProgressLine progress;
    progress.stage("Reading " + input.path);
    Results results = own ? runOwnInput(progress) : runRecords(progress);
    progress.stage("Writing");
    std::vector<FileContent> files = family_->files();
    files.push_back({options_.save, std::move(results.model)});
    options_.output.deliver(results.report, files);
}

}  // namespace Veltrix::Tool
