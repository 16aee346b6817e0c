#include "tools/veltrix/families/BinaryTarget.h"

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

ClassRoles binaryRoles(const Prepared& data) {
    if (data.roles.classes.size() != 2) {
        throw UserError(fmt::format("{}: {} classes in the training rows, expected 2",
                                    TaskOptions::kTarget, data.roles.classes.size()));
    }
    Engine::Classification::Modelable shares;
    setRoles(shares, data.roles);
    shares.fit(data.labelsOf(data.training()), data.training().weights);
    ClassRoles roles = rolesOf(shares);
    if (roles.successClass.empty()) roles.successClass = roles.classes[1];
    return roles;
}

Vector successes(const Prepared& data, const ClassRoles& roles) {
    Vector y;
    y.reserve(data.training().labels.size());
    for (const int label : data.training().labels) {
        const bool success = data.labels[static_cast<std::uint64_t>(label)] == roles.successClass;
        y.push_back(success ? 1.0 : 0.0);
    }
    return y;
}

Scores binaryScores(const Matrix& probabilities, const ClassRoles& roles) {
    // The success class comes first in the matrix; the frame has the order of the classes.
    const bool reversed = roles.classes[0] != roles.successClass;
    const IntVector order = reversed ? IntVector{1, 0} : IntVector{0, 1};
    return classScores(Convert::toDataFrame(probabilities(Selection::all, order), roles.classes),
                       roles);
}

}  // namespace Veltrix::Tool
