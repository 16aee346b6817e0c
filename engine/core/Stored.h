#pragma once

/// @file
/// What models share in JSON beside the containers: names of columns, roles of a classifier.

#include <string_view>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/FrameForms.h"
#include "Veltrix/Engine/Roles.h"
#include "data/containers/Stored.h"

namespace Veltrix {

/// A list of names; a field that older files lack.
template <>
struct Stored<Engine::FrameColumns> {
    static void write(Support::JsonWriter& json, const Engine::FrameColumns& columns) {
        Stored<StringVector>::write(json, columns.getNames());
    }
    static Engine::FrameColumns read(const Support::JsonView& list) {
        return Engine::FrameColumns(Stored<StringVector>::read(list));
    }
};

namespace Engine {

/// Fields "classes", "successClass", "cutoff", "priorLabels" and "priors" of a classifier.
template <class Archive, class Model>
void storedRoles(Archive& a, Model& model) {
    using Classification::Priorable;
    // The setters are templates, so that a writer's const model need not have them.
    a.property(
        "classes", [&] { return model.getClasses(); },
        [&](const auto& classes) { model.setClasses(classes); });
    a.property(
        "successClass", [&] { return model.getSuccessClass(); },
        [&](const auto& label) { model.setSuccessClass(label); });
    a.property(
        "cutoff", [&] { return model.getSuccessProbabilityCutoff(); },
        [&](const auto& cutoff) { model.setSuccessProbabilityCutoff(cutoff); });
    StringVector labels;
    Vector priors;
    if constexpr (!Archive::kReads) {
        // Ascending, so that the text does not depend on the order of a hash map.
        for (const auto& entry : model.getPriors()) labels.push_back(entry.first);
        labels = Veltrix::Util::uniqueElements(labels);
        for (const WString& label : labels) priors.push_back(model.getPrior(label));
        a("priorLabels", labels)("priors", priors);
    } else {
        Support::expectDistinct(a.view().at("classes"));
        Support::expectDistinct(a.view().at("priorLabels"));
        a("priorLabels", labels);
        a("priors", priors, Support::Length{static_cast<std::int64_t>(labels.size())});
        typename Priorable::PriorMap map;
        for (std::uint64_t i = 0; i < labels.size(); ++i) map[labels[i]] = priors[i];
        model.setPrior(map);
    }
}

}  // namespace Engine
}  // namespace Veltrix
