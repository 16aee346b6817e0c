#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Engine/Encoder.h"
#include "tools/veltrix/host/DataSelection.h"

namespace Veltrix::Tool {

/// Which levels of a text column get a 0/1 column.
enum class LevelColumns {
    AllButBase,  ///< all but the first in ascending order, the base
    All          ///< so that any two levels are equally far apart
};

/// The predictors of a model and the columns of numbers that they become. A column of numbers stays
/// as it is; a text column becomes one 0/1 column for each of its levels, or each but the base,
/// named column_level.
class PredictorCoding {
  public:
    PredictorCoding() = default;
    PredictorCoding(std::vector<std::string> predictors, LevelColumns levelColumns,
                    Engine::Encoder levels = {});

    const std::vector<std::string>& predictors() const { return predictors_; }
    /// The levels of the text columns.
    const Engine::Encoder& levels() const { return levels_; }
    std::vector<std::string> columnNames() const;
    /// One sentence for each text column that names its base.
    std::vector<std::string> baseNotes() const;

    /// What to select for a fit: text columns of the data by their levels.
    std::vector<UsedColumn> usedForFit(const std::string& option, const DataFile& data) const;
    /// What to select for scoring: columns by their levels where levels are known.
    std::vector<UsedColumn> usedForScoring(const std::string& option) const;

    /// Learns the levels in the rows selected; `first` is the position of the first predictor.
    /// Throws `UserError` for a text column with a single level, with as many levels as rows, or
    /// with more than 100 that all get a column.
    void learn(const NumericSelection& selection, std::size_t first);
    /// The columns side by side. Throws `UserError` with column, row and value for a level that
    /// is not known.
    Matrix code(const NumericSelection& selection, std::size_t first) const;

  private:
    /// Throws `UserError` when two coded columns have one name.
    void checkNames(const std::string& option) const;
    /// Number of levels without a column of their own.
    std::size_t numBases() const { return levelColumns_ == LevelColumns::AllButBase ? 1 : 0; }

    std::vector<std::string> predictors_;
    LevelColumns levelColumns_ = LevelColumns::AllButBase;
    Engine::Encoder levels_;
};

/// Throws `UserError` for a column of categories with as many levels as rows: one that names the
/// rows, or numbers with a slip among them.
void checkNumLevels(const NumericSelection& selection, std::size_t column);

}  // namespace Veltrix::Tool
