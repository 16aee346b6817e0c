#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Veltrix/Data/Vector.h"
#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// When the values of a series are: their rows, and their times where a column holds them.
struct SeriesTimes {
    std::vector<std::int64_t> rows;  ///< counted from 1
    std::string column;              ///< of the times; empty without
    Vector numbers;                  ///< the times when they are numbers
    std::vector<std::string> texts;  ///< when they are not

    /// Appends the columns of rows and times of `count` values from position `first` on.
    void addTo(Table& table, std::size_t first, std::size_t count) const;
    /// The times to follow, when they are equally spaced numbers; none otherwise.
    Vector following(std::size_t count) const;
    /// Rows, if any, and times as far as they follow, of the `count` values after the last one.
    void addFollowing(Table& table, std::size_t count) const;
    /// The column that charts are drawn over.
    const std::string& axis() const;
    /// The same for the values to follow; empty when there are no rows.
    std::string followingAxis() const;
};

/// The times of the rows. Throws `UserError` for numbers that do not rise from row to row or are
/// missing in one. Without a name of the column there are only the rows.
SeriesTimes readTimes(const DataFile& file, const UsedColumn& column,
                      const std::vector<std::int64_t>& rows);

}  // namespace Veltrix::Tool
