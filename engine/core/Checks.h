#pragma once

/// @file
/// Argument checks of the engine, one wording for all families: "OPERATION: FOUND, EXPECTED". Each
/// throws `Exception` with the code named.

#include <cstdint>
#include <span>
#include <string_view>

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "data/containers/Checks.h"

namespace Veltrix::Engine::Checks {

using Veltrix::Checks::fail;
using Veltrix::Checks::finite;

/// invalidArgument: "OPERATION: 0 random starts, at least 1 expected" with `what` = "random
/// starts".
void atLeast(std::string_view operation, std::string_view what, std::int64_t found,
             std::int64_t least);
/// At least one record and one column; with codes and words as `atLeast`.
void notEmpty(std::string_view operation, const Matrix& x);
/// sizeMismatch: "OPERATION: 3 weights, 4 expected, one for each record".
void onePerRecord(std::string_view operation, std::string_view what, std::uint64_t found,
                  std::int64_t records);
/// sizeMismatch: "OPERATION: 3 columns, 4 expected as in training".
void columns(std::string_view operation, int found, int expected);
/// sizeMismatch: "OPERATION: initial centroids are 2 x 3, 4 x 3 expected".
void shape(std::string_view operation, std::string_view what, const Matrix& found, int rows,
           int cols);
/// invalidArgument unless low < found < high: "OPERATION: confidence 1.5, between 0 and 1
/// expected".
void inside(std::string_view operation, std::string_view what, double found, double low,
            double high);
/// indexOutOfRange unless 0 <= found < count: "OPERATION: column 5, 0 to 3 expected".
void index(std::string_view operation, std::string_view what, std::int64_t found,
           std::int64_t count);
/// notFinite: "OPERATION: response of record 3 is nan, a finite number expected" with `what` =
/// "response".
void finite(std::string_view operation, std::string_view what, std::span<const double> values);
/// One finite weight of at least 0 for each record, one of them above 0 if `anyPositive`.
void weights(std::string_view operation, const Vector& weights, std::int64_t records,
             bool anyPositive);
/// notFitted: "OPERATION: the model is not fitted".
void fitted(std::string_view operation, bool isFitted);

}  // namespace Veltrix::Engine::Checks
