#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "tools/veltrix/host/TextParts.h"
#include "tools/veltrix/io/CsvReader.h"

namespace Veltrix::Tool {

/// A CSV file in memory, and its columns by name.
class DataFile {
  public:
    /// Throws `UserError` when the file cannot be read, has no data rows, none that is chosen, or
    /// not the columns that the choice names.
    explicit DataFile(const std::string& path, const CsvOptions& options = {});

    const std::string& path() const { return path_; }
    const DataFrame& frame() const { return frame_; }
    const CsvDialect& dialect() const { return dialect_; }
    std::int64_t numRows() const { return frame_.getNumRows(); }
    /// Whether a row, counted from 0, is one of those to be used.
    bool isChosen(std::size_t row) const { return chosen_.empty() || chosen_[row] != 0; }
    std::int64_t numChosen() const;
    const std::vector<std::string>& columnNames() const { return names_; }
    bool hasColumn(const std::string& name) const;
    /// Throws `UserError` that names the option and what the name may have been meant to be.
    int columnIndex(const std::string& option, const std::string& name) const;
    bool isText(const std::string& option, const std::string& name) const;

  private:
    std::string path_;
    DataFrame frame_;
    CsvDialect dialect_;
    std::vector<std::string> names_;
    std::vector<char> chosen_;  ///< a row; empty when all are
};

/// A column that a task uses, and the option that asks for it.
struct UsedColumn {
    std::string option;
    std::string name;
    /// As categories, which the texts of the cells are, not as numbers.
    bool categories = false;
};

/// The cells of a column: numbers, or categories as positions in the list of their levels.
struct TypedColumn {
    UsedColumn used;
    Vector numbers = {};       ///< NaN where there is no value; empty for categories
    IntVector codes = {};      ///< -1 where there is no value; empty for numbers
    StringVector levels = {};  ///< what codes stand for, ascending; also some that no cell has

    const WString& level(std::size_t row) const {
        return levels[static_cast<std::uint64_t>(codes[row])];
    }
};

/// Columns without the rows in which one of them has no value.
struct RowSelection {
    std::vector<TypedColumn> columns;      ///< in the order asked for
    std::vector<std::int64_t> rowNumbers;  ///< data rows of the file, counted from 1
    std::int64_t rowsRead = 0;
    std::int64_t rowsChosen = 0;

    std::int64_t rowsUsed() const { return static_cast<std::int64_t>(rowNumbers.size()); }
    std::int64_t rowsLeftOut() const { return rowsChosen - rowsUsed(); }
};

/// Throws `UserError` for a missing column, and, with row and value, for a cell of a column of
/// numbers that is text or infinite.
RowSelection selectRows(const DataFile& data, const std::vector<UsedColumn>& columns);

/// The cells of a whole column by the texts that they are.
TypedColumn readCategories(const DataFile& data, const UsedColumn& column);

/// For messages: option, column, row and value of a cell.
std::string describeCell(const UsedColumn& column, std::int64_t row, std::string_view value);

/// The texts in quotation marks, cut after the first few.
std::string quotedList(const StringVector& texts);

/// The names in option values: a value that is a column's name whole, else its parts between
/// commas.
std::vector<std::string> splitNames(const DataFile& data, const std::vector<std::string>& values);

}  // namespace Veltrix::Tool
