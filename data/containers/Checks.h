#pragma once

/// @file
/// Argument checks, also for the libraries above. Each is a comparison inline with the throwing
/// path out of line; the text begins with the operation: "Matrix product: 3 columns on the left, 4
/// rows on the right".

#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Export.h"
#include "support/LinearAlgebra.h"

namespace Veltrix {

class Matrix;

/// Codes of exceptions without a class of their own (1 to 99), and of the shape and row-count
/// classes.
enum class ErrorCode : int {
    sizeMismatch = 1,     ///< operands whose sizes disagree
    indexOutOfRange = 2,  ///< an index or position that does not exist
    invalidArgument = 3,  ///< a value outside its domain, an empty operand
    notFinite = 4,        ///< NaN or infinity where finite numbers are needed
    notPositiveDefinite = 5,
    singular = 6,
    noConvergence = 7,
    tooLarge = 8,     ///< a size beyond what the index type or the back end can hold
    invalidText = 9,  ///< text that cannot be read (JSON, UTF-8)
    file = 10,        ///< a file that cannot be read or written
    internal = 11,
    cancelled = 12,
    notFitted = 13,  ///< a question that only a fitted model can answer
    numElementsMismatch = 101,
    tooFewNumRows = 102
};

namespace Checks {

/// Throws `Exception` with "OPERATION: PROBLEM".
[[noreturn]] VELTRIX_DATA_API void fail(ErrorCode code, std::string_view operation,
                                        std::string_view problem);

[[noreturn]] VELTRIX_DATA_API void failCounts(std::string_view operation, std::uint64_t left,
                                              std::string_view leftWhat, std::uint64_t right,
                                              std::string_view rightWhat);
[[noreturn]] VELTRIX_DATA_API void failIndex(std::string_view operation, std::string_view what,
                                             std::int64_t index, std::uint64_t count);
[[noreturn]] VELTRIX_DATA_API void failNegative(std::string_view operation, std::string_view what,
                                                std::int64_t value);
[[noreturn]] VELTRIX_DATA_API void failEnumerator(std::string_view operation, std::string_view what,
                                                  int value, int least, int greatest);
[[noreturn]] VELTRIX_DATA_API void failShapes(std::string_view operation, std::int64_t rowsA,
                                              std::int64_t colsA, std::int64_t rowsB,
                                              std::int64_t colsB);

/// Two counts that must agree: "OPERATION: 3 columns on the left, 4 rows on the right" with
/// `leftWhat` = "columns on the left", `rightWhat` = "rows on the right".
template <class Left, class Right>
void counts(std::string_view operation, Left left, std::string_view leftWhat, Right right,
            std::string_view rightWhat) {
    const auto a = static_cast<std::uint64_t>(left);
    const auto b = static_cast<std::uint64_t>(right);
    if (a != b) failCounts(operation, a, leftWhat, b, rightWhat);
}

/// Element-wise operands of equal length.
inline void sameSize(std::string_view operation, std::uint64_t left, std::uint64_t right) {
    counts(operation, left, "elements on the left", right, "elements on the right");
}

/// Element-wise operands of equal shape: "OPERATION: 2 x 3 on the left, 3 x 2 on the right".
VELTRIX_DATA_API void sameShape(std::string_view operation, const Matrix& left,
                                const Matrix& right);

/// 0 <= index < count: "OPERATION: row 5 of 3" with `what` = "row".
template <class Index, class Count>
void index(std::string_view operation, std::string_view what, Index value, Count count) {
    bool outside = static_cast<std::uint64_t>(value) >= static_cast<std::uint64_t>(count);
    if constexpr (std::is_signed_v<Index>) outside = outside || value < 0;
    if (outside) {
        failIndex(operation, what, static_cast<std::int64_t>(value),
                  static_cast<std::uint64_t>(count));
    }
}

/// Every index of a set lies in [0, count).
VELTRIX_DATA_API void indexes(std::string_view operation, std::string_view what,
                              std::span<const int> values, int count);

/// A count or size given as a signed number.
inline void notNegative(std::string_view operation, std::string_view what, std::int64_t value) {
    if (value < 0) failNegative(operation, what, value);
}

/// An operand that must have elements.
inline void notEmpty(std::string_view operation, std::uint64_t size) {
    if (size == 0) fail(ErrorCode::invalidArgument, operation, "the operand is empty");
}

/// An enumerator from the list least, …, greatest: "OPERATION: storage order 7, 0 or 1 expected".
template <class Enumerator>
void enumerator(std::string_view operation, std::string_view what, Enumerator value, int least,
                int greatest) {
    const int number = static_cast<int>(value);
    if (number < least || number > greatest) {
        failEnumerator(operation, what, number, least, greatest);
    }
}

/// A size that is to become a row or column count. Returns it as such.
VELTRIX_DATA_API int dimension(std::string_view operation, std::string_view what,
                               std::uint64_t size);

/// Throws `NumElementsMismatch` unless the matrix is square.
VELTRIX_DATA_API void square(const Matrix& a);

/// Throws `Exception` naming the first entry (row, column, by rows) that is NaN or infinite:
/// "QR: entry (3, 2) is NaN", with `what` = "entry ".
VELTRIX_DATA_API void finite(std::string_view operation, const Matrix& a,
                             std::string_view what = "entry ");

/// Throws what a failed linear algebra routine means to the caller of `operation`.
[[noreturn]] VELTRIX_DATA_API void failRoutine(std::string_view operation,
                                               const Support::LinearAlgebraError& error);

/// Runs a kernel and turns a failure of its linear algebra routines into `Exception`.
template <class Kernel>
decltype(auto) routine(std::string_view operation, Kernel&& kernel) {
    try {
        return kernel();
    } catch (const Support::LinearAlgebraError& error) {
        failRoutine(operation, error);
    }
}

}  // namespace Checks
}  // namespace Veltrix
