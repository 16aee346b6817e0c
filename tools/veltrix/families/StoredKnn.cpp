#include "tools/veltrix/families/StoredKnn.h"

#include <algorithm>

#include <fmt/format.h>

#include "Veltrix/Data/Util.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

/// What voting relies on: training records of the model's classes, which all have a prior.
void checkClasses(const StoredKnn::Classifier& model, const Support::JsonView& part) {
    const auto isClass = [&](const WString& label) {
        return std::ranges::find(model.getClasses(), label) != model.getClasses().end();
    };
    for (const WString& label : Util::uniqueElements(model.getTrainingResponse())) {
        if (isClass(label)) continue;
        part.at("labels").fail(
            fmt::format("{} is none of the classes", Tool::quoted(label.toUtf8())));
    }
    const WString& success = model.getSuccessClass();
    if (!success.empty() && !isClass(success)) {
        part.at("successClass")
            .fail(fmt::format("{} is none of the classes", Tool::quoted(success.toUtf8())));
    }
    for (const WString& label : model.getClasses()) {
        if (model.getPriors().contains(label)) continue;
        part.at("priorLabels").fail(fmt::format("class {} has none", Tool::quoted(label.toUtf8())));
    }
}

}  // namespace

const Engine::KNN::Model& StoredKnn::base() const {
    return std::visit([](const auto& form) -> const Engine::KNN::Model& { return form; }, model);
}

Scores StoredKnn::score(const Matrix& records) const {
    if (const auto* const classifier = std::get_if<Classifier>(&model)) {
        return classScores(classifier->posteriorProbability(records, k, includeTies, false, scheme),
                           *classifier);
    }
    const DataFrame scores =
        std::get<Regressor>(model).predict(records, k, includeTies, false, scheme);
    return {{}, {}, scores(Selection::all, 0).toDoubleVector()};
}

std::vector<Column> StoredKnn::scoreColumns(const NumericSelection& selection,
                                            double /*confidence*/) const {
    return Tool::scoreColumns(score(coding().code(selection, 0)));
}

void StoredKnn::writeParts(Support::JsonWriter& writer) const {
    const bool weighted = scheme == WeightingScheme::inverseDistance;
    writeCoding(writer);
    writer.member("task", model.index() == 0 ? kClassification : kRegression)
        .member("k", k)
        .member("weighting", weighted ? kDistanceWeighting : kEqualWeighting)
        .member("ties", includeTies);
    writer.key("model");
    std::visit([&](const auto& form) { writer.json(form.toJson().toUtf8()); }, model);
}

void StoredKnn::readParts(const Support::JsonView& root) {
    readCoding(root, LevelColumns::All);
    if (!readChoice(root.at("task"), kClassification, kRegression)) model = Regressor();
    k = root.at("k").asInt32();
    if (k < 1) root.at("k").fail(fmt::format("{}, expected at least 1", k));
    scheme = readChoice(root.at("weighting"), kDistanceWeighting, kEqualWeighting)
                 ? WeightingScheme::inverseDistance
                 : WeightingScheme::equalVotes;
    includeTies = root.at("ties").asBool();
    std::visit([&](auto& form) { readPart(form, root.at("model")); }, model);
    const Matrix& features = base().getTrainingFeatures();
    const std::uint64_t responses =
        std::visit([](const auto& form) { return form.getTrainingResponse().size(); }, model);
    if (features.getNumRows() == 0 || responses == 0) root.at("model").fail("not a fitted model");
    expectColumns(root, static_cast<std::size_t>(features.getNumCols()));
    if (const auto* const classifier = std::get_if<Classifier>(&model)) {
        checkClasses(*classifier, root.at("model"));
    }
}

}  // namespace Veltrix::Tool
