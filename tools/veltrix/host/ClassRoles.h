#pragma once

#include <string>
#include <vector>

#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Engine/Roles.h"
#include "support/Json.h"

namespace Veltrix::Tool {

/// The classes of a target and how one of them is chosen by probabilities.
struct ClassRoles {
    using Priors = Engine::Classification::Priorable::PriorMap;

    StringVector classes;  ///< ascending; none when the target holds numbers
    Priors priors;         ///< before a fit only those that the user gave
    WString successClass;  ///< of two classes the one that the cutoff is for; may be empty
    double cutoff = 0.5;
};

/// What the user says of the classes.
struct ClassOptions {
    static constexpr const char* kPriors = "--priors";
    static constexpr const char* kSuccessClass = "--success-class";

    std::vector<std::string> priors;
    std::string successClass;
    double cutoff = 0.5;

    /// For the classes that the training rows have. Throws `UserError` for a class that is none, a
    /// prior that is missing, given twice or not above 0, priors that do not sum to 1, and a
    /// success class when there are not two classes.
    ClassRoles roles(StringVector classes, const std::string& target) const;
};

/// Hands the roles to a model before its fit, and takes them back with the priors that it uses.
void setRoles(Engine::Classification::Modelable& model, const ClassRoles& roles);
ClassRoles rolesOf(const Engine::Classification::Modelable& model);
/// Throws `JsonError` unless every class of a model read from that part of a file has a prior and
/// its success class, if there is one, is among them.
void checkRoles(const Support::JsonView& stored, const Engine::Classification::Modelable& model);

}  // namespace Veltrix::Tool
