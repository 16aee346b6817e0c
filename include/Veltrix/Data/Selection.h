#pragma once

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Export.h"

namespace Veltrix {

namespace Selection {

/// Tag standing for every row or every column in a selection; written `Util::all`.
enum class All { all };
inline constexpr All all = All::all;

}  // namespace Selection

/// A set of indexes to leave out of a selection; made by `Util::except` only.
class VELTRIX_DATA_API Except {
  public:
    [[nodiscard]] const IntVector& getIndexes() const noexcept { return indexes_; }
    /// The integers of [0, count) that are not in the set, ascending. Throws `Exception` when the
    /// set names an index outside [0, count).
    [[nodiscard]] IntVector complement(int count) const;

  private:
    friend class Util;
    explicit Except(IntVector indexes) : indexes_(std::move(indexes)) {}

    IntVector indexes_;
};

}  // namespace Veltrix
