#include "engine/core/Checks.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "support/NumberText.h"

namespace Veltrix::Engine::Checks {
namespace {

std::string counted(std::int64_t number, std::string_view what) {
    return std::to_string(number).append(" ").append(what);
}

/// "WHAT of record 3 is nan".
std::string ofRecord(std::string_view what, std::size_t record, double value) {
    return std::string(what)
        .append(" of record ")
        .append(std::to_string(record))
        .append(" is ")
        .append(Support::numberText(value));
}

}  // namespace

void atLeast(std::string_view operation, std::string_view what, std::int64_t found,
             std::int64_t least) {
    if (found >= least) return;
    fail(ErrorCode::invalidArgument, operation,
         counted(found, what) + ", at least " + std::to_string(least) + " expected");
}

void notEmpty(std::string_view operation, const Matrix& x) {
    atLeast(operation, "records", x.getNumRows(), 1);
    atLeast(operation, "columns", x.getNumCols(), 1);
}

void onePerRecord(std::string_view operation, std::string_view what, std::uint64_t found,
                  std::int64_t records) {
    const auto size = static_cast<std::int64_t>(found);
    if (size == records) return;
    fail(ErrorCode::sizeMismatch, operation,
         counted(size, what) + ", " + std::to_string(records) + " expected, one for each record");
}

void columns(std::string_view operation, int found, int expected) {
    if (found == expected) return;
    fail(ErrorCode::sizeMismatch, operation,
         counted(found, "columns") + ", " + std::to_string(expected) + " expected as in training");
}

void shape(std::string_view operation, std::string_view what, const Matrix& found, int rows,
           int cols) {
    if (found.getNumRows() == rows && found.getNumCols() == cols) return;
    const auto text = [](int m, int n) { return std::to_string(m) + " x " + std::to_string(n); };
    fail(ErrorCode::sizeMismatch, operation,
         std::string(what) + " are " + text(found.getNumRows(), found.getNumCols()) + ", " +
             text(rows, cols) + " expected");
}

void inside(std::string_view operation, std::string_view what, double found, double low,
            double high) {
    if (found > low && found < high) return;
    fail(ErrorCode::invalidArgument, operation,
         std::string(what) + " " + Support::numberText(found) + ", between " +
             Support::numberText(low) + " and " + Support::numberText(high) + " expected");
}

void index(std::string_view operation, std::string_view what, std::int64_t found,
           std::int64_t count) {
    if (found >= 0 && found < count) return;
    fail(ErrorCode::indexOutOfRange, operation,
         std::string(what) + " " + std::to_string(found) + ", 0 to " + std::to_string(count - 1) +
             " expected");
}

void finite(std::string_view operation, std::string_view what, std::span<const double> values) {
    const auto bad =
        std::ranges::find_if_not(values, [](double value) { return std::isfinite(value); });
    if (bad == values.end()) return;
    fail(ErrorCode::notFinite, operation,
         ofRecord(what, static_cast<std::size_t>(bad - values.begin()), *bad) +
             ", a finite number expected");
}

void weights(std::string_view operation, const Vector& weights, std::int64_t records,
             bool anyPositive) {
    onePerRecord(operation, "weights", weights.size(), records);
    const auto bad = std::find_if_not(weights.begin(), weights.end(), [](double weight) {
        return weight >= 0.0 && std::isfinite(weight);
    });
    if (bad != weights.end()) {
        fail(ErrorCode::invalidArgument, operation,
             ofRecord("weight", static_cast<std::size_t>(bad - weights.begin()), *bad) +
                 ", a finite number of at least 0 expected");
    }
    if (!anyPositive || records == 0) return;
    if (std::none_of(weights.begin(), weights.end(), [](double weight) { return weight > 0.0; })) {
        fail(ErrorCode::invalidArgument, operation, "all weights are 0");
    }
}

void fitted(std::string_view operation, bool isFitted) {
    if (!isFitted) fail(ErrorCode::notFitted, operation, "the model is not fitted");
}

}  // namespace Veltrix::Engine::Checks
