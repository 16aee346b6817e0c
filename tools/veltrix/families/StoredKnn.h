#pragma once

#include <string_view>
#include <variant>
#include <vector>

#include "Veltrix/Engine/KNN.h"
#include "tools/veltrix/host/LearnerReport.h"
#include "tools/veltrix/host/StoredModel.h"

namespace Veltrix::Tool {

/// A k-nearest-neighbours model for classes or numbers, and how it is asked.
class StoredKnn : public StoredCodedModel {
  public:
    using Classifier = Engine::Classification::KNN::Model;
    using Regressor = Engine::Regression::KNN::Model;
    using WeightingScheme = KNearestNeighbors::WeightingScheme;

    std::string_view family() const override { return "k-nearest neighbours"; }
    std::vector<Column> scoreColumns(const NumericSelection& selection,
                                     double confidence) const override;
    void writeParts(Support::JsonWriter& writer) const override;
    void readParts(const Support::JsonView& root) override;

    /// Scores of records coded as the training records.
    Scores score(const Matrix& records) const;
    const Engine::KNN::Model& base() const;

    std::variant<Classifier, Regressor> model;
    int k = 1;
    bool includeTies = false;
    WeightingScheme scheme = WeightingScheme::equalVotes;
};

/// Names of the weighting schemes in options and files.
inline constexpr const char* kEqualWeighting = "equal";
inline constexpr const char* kDistanceWeighting = "distance";

}  // namespace Veltrix::Tool
