#pragma once

#include <concepts>
#include <cstdint>
#include <type_traits>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/MatrixViews.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// Conversions between cells, frames and containers, independent of any locale. Text that is not a
/// number throws the conversion library's bad-cast error (`std::bad_cast`); for cells it names
/// column, row and text (see `ConstDataFrameElement::toDouble`).
class VELTRIX_DATA_API Convert {
  public:
    Convert() = delete;

    [[nodiscard]] static double toDouble(const ConstDataFrameElement& cell);
    /// Whole text as a number; empty text is NaN.
    [[nodiscard]] static double toDouble(const WString& text);
    [[nodiscard]] static int toInt(const ConstDataFrameElement& cell);
    [[nodiscard]] static WString toString(const ConstDataFrameElement& cell);
    /// The digits of any integral type.
    template <std::integral Integer>
    [[nodiscard]] static WString toString(Integer value) {
        if constexpr (std::is_signed_v<Integer>) {
            return integerText(static_cast<std::int64_t>(value));
        } else {
            return integerText(static_cast<std::uint64_t>(value));
        }
    }
    /// The shortest decimal that reads back to the same double: "1", "0.1", "1e-07", "nan", "inf".
    [[nodiscard]] static WString toString(double value);
    /// All cells, column by column.
    [[nodiscard]] static Vector toDoubleVector(const DataFrame& frame);
    [[nodiscard]] static Vector toDoubleVector(const ConstDataFrameColumn& column);
    [[nodiscard]] static Vector toDoubleVector(const ConstDataFrameRow& row);
    [[nodiscard]] static Vector toDoubleVector(const ConstMatrixRow& row);
    [[nodiscard]] static Vector toDoubleVector(const ConstMatrixColumn& column);
    /// All cells, column by column.
    [[nodiscard]] static StringVector toStringVector(const DataFrame& frame);
    [[nodiscard]] static StringVector toStringVector(const ConstDataFrameColumn& column);
    /// The frame as a column-major matrix of the same name and shape.
    [[nodiscard]] static Matrix toMatrix(const DataFrame& frame);
    /// A frame of numeric columns named as given (default "1", "2", …), named as the matrix.
    [[nodiscard]] static DataFrame toDataFrame(const Matrix& values,
                                               const StringVector& colNames = {});

  private:
    static WString integerText(std::int64_t value);
    static WString integerText(std::uint64_t value);
};

}  // namespace Veltrix
