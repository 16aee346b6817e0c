#include "tools/veltrix/families/TreeCommand.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "Veltrix/Data/Exception.h"
#include "tools/veltrix/families/TreeReport.h"
#include "tools/veltrix/host/LearnerReport.h"
#include "tools/veltrix/host/ModelFile.h"
#include "tools/veltrix/host/Progress.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kColumnsPerSplit = "--columns-per-split";

/// The target of the rows, as the only column of a frame.
DataFrame targetFrame(const LearnerData& data, Part part) {
    DataFrame frame;
    if (data.labels.empty()) {
        frame.append(data.of(part, data.numbers));
    } else {
        frame.append(data.of(part, data.labels));
    }
    return frame;
}

}  // namespace

void TreeCommand::declare(CLI::App& app) {
    options_.declare(app);
    app.add_option("--categorical", categorical_,
                   "Predictors of numbers that are names of categories; text columns always are")
        ->allow_extra_args(false)
        ->type_name("A,B");
    const auto declareLimit = [&](const char* name, int& limit, const char* description,
                                  int least) {
        declareCount(app, name, limit, description, least)->type_name("N");
    };
    declareLimit("--max-splits", maxSplits_, "Most splits of the tree grown; no limit (default)",
                 0);
    declareLimit("--max-levels", maxLevels_,
                 "Most levels below the root; no limit (default). No node is split any more once "
                 "one on the last level is",
                 0);
    declareLimit("--max-nodes", maxNodes_, "Most nodes; no limit (default)", 1);
    declareLimit("--min-records", minRecords_,
                 "Fewest training rows of a node; a fiftieth of all of them, at least 1 (default)",
                 1);
    declareLimit(kColumnsPerSplit, columnsPerSplit_,
                 "Predictors tried at each split, drawn at random; all (default)", 1);
    declareSeed(app, seed_);
    options_.output.declare(app);
    declareFile(app, options_.save, "Stores the tree for veltrix predict (JSON)", false);
    app.footer(
        "With a validation part the tree is pruned, and the best pruned tree is the one that\n"
        "scores and is stored; without one it is the full tree.");
}

void TreeCommand::checkColumns(const LearnerData& data, std::size_t numPredictors) const {
    for (std::size_t column = 0; column < numPredictors; ++column) {
        if (data.selection.used[column].byLevel) checkNumLevels(data.selection, column);
    }
    if (static_cast<std::size_t>(columnsPerSplit_) <= numPredictors) return;
    throw UserError(fmt::format("{}: {}, expected at most the number of predictors, {}",
                                kColumnsPerSplit, columnsPerSplit_, numPredictors));
}

Engine::DT::Params TreeCommand::params(const LearnerData& data) const {
    constexpr std::uint64_t kShare = 50;
    const auto usual = static_cast<int>(data.rowsOf(Part::Training).size() / kShare);
    Engine::DT::Params params;
    params.maxSplits = maxSplits_;
    params.maxLevels = maxLevels_;
    params.maxNodes = maxNodes_;
    params.minRecords = minRecords_ > 0 ? minRecords_ : std::max(1, usual);
    params.seed = static_cast<int>(seed_);
    params.variablesPerSplit = columnsPerSplit_;
    return params;
}

void TreeCommand::fit(StoredTree& stored, const LearnerData& data,
                      const DataFrame& features) const {
    if (options_.regression) {
        stored.model.emplace<StoredTree::Regressor>();
    } else {
        options_.applyTo(stored.model.emplace<StoredTree::Classifier>(), data.classes);
    }
    Engine::DT::Model& model = stored.base();
    const auto part = [&](Part which, auto use) {
        const DataFrame target = targetFrame(data, which);
        use(features(data.rowsOf(which), Selection::all), target(Selection::all, 0));
    };
    try {
        model.setParams(params(data));
        part(Part::Training, [&](const auto& x, const auto& y) { model.fit(x, y); });
    } catch (const Exception& error) {  // categories that are too many to be tried
        constexpr std::string_view kOperation = "Tree fit: ";
        std::string_view problem = error.what();
        if (problem.starts_with(kOperation)) problem.remove_prefix(kOperation.size());
        throw UserError(fmt::format("{}: {}", LearnerOptions::kPredictors, problem));
    }
    if (!data.has(Part::Validation)) return;
    part(Part::Validation, [&](const auto& x, const auto& y) { model.prune(x, y); });
    model.select(DecisionTree::TreeType::bestPruned);
}

Table TreeCommand::summaryTable(const StoredTree& stored, const LearnerData& data) const {
    const auto limit = [](int number) {
        return number == kNoLimit ? Value("none") : Value(std::int64_t{number});
    };
    const Engine::DT::Model& model = stored.base();
    const Engine::DT::Params& params = model.getParams();
    const Engine::DT::Pruning& pruning = model.getPruning();
    const bool validated = pruning.numValidationRecords > 0;
    std::vector<Entry> entries = learnerEntries(options_, data, stored.columns.predictors().size());
    if (const auto* const classifier = std::get_if<StoredTree::Classifier>(&stored.model)) {
        for (Entry& entry : successEntries(*classifier)) entries.push_back(std::move(entry));
    }
    const std::vector<Entry> growth{
        {"Most splits", limit(params.maxSplits)},
        {"Most levels", limit(params.maxLevels)},
        {"Most nodes", limit(params.maxNodes)},
        {"Fewest records of a node", std::int64_t{params.minRecords}},
        {"Columns per split", columnsPerSplit_ == 0 ? Value("all") : limit(columnsPerSplit_)},
        {"Seed", std::int64_t{seed_}},
        {"Nodes of the full tree", std::int64_t{model.getNumNodes()}},
        {"Selected tree", validated ? "best pruned" : "full"},
        {"Leaves of the selected tree", std::int64_t{model.getNumLeaves()}}};
    entries.insert(entries.end(), growth.begin(), growth.end());
    return entryTable("Summary", std::move(entries), data.textPredictors.notes);
}

Report TreeCommand::makeReport(const StoredTree& stored, const LearnerData& data,
                               const DataFrame& features) const {
    Report report{.title = "Decision tree for " + options_.target, .tables = {}};
    report.tables = {summaryTable(stored, data), partTable(data)};
    if (const auto* const classifier = std::get_if<StoredTree::Classifier>(&stored.model)) {
        report.tables.push_back(classTable(data, *classifier));
    }
    addPruning(report, stored.base());
    addTrees(report, stored);
    addScores(report, data,
              [&](const IntVector& rows) { return stored.score(features(rows, Selection::all)); });
    return report;
}

void TreeCommand::run() {
    options_.output.checkFiles({options_.data}, {options_.save});
    Progress progress;
    progress.stage("Reading " + options_.data.path);
    const DataFile file = options_.readData();
    const std::vector<RoleColumn> roles = options_.roles();
    checkRoles(file, roles);
    StoredTree stored;
    stored.setTarget(options_.target);
    stored.columns = TreeColumns(
        file, choosePredictors(file, LearnerOptions::kPredictors, options_.predictors, roles),
        splitNames(file, categorical_));
    const LearnerData data =
        selectLearnerData(file, options_, stored.columns.used(LearnerOptions::kPredictors));
    checkColumns(data, stored.columns.predictors().size());

    progress.stage("Growing the tree");
    const DataFrame features = stored.columns.frame(data.selection);
    fit(stored, data, features);
    progress.stage("Computing the report");
    const Report report = makeReport(stored, data, features);
    progress.stage("Writing");
    options_.output.deliver(
        report, {{options_.save, options_.save.path.empty() ? "" : writeModel(stored)}});
}

}  // namespace Veltrix::Tool
