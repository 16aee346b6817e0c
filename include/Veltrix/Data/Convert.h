#pragma once

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

    static double toDouble(const ConstDataFrameElement& cell);
    /// Whole text as a number; empty text is NaN.
    static double toDouble(const WString& text);
    static int toInt(const ConstDataFrameElement& cell);
    static WString toString(const ConstDataFrameElement& cell);
    static WString toString(int value);
    /// The shortest decimal that reads back to the same double: "1", "0.1", "1e-07", "nan", "inf".
    static WString toString(double value);
    /// All cells, column by column.
    static Vector toDoubleVector(const DataFrame& frame);
    static Vector toDoubleVector(const ConstDataFrameColumn& column);
    static Vector toDoubleVector(const ConstDataFrameRow& row);
    static Vector toDoubleVector(const ConstMatrixRow& row);
    static Vector toDoubleVector(const ConstMatrixColumn& column);
    /// All cells, column by column.
    static StringVector toStringVector(const DataFrame& frame);
    static StringVector toStringVector(const ConstDataFrameColumn& column);
    /// The frame as a column-major matrix of the same name and shape.
    static Matrix toMatrix(const DataFrame& frame);
    /// A frame of numeric columns named as given (default "1", "2", …), named as the matrix.
    static DataFrame toDataFrame(const Matrix& values, const StringVector& colNames = {});
};

}  // namespace Veltrix
