#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Veltrix/Engine/KMC.h"
#include "tools/veltrix/host/StoredModel.h"

namespace Veltrix::Tool {

/// Clusters that were found, and the columns they were found in.
class StoredKMeans : public StoredModel {
  public:
    std::string_view family() const override { return "k-means"; }
    CsvOptions csvOptions() const override { return {}; }
    std::vector<UsedColumn> usedForScoring(const std::string& option) const override;
    /// The nearest cluster, counted from 1, and the distances to all of them.
    std::vector<Column> scoreColumns(const NumericSelection& selection,
                                     double confidence) const override;
    void writeParts(Support::JsonWriter& writer) const override;
    void readParts(const Support::JsonView& root) override;

    std::vector<std::string> columns;
    Engine::KMC::Model model;
};

/// The selected columns side by side.
Matrix matrixOf(const NumericSelection& selection);

}  // namespace Veltrix::Tool
