#pragma once

#include <type_traits>

#include "tools/veltrix/host/ClassRoles.h"
#include "tools/veltrix/host/Prepared.h"
#include "tools/veltrix/host/StoredFields.h"

namespace Veltrix::Tool {

/// The model of a family that predicts classes or numbers, as the target says.
template <class Classifier, class Regressor>
struct EitherModel {
    bool regression = false;
    Classifier classifier;
    Regressor regressor;

    /// Takes over what the target is, and the roles of its classes.
    void start(const Prepared& data) {
        regression = data.roles.classes.empty();
        if (!regression) setRoles(classifier, data.roles);
    }
    ClassRoles roles() const { return regression ? ClassRoles() : rolesOf(classifier); }

    /// use(the model used).
    template <class Self, class Use>
    static decltype(auto) with(Self& self, Use use) {
        return self.regression ? use(self.regressor) : use(self.classifier);
    }

    /// use(the model used, the target of a part as it takes it).
    template <class Self, class Use>
    static void withTarget(Self& self, const Prepared& data, const PartData& part, Use use) {
        if (self.regression) {
            use(self.regressor, part.numbers);
        } else {
            use(self.classifier, data.labelsOf(part));
        }
    }

    /// Fields "task" and "model".
    static void describeTask(auto& a, auto& self) {
        static const Choices<bool> kTasks{{"classification", false}, {"regression", true}};
        storedChoice(a, "task", self.regression, kTasks);
    }
    static void describeModel(auto& a, auto& self) {
        with(self, [&](auto& model) { storedModel(a, "model", model); });
    }
};

}  // namespace Veltrix::Tool
