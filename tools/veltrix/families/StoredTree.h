#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Veltrix/Engine/DT.h"
#include "tools/veltrix/host/LearnerReport.h"
#include "tools/veltrix/host/StoredModel.h"

namespace Veltrix::Tool {

/// The predictors of a tree: columns of numbers, and of categories by their texts.
class TreeColumns {
  public:
    TreeColumns() = default;
    /// Text columns hold categories, and so do the columns named. Throws `UserError` for a name
    /// that is no predictor.
    TreeColumns(const DataFile& data, std::vector<std::string> predictors,
                const std::vector<std::string>& categorical);

    const std::vector<std::string>& predictors() const { return predictors_; }
    bool isCategorical(const std::string& name) const;
    CsvOptions csvOptions() const;
    std::vector<UsedColumn> used(const std::string& option) const;
    /// The predictors of the rows selected, whose columns begin with them.
    DataFrame frame(const NumericSelection& selection) const;

    void write(Support::JsonWriter& writer) const;
    void read(const Support::JsonView& root);

  private:
    std::vector<std::string> predictors_;
    std::vector<std::string> categorical_;
    /// Those of them that are text as they are written, also when all cells look like numbers.
    std::vector<std::string> text_;
};

/// A decision tree for classes or numbers; its selected tree scores.
class StoredTree : public StoredModel {
  public:
    using Classifier = Engine::DT::Classification::Model;
    using Regressor = Engine::DT::Regression::Model;

    std::string_view family() const override { return "decision tree"; }
    CsvOptions csvOptions() const override { return columns.csvOptions(); }
    std::vector<UsedColumn> usedForScoring(const std::string& option) const override;
    std::vector<Column> scoreColumns(const NumericSelection& selection,
                                     double confidence) const override;
    void writeParts(Support::JsonWriter& writer) const override;
    void readParts(const Support::JsonView& root) override;

    Scores score(const DataFrame& records) const;
    Engine::DT::Model& base();
    const Engine::DT::Model& base() const;

    TreeColumns columns;
    std::variant<Classifier, Regressor> model;
};

}  // namespace Veltrix::Tool
