#include "tools/veltrix/families/KnnCommand.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <utility>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "tools/veltrix/host/LearnerReport.h"
#include "tools/veltrix/host/ModelFile.h"
#include "tools/veltrix/host/Progress.h"
#include "tools/veltrix/host/SamplingOptions.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kNumber = "--k";
constexpr const char* kLargestNumber = "--max-k";
constexpr const char* kWeights = "--weights";

/// A class whose records all weigh nothing could not get its prior.
void checkClassWeights(const StringVector& labels, const Vector& weights,
                       const std::string& column) {
    std::map<WString, double> totals;
    for (std::uint64_t i = 0; i < labels.size(); ++i) totals[labels[i]] += weights[i];
    for (const auto& [label, total] : totals) {
        if (total > 0.0) continue;
        throw UserError(
            fmt::format("{}: column {} holds only 0 in the training rows of class {}, "
                        "expected a weight above 0",
                        kWeights, Tool::quoted(column), Tool::quoted(label.toUtf8())));
    }
}

/// The curve of a search whose log is the table at that position.
void addChart(Report& report, std::size_t table) {
    const auto& errors = std::get<Vector>(report.tables[table].columns[1].values);
    if (!std::ranges::all_of(errors, [](double error) { return std::isfinite(error); })) return;
    report.charts.push_back(
        {.title = "Search over k", .x = {table, 0}, .y = {table, 1}, .lines = {{table, 1}}});
}

}  // namespace

void KnnCommand::declare(CLI::App& app) {
    options_.declare(app);
    CLI::Option* const number = declareCount(app, kNumber, k_, "Number of neighbours that vote", 1);
    declareCount(app, kLargestNumber, maxK_,
                 "Takes the best number from 1 to this one, by the errors in the validation part, "
                 "or in the training part when there is none",
                 1)
        ->excludes(number);
    app.add_option("--weighting", weighting_,
                   "What a neighbour's vote weighs: equal, or distance for the reciprocal of its "
                   "squared distance")
        ->check(CLI::IsMember({kEqualWeighting, kDistanceWeighting}))
        ->type_name("SCHEME")
        ->capture_default_str();
    app.add_flag("--ties", ties_, "Lets all records vote that are as far away as the k-th");
    app.add_option(kWeights, weights_, "Column with record weights of 0 or more")
        ->type_name("COLUMN");
    options_.output.declare(app);
    declareFile(app, options_.save, "Stores the fitted model for veltrix predict (JSON)", false);
    app.footer(
        "Distances are Euclidean over the predictors as they are: bring them to one scale first.\n"
        "A text predictor becomes one 0/1 column for each of its levels.");
}

void KnnCommand::checkNumber() const {
    if (k_ > 0 || maxK_ > 0) return;
    throw UserError(
        fmt::format("{}: not given, expected {} or {}", kNumber, kNumber, kLargestNumber));
}

Vector KnnCommand::trainingWeights(const LearnerData& data, std::size_t column) const {
    Vector weights = data.of(Part::Training, data.selection.columns[column]);
    checkWeights(weights, data.selection.used[column],
                 data.of(Part::Training, data.selection.rowNumbers));
    if (!options_.regression) {
        checkClassWeights(data.of(Part::Training, data.labels), weights, weights_);
    }
    return weights;
}

void KnnCommand::fit(StoredKnn& stored, const LearnerData& data, const Matrix& x) const {
    const IntVector& rows = data.rowsOf(Part::Training);
    for (const auto& [option, number] :
         {std::pair(kNumber, k_), std::pair(kLargestNumber, maxK_)}) {
        if (static_cast<std::uint64_t>(number) <= rows.size()) continue;
        throw UserError(fmt::format("{}: {}, expected at most the number of training rows, {}",
                                    option, number, rows.size()));
    }
    const Matrix training = x(rows, Selection::all);
    const Vector weights =
        weights_.empty() ? Vector() : trainingWeights(data, stored.coding().predictors().size());
    const auto fitForm = [&](auto& form, const auto& response) {
        if (!weights.empty()) form.setWeights(weights);
        form.fit(training, response);
    };
    stored.k = k_;
    stored.includeTies = ties_;
    stored.scheme = weighting_ == kEqualWeighting ? StoredKnn::WeightingScheme::equalVotes
                                                  : StoredKnn::WeightingScheme::inverseDistance;
    if (options_.regression) {
        fitForm(stored.model.emplace<StoredKnn::Regressor>(),
                data.of(Part::Training, data.numbers));
        return;
    }
    auto& classifier = stored.model.emplace<StoredKnn::Classifier>();
    options_.applyTo(classifier, data.classes);
    fitForm(classifier, data.of(Part::Training, data.labels));
}

