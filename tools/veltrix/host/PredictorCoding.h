#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Engine/Encoder.h"
#include "support/Json.h"
#include "tools/veltrix/host/DataSelection.h"

namespace Veltrix::Tool {

/// What becomes of the predictors' text columns.
enum class Coding {
    Numbers,     ///< they are none: all predictors are numbers
    AllButBase,  ///< a 0/1 column for each level but the first in ascending order, the base
    AllLevels,   ///< a 0/1 column for each level, so that any two are equally far apart
    Categories   ///< they stay categories, and so do columns of numbers that are named as such
};

/// Predictors of some records as a family wants them.
struct Records {
    Matrix x;         ///< columns of numbers; empty when columns stay categories
    DataFrame frame;  ///< columns of numbers and categories; else empty

    int count() const { return frame.getNumCols() > 0 ? frame.getNumRows() : x.getNumRows(); }
    Records at(const IntVector& rows) const;
};

/// The predictors of a model and the columns that they become; columns of levels are named
/// column_level.
class PredictorCoding {
  public:
    explicit PredictorCoding(Coding kind = Coding::Numbers) : kind_(kind) {}

    /// Takes up columns of a file. Text columns are categories, and so are those that the option
    /// names as `categorical`, which must be among the predictors: else `UserError`.
    void choose(const DataFile& data, std::vector<std::string> predictors,
                const std::string& option, const std::vector<std::string>& categorical);

    Coding kind() const { return kind_; }
    const std::vector<std::string>& predictors() const { return predictors_; }
    /// Names of the columns that the predictors become.
    std::vector<std::string> columnNames() const;
    /// One sentence for each text column that names its base.
    std::vector<std::string> baseNotes() const;

    /// How a file has to be read: levels are compared as they are written, also when all of them
    /// look like numbers.
    CsvOptions csvOptions() const;
    /// The predictors as they have to be selected.
    std::vector<UsedColumn> used(const std::string& option) const;

    /// Learns the levels in the rows selected, whose first columns are the predictors. Throws
    /// `UserError` for a column of categories with as many levels as rows, and, when levels become
    /// columns, for one with a single level or more than `maxLevels`.
    void learn(const RowSelection& selection, int maxLevels);
    /// The predictors, which are the first columns selected. Throws `UserError` with column, row
    /// and value for a level that is not known.
    Records encode(const RowSelection& selection) const;

    /// Keeps only the predictors that these columns come from, and numbers the columns anew; all of
    /// them when there is no column.
    void keepOnly(IntVector& columns);

    /// The key of the predictors in a model file.
    const char* key() const { return kind_ == Coding::Numbers ? "columns" : "predictors"; }
    void write(Support::JsonWriter& writer) const;
    /// Throws `JsonError` that names the offending key.
    void read(const Support::JsonView& root);

  private:
    /// Columns that a predictor becomes.
    int numColumns(const std::string& predictor) const;
    /// Whether levels become 0/1 columns.
    bool hasIndicators() const;
    bool isCategorical(const std::string& name) const;
    void learnLevels(const TypedColumn& column, const RowSelection& selection, int maxLevels);
    /// Throws `UserError` when two coded columns have one name.
    void checkNames(const std::string& option) const;
    Matrix matrix(const RowSelection& selection) const;
    DataFrame frame(const RowSelection& selection) const;
    /// Number of levels without a column of their own.
    std::size_t numBases() const { return kind_ == Coding::AllButBase ? 1 : 0; }

    Coding kind_;
    std::vector<std::string> predictors_;
    std::vector<std::string> categorical_;
    /// Those of them that are text as they are written, also when all cells look like numbers.
    std::vector<std::string> text_;
    Engine::Encoder levels_;  ///< of the columns whose levels become columns
};

}  // namespace Veltrix::Tool
