#include "tools/veltrix/host/ClassRoles.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "support/NumberText.h"
#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kPriors = ClassOptions::kPriors;

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

ClassRoles::Priors readPriors(const std::vector<std::string>& values, const StringVector& classes,
                              const std::string& target) {
    ClassRoles::Priors priors;
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

ClassRoles ClassOptions::roles(StringVector classes, const std::string& target) const {
    ClassRoles roles{.classes = std::move(classes), .priors = {}, .successClass = {}};
    if (!priors.empty()) roles.priors = readPriors(priors, roles.classes, target);
    if (successClass.empty()) return roles;
    const WString* const label = findClass(roles.classes, successClass);
    if (label == nullptr) {
        throw UserError(
            fmt::format("{}: no class {} in the training rows of column {}, expected "
                        "one of {}",
                        kSuccessClass, Tool::quoted(successClass), Tool::quoted(target),
                        quotedList(roles.classes)));
    }
    if (roles.classes.size() != 2) {
        throw UserError(fmt::format("{}: column {} has {} classes in the training rows, expected 2",
                                    kSuccessClass, Tool::quoted(target), roles.classes.size()));
    }
    roles.successClass = *label;
    roles.cutoff = cutoff;
    return roles;
}

void setRoles(Engine::Classification::Modelable& model, const ClassRoles& roles) {
    model.setClasses(roles.classes);
    if (!roles.priors.empty()) model.setPrior(roles.priors);
    if (roles.successClass.empty()) return;
    model.setSuccessClass(roles.successClass).setSuccessProbabilityCutoff(roles.cutoff);
}

ClassRoles rolesOf(const Engine::Classification::Modelable& model) {
    return {model.getClasses(), model.getPriors(), model.getSuccessClass(),
            model.getSuccessProbabilityCutoff()};
}

void checkRoles(const Support::JsonView& stored, const Engine::Classification::Modelable& model) {
    const StringVector& classes = model.getClasses();
    const WString& success = model.getSuccessClass();
    if (!success.empty() && std::find(classes.begin(), classes.end(), success) == classes.end()) {
        stored.at("successClass").fail("none of the classes");
    }
    const auto hasPrior = [&](const WString& label) { return model.getPriors().contains(label); };
    if (!std::all_of(classes.begin(), classes.end(), hasPrior)) {
        stored.at("priorLabels").fail("a class has none");
    }
}

}  // namespace Veltrix::Tool