Table KnnCommand::search(StoredKnn& stored, const LearnerData& data, const Matrix& x) const {
    const Part part = data.has(Part::Validation) ? Part::Validation : Part::Training;
    const auto searchForm = [&](const auto& form, const auto& actual) {
        return form.kSearch(x(data.rowsOf(part), Selection::all), data.of(part, actual), maxK_,
                            ties_, false, stored.scheme);
    };
    const Engine::KNN::KSearchInfo found =
        options_.regression
            ? searchForm(std::get<StoredKnn::Regressor>(stored.model), data.numbers)
            : searchForm(std::get<StoredKnn::Classifier>(stored.model), data.labels);
    stored.k = found.bestK;
    std::vector<std::int64_t> numbers(static_cast<std::size_t>(maxK_));
    std::iota(numbers.begin(), numbers.end(), std::int64_t{1});
    std::vector<std::string> marks(numbers.size());
    marks[static_cast<std::size_t>(found.bestK - 1)] = "best";
    Table table =
        makeTable(fmt::format("Search log: {}", partName(part)), Column{"k", std::move(numbers)},
                  series(found.searchLog.getColName(0).toUtf8(),
                         found.searchLog(Selection::all, 0).toDoubleVector()),
                  Column{"Chosen", std::move(marks)});
    if (part == Part::Training) {
        table.notes.emplace_back(
            "There is no validation part. Every training record is its own nearest neighbour, "
            "which makes a small k look better than it is.");
    }
    return table;
}

Table KnnCommand::summaryTable(const StoredKnn& stored, const LearnerData& data) const {
    std::vector<Entry> entries =
        learnerEntries(options_, data, stored.coding().predictors().size());
    entries.push_back(
        {"Columns", static_cast<std::int64_t>(stored.base().getTrainingFeatures().getNumCols())});
    entries.push_back({"k", std::int64_t{stored.k}});
    entries.push_back({"Weighting", weighting_});
    entries.push_back({"Ties at the k-th distance", ties_ ? "all vote" : "first rows vote"});
    entries.push_back({"Record weights", weights_.empty() ? "none" : weights_});
    if (const auto* const classifier = std::get_if<StoredKnn::Classifier>(&stored.model)) {
        for (Entry& entry : successEntries(*classifier)) entries.push_back(std::move(entry));
    }
    return entryTable("Summary", std::move(entries), data.textPredictors.notes);
}

Report KnnCommand::makeReport(StoredKnn& stored, const LearnerData& data, const Matrix& x) const {
    Report report{.title = "Nearest neighbours for " + options_.target, .tables = {}};
    std::vector<Table> logs;
    if (maxK_ > 0) logs.push_back(search(stored, data, x));
    report.tables.push_back(summaryTable(stored, data));
    report.tables.push_back(partTable(data));
    if (const auto* const classifier = std::get_if<StoredKnn::Classifier>(&stored.model)) {
        report.tables.push_back(classTable(data, *classifier));
    }
    for (Table& log : logs) {
        report.tables.push_back(std::move(log));
        addChart(report, report.tables.size() - 1);
    }
    addScores(
        report, data, [&](const IntVector& rows) { return stored.score(x(rows, Selection::all)); },
        "Every training record is among its own neighbours.");
    return report;
}

void KnnCommand::run() {
    checkNumber();
    options_.output.checkFiles({options_.data}, {options_.save});
    Progress progress;
    progress.stage("Reading " + options_.data.path);
    const DataFile file = options_.readData();
    std::vector<RoleColumn> roles = options_.roles();
    roles.push_back({kWeights, weights_, "holds the weights"});
    checkRoles(file, roles);
    PredictorCoding coding(
        choosePredictors(file, LearnerOptions::kPredictors, options_.predictors, roles),
        LevelColumns::All);
    std::vector<UsedColumn> further;
    if (!weights_.empty()) further.push_back({kWeights, weights_});
    const LearnerData data = selectLearnerData(
        file, options_, coding.usedForFit(LearnerOptions::kPredictors, file), further);
    coding.learn(data.selection, 0);

    StoredKnn stored;
    stored.setTarget(options_.target);
    stored.setCoding(std::move(coding));
    const Matrix x = stored.coding().code(data.selection, 0);
    fit(stored, data, x);
    progress.stage("Scoring");
    const Report report = makeReport(stored, data, x);
    progress.stage("Writing");
    options_.output.deliver(
        report, {{options_.save, options_.save.path.empty() ? "" : writeModel(stored)}});
}

}  // namespace Veltrix::Tool
