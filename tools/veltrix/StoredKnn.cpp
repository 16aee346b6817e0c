#include "tools/veltrix/StoredKnn.h"

#include <fmt/format.h>

#include "tools/veltrix/UserError.h"

namespace Veltrix::Tool {

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
    if (features.getNumRows() == 0) root.at("model").fail("not a fitted model");
    expectColumns(root, static_cast<std::size_t>(features.getNumCols()));
}

}  // namespace Veltrix::Tool
