#include "tools/veltrix/families/ModelsCommand.h"

#include <memory>
#include <vector>

#include <fmt/format.h>

#include "tools/veltrix/host/Family.h"
#include "tools/veltrix/report/ReportBuilder.h"

namespace Veltrix::Tool {

namespace {

std::string targetOf(const Needs& needs) {
    switch (needs.target) {
        case TargetKind::None:
            return "none";
        case TargetKind::Series:
            return "a column of numbers in the order of time";
        case TargetKind::Numbers:
            return "a column of numbers";
        case TargetKind::Classes:
            return "a column of classes";
        case TargetKind::Either:
            return "a column of classes or of numbers";
    }
    return {};
}

std::string columnsOf(const Family& family) {
    const Needs needs = family.needs();
    if (dynamic_cast<const DocumentFamily*>(&family) != nullptr) return "documents";
    if (dynamic_cast<const RecordFamily*>(&family) == nullptr) return "items of transactions";
    if (needs.target == TargetKind::Series) return "none beside it";
    switch (needs.coding) {
        case Coding::Numbers:
            return "numbers";
        case Coding::AllButBase:
        case Coding::AllLevels:
            return "numbers, and text as 0/1 columns";
        case Coding::Categories:
            return needs.numbersAreCategories ? "categories" : "numbers and categories";
    }
    return {};
}

std::string exampleOf(const Family& family) {
    const Needs needs = family.needs();
    std::string example = fmt::format("veltrix {} --data FILE.csv", family.names().command);
    if (needs.target == TargetKind::Series) {
        example += " --column COLUMN";
    } else if (needs.target != TargetKind::None) {
        example += " --target COLUMN";
    }
    if (*family.names().usage != '\0') example += fmt::format(" {}", family.names().usage);
    return needs.stored ? example + " --save MODEL.json" : example;
}

}  // namespace

void ModelsCommand::run() {
    std::vector<std::string> commands;
    std::vector<std::string> names;
    std::vector<std::string> targets;
    std::vector<std::string> columns;
    std::vector<std::string> scores;
    std::vector<std::string> examples;
    for (const std::unique_ptr<Family>& family : makeFamilies()) {
        commands.emplace_back(family->names().command);
        names.emplace_back(family->names().family);
        targets.push_back(targetOf(family->needs()));
        columns.push_back(columnsOf(*family));
        scores.emplace_back(family->needs().stored && family->needs().scores ? "yes" : "no");
        examples.push_back(exampleOf(*family));
    }
    ReportBuilder report("Models");
    report.table("Models")
        .text("Command", commands)
        .text("Model", names)
        .text("Explains", targets)
        .text("From columns of", columns)
        .text("Scores new data", scores);
    report.table("Examples")
        .text("Command", commands)
        .text("Example", examples)
        .note("veltrix COMMAND --help lists the options.");
    output_.deliver(report.take());
}

}  // namespace Veltrix::Tool
