#include "tools/veltrix/host/Evaluation.h"

#include <cstdint>
#include <utility>

#include <fmt/format.h>

#include "tools/veltrix/host/ClassEvaluation.h"
#include "tools/veltrix/host/NumberEvaluation.h"

namespace Veltrix::Tool {

namespace {

using Counts = std::vector<std::int64_t>;

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
    AllScores scores;
    for (const Part part : kParts) {
        if (!data.has(part)) continue;
        scores.push_back({part, family.score(data.part(part).records, data.confidence)});
    }
    Table* const first = scores.front().scores.hasClasses()
                             ? addClassEvaluation(report, data, scores, family.roles())
                             : addNumberEvaluation(report, data, scores);
    if (!family.trainingNote().empty()) first->note(family.trainingNote());
    for (const auto& [part, found] : scores) {
        if (part == Part::Training && family.needs().describesTraining) continue;
        addScores(report, data, part, found);
    }
}

}  // namespace Veltrix::Tool
