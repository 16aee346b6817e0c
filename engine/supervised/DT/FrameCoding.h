#pragma once

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Factorizer.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Engine/FrameForms.h"

/// @file
/// Frames as matrices of numbers and category codes. Columns are known to the factorizer by their
/// position, so that columns without a name, or with the same one, are told apart.

namespace Veltrix::Engine::DT {

/// What a tree keeps of the columns that it was grown on.
struct InputColumns {
    Factorizer categories;  ///< of a frame
    FrameColumns frame;
    StringVector names;  ///< for reports
};

/// The name under which a column is known.
WString categoryColumn(int column);
/// Learns the text columns and those listed; throws `Exception` for one that does not exist.
InputColumns learnColumns(const DataFrame& frame, const IntVector& categorical);
/// The positions of the columns that are known.
IntVector knownColumns(const DataFrame& frame, const Factorizer& inputs);
/// Numbers, or the codes of a column that is known, which stands at `position` in the frame;
/// unknown categories have code −1.
Vector encodeColumn(const DataFrame& frame, int position, int column, const Factorizer& inputs);
/// The columns side by side in the order of training, column-major.
Matrix encodeFrame(const DataFrame& frame, const FrameColumns& columns, const Factorizer& inputs);
double encodeCell(const ConstDataFrameElement& cell, int column, const Factorizer& inputs);
/// Throws `Exception` that names the operation and the row of a value that is NaN, or so large that
/// sums of squares overflow.
void checkResponse(const char* operation, const Vector& response);
/// Throws `Exception` unless there are records and columns, and a response for each record.
void checkShape(int rows, int columns, std::uint64_t responses);

}  // namespace Veltrix::Engine::DT
