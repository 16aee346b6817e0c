#include "tools/veltrix/host/LearnerOptions.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "support/NumberText.h"
#include "tools/veltrix/host/SamplingOptions.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kPriors = "--priors";
constexpr const char* kSuccessClass = "--success-class";

using PriorMap = Engine::Classification::Priorable::PriorMap;

/// The class of that name, if there is one.
const WString* findClass(const StringVector& classes, std::string_view name) {
    const auto found = std::ranges::find_if(
        classes, [name](const WString& label) { return label.toUtf8() == name; });
    return found == classes.end() ? nullptr : &*found;
}

/// CLASS=PROBABILITY; the class ends at the last sign.
struct Assignment {
    std::string label;
    std::string value;

    explicit Assignment(const std::string& text) {
        const std::size_t sign = text.rfind('=');
        if (sign == std::string::npos) {
            throw UserError(fmt::format("{}: {}, expected CLASS=PROBABILITY for each class",
                                        kPriors, Tool::quoted(text)));
        }
        label = trimmed(std::string_view(text).substr(0, sign));
        value = text.substr(sign + 1);
    }
};

/// A value assigns to one class whose name may hold a comma, or its parts between commas assign.
std::vector<Assignment> assignments(const std::vector<std::string>& values,
                                    const StringVector& classes) {
    std::vector<Assignment> result;
    for (const std::string& value : values) {
        const std::size_t sign = value.rfind('=');
        const bool single = sign != std::string::npos &&
                            value.find(',', sign) == std::string::npos &&
                            findClass(classes, Assignment(value).label) != nullptr;
        if (single) {
            result.emplace_back(value);
            continue;
        }
        for (const std::string& part : splitAtCommas(value)) result.emplace_back(part);
    }
    return result;
}

PriorMap readPriors(const std::vector<std::string>& values, const StringVector& classes,
                    const std::string& target) {
    PriorMap priors;
    double sum = 0.0;
    for (const auto& [name, text] : assignments(values, classes)) {
        const WString* const label = findClass(classes, name);
        if (label == nullptr) {
            throw UserError(fmt::format(
                "{}: no class {} in the training rows of column {}, "
                "expected {}",
                kPriors, Tool::quoted(name), Tool::quoted(target), quotedList(classes)));
        }
        const std::optional<double> prior = Support::parseNumber(std::string_view(text));
        if (!prior || !(*prior > 0.0) || *prior > 1.0) {
            throw UserError(
                fmt::format("{}: {} for class {}, expected a number above 0 and at "
                            "most 1",
                            kPriors, Tool::quoted(text), Tool::quoted(name)));
        }
        if (!priors.emplace(*label, *prior).second) {
            throw UserError(fmt::format("{}: class {} is named twice, expected each class once",
                                        kPriors, Tool::quoted(name)));
        }
        sum += *prior;
    }
    for (const WString& label : classes) {
        if (priors.contains(label)) continue;
        throw UserError(fmt::format("{}: class {} has none, expected one for each class", kPriors,
                                    Tool::quoted(label.toUtf8())));
    }
    constexpr double kRounding = 1e-6;
    if (std::fabs(sum - 1.0) > kRounding) {
        throw UserError(
            fmt::format("{}: they sum to {}, expected 1", kPriors, Support::numberText(sum)));
    }
    return priors;
}

}  // namespace

void LearnerOptions::declare(CLI::App& app) {
    declareFile(app, data, "CSV file with a header row", true);
    app.add_option(kTarget, target, "Column to explain: classes, or numbers with --regression")
        ->required()
        ->type_name("COLUMN");
    app.add_option(kPredictors, predictors,
                   "Columns that explain it, separated by commas; may be repeated, also for a "
                   "name that holds a comma. All other columns when left out")
        ->allow_extra_args(false)
        ->type_name("A,B");
    app.add_option(kPartitionColumn, partitionColumn,
                   "Column that says train, valid or test, as veltrix partition writes it; all "
                   "rows train when left out")
        ->type_name("COLUMN");
    CLI::Option* const numbers =
        app.add_flag("--regression", regression, "Predicts numbers instead of classes");
    app.add_option(kPriors, priors,
                   "Prior probabilities of all classes (a=0.3,b=0.7); their shares of the training "
                   "rows when left out")
        ->allow_extra_args(false)
        ->excludes(numbers)
        ->type_name("A=P,B=Q");
    CLI::Option* const success =
        app.add_option(kSuccessClass, successClass,
                       "The one of two classes that is predicted from the cutoff on")
            ->excludes(numbers)
            ->type_name("CLASS");
    declareShare(app, "--cutoff", cutoff, "Least probability at which it is")
        ->needs(success)
        ->default_str("0.5");
}

DataFile LearnerOptions::readData() const {
    CsvOptions csv;
    if (!regression) csv.textColumns.push_back(target);
    if (!partitionColumn.empty()) csv.textColumns.push_back(partitionColumn);
    return DataFile(data.path, csv);
}

std::vector<RoleColumn> LearnerOptions::roles() const {
    return {{kTarget, target, "is the target"},
            {kPartitionColumn, partitionColumn, "holds the parts"}};
}

void LearnerOptions::applyTo(Engine::Classification::Modelable& model,
                             const StringVector& classes) const {
    model.setClasses(classes);
    if (!priors.empty()) model.setPrior(readPriors(priors, classes, target));
    if (successClass.empty()) return;
    const WString* const label = findClass(classes, successClass);
    if (label == nullptr) {
        throw UserError(fmt::format(
            "{}: no class {} in the training rows of column {}, expected "
            "one of {}",
            kSuccessClass, Tool::quoted(successClass), Tool::quoted(target), quotedList(classes)));
    }
    if (classes.size() != 2) {
        throw UserError(fmt::format("{}: column {} has {} classes in the training rows, expected 2",
                                    kSuccessClass, Tool::quoted(target), classes.size()));
    }
    model.setSuccessClass(*label).setSuccessProbabilityCutoff(cutoff);
}

}  // namespace Veltrix::Tool
