#include "tools/veltrix/host/LearnerReport.h"

#include <cmath>
#include <numeric>
#include <unordered_map>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/ClassPrediction.h"
#include "tools/veltrix/host/StoredModel.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using Counts = std::vector<std::int64_t>;

std::vector<std::string> toTexts(const StringVector& labels) {
    std::vector<std::string> texts;
    texts.reserve(labels.size());
    for (const WString& label : labels) texts.push_back(label.toUtf8());
    return texts;
}

/// Positions of labels in a list.
class ClassIndex {
  public:
    explicit ClassIndex(const StringVector& classes) {
        for (const WString& label : classes) indexes_.emplace(label, indexes_.size());
    }
    /// The length of the list for a label that is not in it.
    std::size_t operator[](const WString& label) const {
        const auto found = indexes_.find(label);
        return found == indexes_.end() ? indexes_.size() : found->second;
    }

  private:
    std::unordered_map<WString, std::size_t> indexes_;
};

double percentOf(std::int64_t count, std::int64_t total) {
    return total == 0 ? std::nan("")
                      : 100.0 * static_cast<double>(count) / static_cast<double>(total);
}

/// How often each actual class (row) was taken for each class of the model (column); the last
/// column counts records without a prediction.
class Confusion {
  public:
    Confusion(const LearnerData& data, Part part, const StringVector& predicted)
        : actual_(Util::uniqueElements(data.labels)),
          counts_(data.classes.size() + 1, Counts(actual_.size() + 1)),
          errors_(actual_.size() + 1) {
        const ClassIndex rows(actual_);
        const ClassIndex columns(data.classes);
        std::uint64_t record = 0;
        for (const int position : data.rowsOf(part)) {
            const WString& label = data.labels[static_cast<std::uint64_t>(position)];
            const WString& found = predicted[record++];
            for (const std::size_t row : {rows[label], static_cast<std::size_t>(actual_.size())}) {
                ++counts_[columns[found]][row];
                errors_[row] += label == found ? 0 : 1;
            }
        }
    }

    Table table(const StringVector& classes, std::string title) {
        std::vector<std::string> names = toTexts(actual_);
        names.emplace_back("All");
        Counts records(names.size());
        for (const Counts& column : counts_) {
            for (std::size_t i = 0; i < records.size(); ++i) records[i] += column[i];
        }
        Vector percent(records.size());
        for (std::size_t i = 0; i < records.size(); ++i) {
            percent[i] = percentOf(errors_[i], records[i]);
        }
        Table table = makeTable(std::move(title), Column{"Actual", std::move(names)});
        for (std::size_t j = 0; j < classes.size(); ++j) {
            table.columns.push_back({classes[j].toUtf8(), std::move(counts_[j])});
        }
        const std::int64_t without = counts_.back().back();
        table.columns.push_back({"Records", std::move(records)});
        table.columns.push_back({"Errors", std::move(errors_)});
        table.columns.push_back(series("% Errors", std::move(percent)));
        if (without > 0) {
            table.notes.push_back(fmt::format("{} without a prediction; errors count them.",
                                              counted(without, "record")));
        }
        return table;
    }

  private:
    StringVector actual_;
    std::vector<Counts> counts_;
    Counts errors_;
};

/// Measures of the differences between numbers and their predictions, where there is one.
struct ErrorMeasures {
    double sse = 0.0;
    double absolute = 0.0;
    double sst = 0.0;
    double n = 0.0;
    std::int64_t without = 0;

    ErrorMeasures(const Vector& allActual, const Vector& predicted) {
        Vector actual;
        actual.reserve(allActual.size());
        for (std::uint64_t i = 0; i < allActual.size(); ++i) {
            if (std::isnan(predicted[i])) continue;
            const double error = allActual[i] - predicted[i];
            sse += error * error;
            absolute += std::fabs(error);
            actual.push_back(allActual[i]);
        }
        n = static_cast<double>(actual.size());
        without = static_cast<std::int64_t>(allActual.size() - actual.size());
        const double mean = Util::mean(actual);
        for (const double y : actual) sst += (y - mean) * (y - mean);
    }
};

Table errorTable(const std::vector<std::pair<Part, ErrorMeasures>>& measures) {
    std::vector<std::string> parts;
    std::vector<std::string> notes;
    Counts records;
    std::array<Vector, 5> columns;
    for (const auto& [part, found] : measures) {
        parts.emplace_back(partName(part));
        records.push_back(std::llround(found.n));
        if (found.without > 0) {
            notes.push_back(fmt::format("{}: {} without a prediction; measures leave them out.",
                                        partName(part), counted(found.without, "record")));
        }
        const double mse = found.sse / found.n;
        const double r2 = found.sst > 0.0 ? 1.0 - found.sse / found.sst : std::nan("");
        const std::array row{found.sse, mse, std::sqrt(mse), found.absolute / found.n, r2};
        for (std::size_t j = 0; j < row.size(); ++j) columns[j].push_back(row[j]);
    }
    auto& [sse, mse, rmse, mad, r2] = columns;
    Table table = makeTable("Error measures", Column{"Part", std::move(parts)},
                            Column{"Records", std::move(records)}, Column{"SSE", std::move(sse)},
                            Column{"MSE", std::move(mse)}, Column{"RMSE", std::move(rmse)},
                            Column{"MAD", std::move(mad)}, Column{"R2", std::move(r2)});
    table.notes = std::move(notes);
    return table;
}

