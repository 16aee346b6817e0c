#pragma once

#include <string_view>
#include <vector>

#include "Veltrix/Engine/LinearModel/OLS.h"
#include "tools/veltrix/host/StoredModel.h"

namespace Veltrix::Tool {

/// A fitted linear regression.
class StoredRegression : public StoredCodedModel {
  public:
    std::string_view family() const override { return "linear regression"; }
    bool hasIntervals() const override { return true; }
    /// Predictions, their confidence and their prediction limits.
    std::vector<Column> scoreColumns(const NumericSelection& selection,
                                     double confidence) const override;
    void writeParts(Support::JsonWriter& writer) const override;
    void readParts(const Support::JsonView& root) override;

    Engine::LinearModel::OLS::Model model;
};

}  // namespace Veltrix::Tool
