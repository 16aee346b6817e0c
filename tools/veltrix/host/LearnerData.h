#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/LearnerOptions.h"
#include "tools/veltrix/io/TextColumns.h"

namespace Veltrix::Tool {

/// The parts that rows are divided into.
enum class Part : std::size_t { Training, Validation, Test };
inline constexpr std::array kParts{Part::Training, Part::Validation, Part::Test};
std::string_view partName(Part part);

/// The rows of a file that have all values, with their target and their parts.
struct LearnerData {
    NumericSelection selection;                 ///< the predictors first, as they were asked for
    StringVector labels;                        ///< target of every row selected; empty for numbers
    Vector numbers;                             ///< target of every row selected; empty for classes
    StringVector classes;                       ///< the training rows have these, ascending
    std::array<IntVector, kParts.size()> rows;  ///< positions among the rows selected, by part
    std::array<std::int64_t, kParts.size()> rowsRead{};
    TextColumns textPredictors;

    const IntVector& rowsOf(Part part) const { return rows[static_cast<std::size_t>(part)]; }
    bool has(Part part) const { return !rowsOf(part).empty(); }
    /// The elements that belong to a part of a list with one for each row selected.
    template <class List>
    List of(Part part, const List& list) const {
        List result;
        for (const int row : rowsOf(part)) result.push_back(list[static_cast<std::size_t>(row)]);
        return result;
    }
};

/// Selects predictors, target and `further` columns (after the predictors, in this order).
/// Throws `UserError` when no training row is left, for a part of another name, with its row, and
/// for fewer than two classes or more than can be meant.
LearnerData selectLearnerData(const DataFile& file, const LearnerOptions& options,
                              std::vector<UsedColumn> predictors,
                              const std::vector<UsedColumn>& further = {});

}  // namespace Veltrix::Tool