Table scoreTable(const LearnerData& data, Part part, const Scores& scores) {
    const bool classes = !data.labels.empty();
    Column actual = classes ? Column{"Actual", toTexts(data.of(part, data.labels))}
                            : series("Actual", data.of(part, data.numbers));
    Table table =
        recordTable(fmt::format("Scores: {}", partName(part)),
                    Column{"Row", data.of(part, data.selection.rowNumbers)}, std::move(actual));
    for (Column& column : scoreColumns(scores)) table.columns.push_back(std::move(column));
    if (!classes) {
        table.columns.push_back(series("Residual", data.of(part, data.numbers) - scores.numbers));
    }
    return table;
}

}  // namespace

Scores classScores(DataFrame posteriors, const Engine::Classification::Modelable& model) {
    const DataFrame predicted =
        Classification::Engine::predict(posteriors, model.getPriorVector(), model.getSuccessClass(),
                                        model.getSuccessProbabilityCutoff());
    StringVector labels = predicted(Selection::all, 0).toStringVector();
    for (int j = 0; j < posteriors.getNumCols(); ++j) {
        const Vector probabilities = posteriors(Selection::all, j).toDoubleVector();
        for (std::uint64_t i = 0; i < labels.size(); ++i) {
            if (std::isnan(probabilities[i])) labels[i] = WString();
        }
    }
    return {std::move(posteriors), std::move(labels), {}};
}

std::vector<Column> scoreColumns(const Scores& scores) {
    if (scores.posteriors.getNumCols() == 0) return {series("Prediction", scores.numbers)};
    std::vector<Column> columns{{"Predicted", toTexts(scores.predicted)}};
    for (int j = 0; j < scores.posteriors.getNumCols(); ++j) {
        columns.push_back({fmt::format("P({})", scores.posteriors.getColName(j).toUtf8()),
                           scores.posteriors(Selection::all, j).toDoubleVector(),
                           NumberStyle::Series});
    }
    return columns;
}

std::vector<Entry> learnerEntries(const LearnerOptions& options, const LearnerData& data,
                                  std::size_t numPredictors) {
    return {
        {"Data file", options.data.path},
        {"Target", options.target},
        {"Task", options.regression ? kRegression : kClassification},
        {"Rows read", data.selection.rowsRead},
        {"Rows used", data.selection.rowsUsed()},
        {"Rows left out (missing values)", data.selection.rowsLeftOut()},
        {"Partition column", options.partitionColumn.empty() ? "none" : options.partitionColumn},
        {"Predictors", static_cast<std::int64_t>(numPredictors)},
        {"Text predictors", data.textPredictors.list}};
}

std::vector<Entry> successEntries(const Engine::Classification::Modelable& model) {
    if (!model.isBinary() || model.getSuccessClass().empty()) return {};
    return {{"Success class", model.getSuccessClass().toUtf8()},
            {"Cutoff", model.getSuccessProbabilityCutoff()}};
}

Table partTable(const LearnerData& data) {
    std::vector<std::string> names;
    Counts read;
    Counts used;
    Counts leftOut;
    for (const Part part : kParts) {
        if (data.rowsRead[static_cast<std::size_t>(part)] == 0) continue;
        names.emplace_back(partName(part));
        read.push_back(data.rowsRead[static_cast<std::size_t>(part)]);
        used.push_back(static_cast<std::int64_t>(data.rowsOf(part).size()));
        leftOut.push_back(read.back() - used.back());
    }
    return makeTable("Parts", Column{"Part", std::move(names)}, Column{"Rows read", read},
                     Column{"Rows used", used}, Column{"Rows left out", leftOut});
}

Table classTable(const LearnerData& data, const Engine::Classification::Modelable& model) {
    const StringVector labels = Util::uniqueElements(data.labels);
    const ClassIndex rows(labels);
    std::vector<Value> priors;
    for (const WString& label : labels) {
        const auto prior = model.getPriors().find(label);
        if (prior == model.getPriors().end()) {
            priors.emplace_back();
        } else {
            priors.emplace_back(prior->second);
        }
    }
    Table table = makeTable("Classes", Column{"Class", toTexts(labels)},
                            Column{"Prior", std::move(priors), NumberStyle::Series});
    for (const Part part : kParts) {
        if (!data.has(part)) continue;
        Counts counts(labels.size());
        for (const WString& label : data.of(part, data.labels)) ++counts[rows[label]];
        table.columns.push_back({fmt::format("Records: {}", partName(part)), std::move(counts)});
    }
    if (labels.size() > data.classes.size()) {
        table.notes.emplace_back(
            "A class without a prior has no training record and is never predicted.");
    }
    return table;
}

void addScores(Report& report, const LearnerData& data,
               const std::function<Scores(const IntVector& rows)>& score,
               const std::string& trainingNote) {
    const std::size_t firstTable = report.tables.size();
    std::vector<Table> records;
    std::vector<std::pair<Part, ErrorMeasures>> measures;
    for (const Part part : kParts) {
        if (!data.has(part)) continue;
        const Scores scores = score(data.rowsOf(part));
        records.push_back(scoreTable(data, part, scores));
        if (data.labels.empty()) {
            measures.emplace_back(part, ErrorMeasures(data.of(part, data.numbers), scores.numbers));
            continue;
        }
        report.tables.push_back(
            Confusion(data, part, scores.predicted)
                .table(data.classes, fmt::format("Confusion matrix: {}", partName(part))));
    }
    if (!measures.empty()) report.tables.push_back(errorTable(measures));
    if (!trainingNote.empty()) report.tables[firstTable].notes.push_back(trainingNote);
    for (Table& table : records) report.tables.push_back(std::move(table));
}

}  // namespace Veltrix::Tool
