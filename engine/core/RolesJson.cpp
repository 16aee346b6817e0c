#include "engine/core/RolesJson.h"

#include "Veltrix/Data/Util.h"
#include "engine/core/ModelJson.h"

namespace Veltrix::Engine::RolesJson {

void write(Support::JsonWriter& writer, const Classification::Modelable& model) {
    // Ascending, so that the text does not depend on the order of a hash map.
    StringVector labels;
    for (const auto& entry : model.getPriors()) labels.push_back(entry.first);
    labels = Veltrix::Util::uniqueElements(labels);
    Vector priors;
    for (const WString& label : labels) priors.push_back(model.getPrior(label));
    ModelJson::member(writer, "classes", model.getClasses());
    writer.member("successClass", std::string_view(model.getSuccessClass().toUtf8()));
    writer.member("cutoff", model.getSuccessProbabilityCutoff());
    ModelJson::member(writer, "priorLabels", labels);
    writer.member("priors", ModelJson::values(priors));
}

void read(const Support::JsonView& root, Classification::Modelable& model) {
    model.setClasses(ModelJson::distinctTexts(root.at("classes")));
    model.setSuccessClass(ModelJson::text(root.at("successClass")));
    model.setSuccessProbabilityCutoff(root.at("cutoff").asDouble());
    const StringVector labels = ModelJson::distinctTexts(root.at("priorLabels"));
    const Vector probabilities =
        ModelJson::vector(root.at("priors"), static_cast<std::int64_t>(labels.size()));
    Classification::Priorable::PriorMap priors;
    for (std::uint64_t i = 0; i < labels.size(); ++i) priors[labels[i]] = probabilities[i];
    model.setPrior(priors);
}

}  // namespace Veltrix::Engine::RolesJson
