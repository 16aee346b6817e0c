#pragma once

#include <algorithm>

#include "data/containers/Stored.h"
#include "tools/veltrix/host/ClassRoles.h"

/// @file
/// The classes of a family whose model knows none.

namespace Veltrix::Tool {

/// Fields "classes", "priors" (in the order of the classes), "successClass" and "cutoff".
template <class Archive>
void storedRoles(Archive& a, auto& roles) {
    a("classes", roles.classes);
    a.property(
        "priors",
        [&] {
            Vector priors;
            for (const WString& label : roles.classes) priors.push_back(roles.priors.at(label));
            return priors;
        },
        [&](const Vector& priors) {
            if constexpr (Archive::kReads) {
                Support::expectDistinct(a.view().at("classes"));
                roles.priors.clear();
                for (std::uint64_t k = 0; k < priors.size(); ++k) {
                    roles.priors.emplace(roles.classes[k], priors[k]);
                }
            }
        },
        Support::Length{static_cast<std::int64_t>(roles.classes.size())});
    a("successClass", roles.successClass)("cutoff", roles.cutoff);
    a.check(
        "successClass",
        [&] {
            return roles.successClass.empty() ||
                   std::ranges::find(roles.classes, roles.successClass) != roles.classes.end();
        },
        "none of the classes");
}

/// The same of two classes, one of which is the success class.
template <class Archive>
void storedBinaryRoles(Archive& a, auto& roles) {
    storedRoles(a, roles);
    a.check(
        "classes", [&] { return roles.classes.size() == 2; }, "expected 2 classes");
    a.check(
        "successClass", [&] { return !roles.successClass.empty(); }, "expected one of the classes");
}

}  // namespace Veltrix::Tool
