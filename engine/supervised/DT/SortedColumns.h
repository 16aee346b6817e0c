#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "data/util/ProgressMeter.h"
#include "engine/supervised/DT/Features.h"

namespace Veltrix::Engine::DT {

/// The records in the order of every continuous column, kept sorted node by node as the tree grows:
/// the records of a node are one range, the same in every column, in which they ascend by value
/// (equal values by record, NaN last). Each entry is a record and a mark that says whether its
/// value differs from that of the entry before it, so that no value needs to be looked at again.
class SortedColumns {
  public:
    using Entry = std::uint32_t;
    static constexpr Entry kNewValue = Entry{1} << 31U;
    static std::uint32_t recordOf(Entry entry) { return entry & ~kNewValue; }

    /// Sorts the columns for which `numCategories` is 0.
    SortedColumns(const Features& features, const std::vector<int>& numCategories,
                  ProgressMeter& meter);

    /// Entries [first, first + count) of a column.
    std::span<const Entry> range(int column, std::size_t first, std::size_t count) const {
        return {columns_[static_cast<std::size_t>(column)].data() + first, count};
    }
    /// Splits a range of every column in two, `left` telling by record who goes first. Both parts
    /// keep their order.
    void split(std::size_t first, std::size_t count, const std::uint8_t* left,
               ProgressMeter& meter);

  private:
    std::vector<std::vector<Entry>> columns_;  ///< empty for a categorical column
    std::vector<Entry> scratch_;
};

/// Records for which `left` is not 0 first, both parts in the order they had; `scratch` has room
/// for all of them.
void partitionRecords(std::span<std::int32_t> records, const std::uint8_t* left,
                      std::int32_t* scratch);

}  // namespace Veltrix::Engine::DT
