#include "tools/veltrix/host/Evaluation.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <unordered_map>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Util.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using Counts = std::vector<std::int64_t>;

/// For every label of the data the position of the model's class, -1 when it has none.
IntVector classOfLabel(const Prepared& data, const Scores& scores) {
    std::unordered_map<WString, int> places;
    for (const WString& name : scores.posteriors.getColNames()) {
        places.emplace(name, static_cast<int>(places.size()));
    }
    IntVector result;
    for (const WString& label : data.labels) {
        const auto place = places.find(label);
        result.push_back(place == places.end() ? -1 : place->second);
    }
    return result;
}

/// How often each actual class (row) was taken for each class of the model (column).
Table& addConfusion(ReportBuilder& report, const Prepared& data, Part which, const Scores& scores) {
    const std::vector<std::string> classes = toTexts(scores.posteriors.getColNames());
    const IntVector classOf = classOfLabel(data, scores);
    const std::size_t all = data.labels.size();  // the last row
    std::vector<Counts> counts(classes.size(), Counts(all + 1));
    Counts records(all + 1);
    Counts errors(all + 1);
    std::int64_t without = 0;
    const PartData& part = data.part(which);
    for (std::uint64_t i = 0; i < part.labels.size(); ++i) {
        const auto label = static_cast<std::size_t>(part.labels[i]);
        const int found = scores.predicted[i];
        if (found < 0) ++without;
        for (const std::size_t row : {label, all}) {
            ++records[row];
            if (found >= 0) ++counts[static_cast<std::size_t>(found)][row];
            if (found < 0 || found != classOf[label]) ++errors[row];
        }
    }
    Vector percent;
    for (std::size_t row = 0; row <= all; ++row) {
        percent.push_back(records[row] == 0 ? std::nan("")
                                            : 100.0 * static_cast<double>(errors[row]) /
                                                  static_cast<double>(records[row]));
    }
    std::vector<std::string> names = toTexts(data.labels);
    names.emplace_back("All");
    Table& table = report.table(fmt::format("Confusion matrix: {}", partName(which)));
    table.text("Actual", std::move(names));
    for (std::size_t j = 0; j < classes.size(); ++j) table.integers(classes[j], counts[j]);
    table.integers("Records", std::move(records)).integers("Errors", std::move(errors));
    table.series("% Errors", std::move(percent));
    if (without > 0) {
        table.note(
            fmt::format("{} without a prediction; errors count them.", counted(without, "record")));
    }
    return table;
}

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

Table& addErrors(ReportBuilder& report,
                 const std::vector<std::pair<Part, ErrorMeasures>>& measures) {
    Table& table = report.table("Error measures");
    std::vector<std::string> parts;
    Counts records;
    std::array<Vector, 5> columns;
    for (const auto& [part, found] : measures) {
        parts.emplace_back(partName(part));
        records.push_back(std::llround(found.n));
        if (found.without > 0) {
            table.note(fmt::format("{}: {} without a prediction; measures leave them out.",
                                   partName(part), counted(found.without, "record")));
        }
        const double mse = found.sse / found.n;
        const double r2 = found.sst > 0.0 ? 1.0 - found.sse / found.sst : std::nan("");
        const std::array row{found.sse, mse, std::sqrt(mse), found.absolute / found.n, r2};
        for (std::size_t j = 0; j < row.size(); ++j) columns[j].push_back(row[j]);
    }
    table.text("Part", std::move(parts)).integers("Records", std::move(records));
    constexpr std::array kNames{"SSE", "MSE", "RMSE", "MAD", "R2"};
    for (std::size_t j = 0; j < columns.size(); ++j) {
        table.numbers(kNames[j], std::move(columns[j]));
    }
    return table;
}

void addScores(ReportBuilder& report, const Prepared& data, Part which, const Scores& scores) {
    const PartData& part = data.part(which);
    Table& table = report.records(fmt::format("Scores: {}", partName(which)));
    table.integers("Row", part.rowNumbers);
    if (scores.hasClasses()) {
        table.text("Actual", data.labelsOf(part));
    } else {
        table.series("Actual", part.numbers);
    }
    for (Column& column : scores.columns()) table.add(std::move(column));
    if (!scores.hasClasses()) table.series("Residual", part.numbers - scores.numbers);
}

}  // namespace

void addParts(ReportBuilder& report, const Prepared& data) {
    std::vector<std::string> names;
    Counts read;
    Counts used;
    Counts leftOut;
    for (const Part which : kParts) {
        const PartData& part = data.part(which);
        if (part.rowsRead == 0) continue;
        names.emplace_back(partName(which));
        read.push_back(part.rowsRead);
        used.push_back(static_cast<std::int64_t>(part.count()));
        leftOut.push_back(read.back() - used.back());
    }
    report.table("Parts")
        .text("Part", std::move(names))
        .integers("Rows read", std::move(read))
        .integers("Rows used", std::move(used))
        .integers("Rows left out", std::move(leftOut));
}

void addClasses(ReportBuilder& report, const Prepared& data, const ClassRoles& roles) {
    if (roles.classes.empty()) return;
    std::vector<Value> priors;
    for (const WString& label : data.labels) {
        const auto prior = roles.priors.find(label);
        if (prior == roles.priors.end()) {
            priors.emplace_back();
        } else {
            priors.emplace_back(prior->second);
        }
    }
    Table& table = report.table("Classes");
    table.text("Class", data.labels).cells("Prior", std::move(priors), NumberStyle::Series);
    for (const Part part : kParts) {
        if (!data.has(part)) continue;
        Counts counts(data.labels.size());
        for (const int label : data.part(part).labels) ++counts[static_cast<std::size_t>(label)];
        table.integers(fmt::format("Records: {}", partName(part)), std::move(counts));
    }
    if (data.labels.size() > roles.classes.size()) {
        table.note("A class without a prior has no training record and is never predicted.");
    }
}

void addEvaluation(ReportBuilder& report, const Prepared& data, const RecordFamily& family) {
    std::vector<std::pair<Part, Scores>> scores;
    std::vector<std::pair<Part, ErrorMeasures>> measures;
    Table* first = nullptr;
    for (const Part part : kParts) {
        if (!data.has(part)) continue;
        Scores found = family.score(data.part(part).records, data.confidence);
        if (found.hasClasses()) {
            Table& table = addConfusion(report, data, part, found);
            if (first == nullptr) first = &table;
        } else {
            measures.emplace_back(part, ErrorMeasures(data.part(part).numbers, found.numbers));
        }
        scores.emplace_back(part, std::move(found));
    }
    if (!measures.empty()) first = &addErrors(report, measures);
    if (first != nullptr && !family.trainingNote().empty()) first->note(family.trainingNote());
    for (const auto& [part, found] : scores) {
        if (part == Part::Training && family.needs().describesTraining) continue;
        addScores(report, data, part, found);
    }
}

}  // namespace Veltrix::Tool
