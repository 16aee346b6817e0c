#include "data/containers/Checks.h"

#include <cmath>

#include "Veltrix/Data/Matrix.h"

namespace Veltrix::Checks {
namespace {

std::string shapeText(std::int64_t rows, std::int64_t cols) {
    return std::to_string(rows) + " x " + std::to_string(cols);
}

ErrorCode codeOf(Support::LinearAlgebraFailure failure) {
    switch (failure) {
        case Support::LinearAlgebraFailure::NotFinite:
            return ErrorCode::notFinite;
        case Support::LinearAlgebraFailure::NotPositiveDefinite:
            return ErrorCode::notPositiveDefinite;
        case Support::LinearAlgebraFailure::Singular:
            return ErrorCode::singular;
        case Support::LinearAlgebraFailure::NoConvergence:
            return ErrorCode::noConvergence;
        case Support::LinearAlgebraFailure::TooLarge:
            return ErrorCode::tooLarge;
        case Support::LinearAlgebraFailure::Internal:
            break;
    }
    return ErrorCode::internal;
}

}  // namespace

void fail(ErrorCode code, std::string_view operation, std::string_view problem) {
    std::string message(operation);
    message.append(": ").append(problem);
    throw Exception(std::move(message), static_cast<int>(code));
}

void failCounts(std::string_view operation, std::uint64_t left, std::string_view leftWhat,
                std::uint64_t right, std::string_view rightWhat) {
    std::string problem = std::to_string(left);
    problem.append(" ").append(leftWhat).append(", ").append(std::to_string(right));
    fail(ErrorCode::sizeMismatch, operation, problem.append(" ").append(rightWhat));
}

void failIndex(std::string_view operation, std::string_view what, std::int64_t index,
               std::uint64_t count) {
    std::string problem(what);
    problem.append(" ").append(std::to_string(index)).append(" of ").append(std::to_string(count));
    fail(ErrorCode::indexOutOfRange, operation, problem + ", counted from 0");
}

void failNegative(std::string_view operation, std::string_view what, std::int64_t value) {
    std::string problem(what);
    problem.append(" ").append(std::to_string(value)).append(", at least 0 expected");
    fail(ErrorCode::invalidArgument, operation, problem);
}

void failEnumerator(std::string_view operation, std::string_view what, int value, int least,
                    int greatest) {
    std::string problem(what);
    problem.append(" ").append(std::to_string(value)).append(", ").append(std::to_string(least));
    problem.append(greatest - least == 1 ? " or " : " to ").append(std::to_string(greatest));
    fail(ErrorCode::invalidArgument, operation, problem + " expected");
}

void failShapes(std::string_view operation, std::int64_t rowsA, std::int64_t colsA,
                std::int64_t rowsB, std::int64_t colsB) {
    fail(ErrorCode::sizeMismatch, operation,
         shapeText(rowsA, colsA) + " on the left, " + shapeText(rowsB, colsB) + " on the right");
}

void sameShape(std::string_view operation, const Matrix& left, const Matrix& right) {
    if (left.getNumRows() != right.getNumRows() || left.getNumCols() != right.getNumCols()) {
        failShapes(operation, left.getNumRows(), left.getNumCols(), right.getNumRows(),
                   right.getNumCols());
    }
}

void indexes(std::string_view operation, std::string_view what, std::span<const int> values,
             int count) {
    for (const int value : values) index(operation, what, value, count);
}

int dimension(std::string_view operation, std::string_view what, std::uint64_t size) {
    constexpr int kLargest = std::numeric_limits<int>::max();
    if (size > static_cast<std::uint64_t>(kLargest)) {
        std::string problem = std::to_string(size);
        problem.append(" ").append(what).append(", at most ").append(std::to_string(kLargest));
        fail(ErrorCode::tooLarge, operation, problem + " are possible");
    }
    return static_cast<int>(size);
}

void square(const Matrix& a) {
    if (a.getNumRows() != a.getNumCols()) throw NumElementsMismatch();
}

void finite(std::string_view operation, const Matrix& a, std::string_view what) {
    const std::int64_t size = std::int64_t{a.getNumRows()} * a.getNumCols();
    if (Support::allFinite(a.data(), size)) return;
    for (int i = 0; i < a.getNumRows(); ++i) {
        for (int j = 0; j < a.getNumCols(); ++j) {
            const double value = a(i, j);
            if (std::isfinite(value)) continue;
            std::string problem(what);
            problem.append("(").append(std::to_string(i)).append(", ").append(std::to_string(j));
            fail(ErrorCode::notFinite, operation,
                 problem.append(") is ").append(std::isnan(value) ? "NaN" : "infinite"));
        }
    }
}

void failRoutine(std::string_view operation, const Support::LinearAlgebraError& error) {
    // The text starts with the routine's own name, which the operation replaces.
    std::string_view meaning = error.what();
    const std::size_t colon = meaning.find(": ");
    if (colon != std::string_view::npos) meaning.remove_prefix(colon + 2);
    fail(codeOf(error.kind), operation, meaning);
}

}  // namespace Veltrix::Checks
