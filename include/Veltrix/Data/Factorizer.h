#pragma once

#include <unordered_map>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine {

/// Maps text columns of a frame to integer codes and back. Codes are the positions in the ascending
/// list of a column's distinct values.
class VELTRIX_DATA_API Factorizer {
  public:
    /// What is known of one fitted column.
    struct ColumnInfo {
        ColumnInfo() = default;
        ColumnInfo(const ColumnInfo&) = default;
        ColumnInfo(ColumnInfo&&) noexcept = default;
        ColumnInfo& operator=(const ColumnInfo& other) { return *this = ColumnInfo(other); }
        ColumnInfo& operator=(ColumnInfo&&) noexcept = default;
        ~ColumnInfo() = default;

        /// Distinct values, ascending; the code of a level is its position.
        StringVector levels;
        std::unordered_map<WString, int> codes;
        /// Code of the reference (base) level.
        int baseIndex = 0;
    };

    Factorizer() = default;
    Factorizer(const Factorizer&) = default;
    Factorizer(Factorizer&&) noexcept = default;
    Factorizer& operator=(const Factorizer& other) { return *this = Factorizer(other); }
    Factorizer& operator=(Factorizer&&) noexcept = default;
    ~Factorizer() = default;

    /// Learns every text column of the frame, forgetting what was fitted before; columns of numbers
    /// are left alone.
    Factorizer& fit(const DataFrame& frame);
    /// Learns one column, whatever its kind (numbers by their text), in addition to those fitted.
    Factorizer& fit(const ConstDataFrameColumn& column);
    /// The frame with each fitted column, found by name, replaced by its integer codes; a value
    /// unseen when fitted gets code -1.
    [[nodiscard]] DataFrame transform(const DataFrame& frame) const;
    /// The codes of one column; throws `Exception` when no column of that name was fitted.
    [[nodiscard]] IntVector transform(const ConstDataFrameColumn& column) const;
    [[nodiscard]] bool isFactorized(const WString& colName) const;
    /// Throws `Exception` when no column of that name was fitted.
    [[nodiscard]] const ColumnInfo& getColMapper(const WString& colName) const;
    /// Makes the level with that code the base level. Throws `Exception` for an unfitted column or
    /// a code that is none of its levels'.
    Factorizer& setBaseIndex(const WString& colName, int index);

  private:
    std::unordered_map<WString, ColumnInfo> columns_;
};

}  // namespace Veltrix::Engine
