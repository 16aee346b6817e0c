#include "Veltrix/Evaluator/Metrics.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"

namespace Veltrix {
namespace {

/// Letters whose lower case stands at a fixed distance: all of a run, or every second one where
/// upper and lower case alternate.
struct Letters {
    char32_t first;
    char32_t last;
    int distance;
    char32_t step = 1;
};

constexpr Letters kUpperCase[] = {
    {U'A', U'Z', 32},                            // ASCII
    {0xC0, 0xD6, 32},     {0xD8, 0xDE, 32},      // Latin-1
    {0x100, 0x12E, 1, 2}, {0x132, 0x136, 1, 2},  // Latin Extended-A
    {0x139, 0x147, 1, 2}, {0x14A, 0x176, 1, 2}, {0x178, 0x178, -121}, {0x179, 0x17D, 1, 2},
    {0x386, 0x386, 38},   {0x388, 0x38A, 37},  // Greek with accents
    {0x38C, 0x38C, 64},   {0x38E, 0x38F, 63},   {0x391, 0x3A1, 32},   {0x3A3, 0x3AB, 32},  // Greek
    {0x3C2, 0x3C2, 1},                         // final sigma
    {0x400, 0x40F, 80},   {0x410, 0x42F, 32},  // Cyrillic
    {0x460, 0x480, 1, 2}, {0x48A, 0x4BE, 1, 2}, {0x4C0, 0x4C0, 15},   {0x4C1, 0x4CD, 1, 2},
    {0x4D0, 0x52E, 1, 2},
};

wchar_t folded(wchar_t unit) {
    const auto code = static_cast<char32_t>(unit);
    for (const Letters& letters : kUpperCase) {
        if (code < letters.first) break;
        if (code <= letters.last && (code - letters.first) % letters.step == 0) {
            return static_cast<wchar_t>(unit + letters.distance);
        }
    }
    return unit;
}

bool equalWithoutCase(const WString& a, const WString& b) {
    return std::equal(a.str().begin(), a.str().end(), b.str().begin(), b.str().end(),
                      [](wchar_t x, wchar_t y) { return folded(x) == folded(y); });
}

/// Sum of what `term` makes of each record, without the rounding errors of a running sum.
template <class Term>
double sumOf(std::uint64_t numRecords, Term term) {
    Vector terms(numRecords, Storage::kUnfilled);
    for (std::uint64_t i = 0; i < numRecords; ++i) terms[i] = term(i);
    return Util::sum(terms);
}

/// Mean of what `error` makes of each actual and predicted value; 0/0 is NaN.
template <class Error>
double meanError(const char* operation, const Vector& actual, const Vector& predicted,
                 Error error) {
    Checks::counts(operation, actual.size(), "actual values", predicted.size(), "predicted");
    return sumOf(actual.size(), [&](std::uint64_t i) { return error(actual[i], predicted[i]); }) /
           static_cast<double>(actual.size());
}

/// The same of 0/1 outcomes and their probabilities.
template <class Error>
double meanOutcomeError(const char* operation, const Vector& outcomes, const Vector& probabilities,
                        Error error) {
    return meanError(operation, outcomes, probabilities, [&](double outcome, double p) {
        if (outcome != 0.0 && outcome != 1.0) {
            Checks::fail(ErrorCode::invalidArgument, operation,
                         "an outcome is neither 0 nor 1, successes and others expected");
        }
        return error(outcome == 1.0, p);
    });
}

void checkClasses(const char* operation, const IntVector& actual, const Matrix& posteriors) {
    Checks::counts(operation, actual.size(), "actual classes", posteriors.getNumRows(),
                   "rows of posteriors");
    for (const int cls : actual) {
        if (cls != -1) Checks::index(operation, "class", cls, posteriors.getNumCols());
    }
}

/// What a probability of the actual class costs. A NaN stays one.
double surprise(double p) {
    return -std::log(
        p < std::numeric_limits<double>::epsilon() ? std::numeric_limits<double>::epsilon() : p);
}

double square(double x) { return x * x; }

}  // namespace

double Metrics::MSE(const Vector& actual, const Vector& predicted) {
    return meanError("MSE", actual, predicted, [](double y, double f) { return square(y - f); });
}

double Metrics::RMSE(const Vector& actual, const Vector& predicted) {
    return std::sqrt(
        meanError("RMSE", actual, predicted, [](double y, double f) { return square(y - f); }));
}

double Metrics::MAE(const Vector& actual, const Vector& predicted) {
    return meanError("MAE", actual, predicted, [](double y, double f) { return std::fabs(y - f); });
}

double Metrics::MAPE(const Vector& actual, const Vector& predicted) {
    return meanError("MAPE", actual, predicted,
                     [](double y, double f) { return std::fabs(y - f) / std::fabs(y); });
}

double Metrics::R2(const Vector& actual, const Vector& predicted) {
    Checks::counts("R2", actual.size(), "actual values", predicted.size(), "predicted");
    const double mean = Util::mean(actual);
    const double total =
        sumOf(actual.size(), [&](std::uint64_t i) { return square(actual[i] - mean); });
    if (total == 0.0) return std::nan("");
    return 1.0 - MSE(actual, predicted) * static_cast<double>(actual.size()) / total;
}

ErrorCurve Metrics::errorCurve(const Vector& actual, const Vector& predicted, int maxPoints) {
    Checks::counts("Error curve", actual.size(), "actual values", predicted.size(), "predicted");
    Checks::notNegative("Error curve", "number of points", maxPoints);
    std::vector<double> errors;
    errors.reserve(actual.size());
    for (std::uint64_t i = 0; i < actual.size(); ++i) {
        const double error = std::fabs(actual[i] - predicted[i]);
        if (!std::isnan(error)) errors.push_back(error);
    }
    std::sort(errors.begin(), errors.end());
    ErrorCurve curve;
    if (actual.empty()) return curve;
    const auto all = static_cast<double>(actual.size());
    const std::size_t step =
        maxPoints == 0 ? 1 : errors.size() / static_cast<std::size_t>(maxPoints) + 1;
    std::size_t last = 0;
    curve.tolerances.push_back(0.0);
    curve.shares.push_back(0.0);
    for (std::size_t i = 0; i < errors.size(); ++i) {
        const bool end = i + 1 == errors.size();
        if (!end && (errors[i + 1] == errors[i] || i + 1 < last + step)) continue;
        last = i + 1;
        curve.tolerances.push_back(errors[i]);
        curve.shares.push_back(static_cast<double>(last) / all);
    }
    return curve;
}

double Metrics::accuracy(const StringVector& actual, const StringVector& predicted,
                         bool caseSensitive) {
    Checks::counts("Accuracy", actual.size(), "actual values", predicted.size(), "predicted");
    std::uint64_t equal = 0;
    for (std::uint64_t i = 0; i < actual.size(); ++i) {
        const bool same =
            caseSensitive ? actual[i] == predicted[i] : equalWithoutCase(actual[i], predicted[i]);
        if (same) ++equal;
    }
    return static_cast<double>(equal) / static_cast<double>(actual.size());
}

double Metrics::logLoss(const IntVector& actual, const Matrix& posteriors) {
    checkClasses("Log loss", actual, posteriors);
    const double sum = sumOf(actual.size(), [&](std::uint64_t i) {
        return surprise(actual[i] < 0 ? 0.0 : posteriors(static_cast<int>(i), actual[i]));
    });
    return sum / static_cast<double>(actual.size());
}

double Metrics::brierScore(const IntVector& actual, const Matrix& posteriors) {
    checkClasses("Brier score", actual, posteriors);
    double sum = 0.0;
    for (int j = 0; j < posteriors.getNumCols(); ++j) {
        sum += sumOf(actual.size(), [&](std::uint64_t i) {
            return square(posteriors(static_cast<int>(i), j) - (actual[i] == j ? 1.0 : 0.0));
        });
    }
    // A class without a column was given no probability.
    sum += static_cast<double>(std::count(actual.begin(), actual.end(), -1));
    if (posteriors.getNumCols() == 2) sum *= 0.5;
    return sum / static_cast<double>(actual.size());
}

double Metrics::logLoss(const Vector& outcomes, const Vector& probabilities) {
    return meanOutcomeError("Log loss", outcomes, probabilities,
                            [](bool success, double p) { return surprise(success ? p : 1.0 - p); });
}

double Metrics::brierScore(const Vector& outcomes, const Vector& probabilities) {
    return meanOutcomeError("Brier score", outcomes, probabilities, [](bool success, double p) {
        return square(p - (success ? 1.0 : 0.0));
    });
}

}  // namespace Veltrix
