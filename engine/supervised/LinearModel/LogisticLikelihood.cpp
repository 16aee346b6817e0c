#include "engine/supervised/LinearModel/LogisticLikelihood.h"

#include <cmath>
#include <string>

#include "engine/core/Checks.h"
#include "support/NumberText.h"
#include "support/VectorMath.h"

namespace Veltrix::Engine::LinearModel {
namespace {

/// u = e^−|η|
void oddsAgainst(std::span<const double> products, Vector& odds) {
    odds.resize(products.size());
    for (std::size_t i = 0; i < products.size(); ++i) odds[i] = -std::abs(products[i]);
    Support::exp(odds.data(), odds.data(), static_cast<std::int64_t>(odds.size()));
}

/// ln(1 + u), right for small u too: what rounding 1 + u loses is divided out (Kahan).
void logarithms(const Vector& odds, Vector& logs) {
    logs.resize(odds.size());
    for (std::size_t i = 0; i < odds.size(); ++i) logs[i] = 1.0 + odds[i];
    Support::ln(logs.data(), logs.data(), static_cast<std::int64_t>(logs.size()));
    for (std::size_t i = 0; i < odds.size(); ++i) {
        const double rounded = (1.0 + odds[i]) - 1.0;
        logs[i] = rounded == 0.0 ? odds[i] : logs[i] * (odds[i] / rounded);
    }
}

}  // namespace

void checkResponses(const Vector& y, int numRecords) {
    constexpr const char* kOperation = "Logistic regression";
    Checks::onePerRecord(kOperation, "responses", y.size(), numRecords);
    for (std::uint64_t i = 0; i < y.size(); ++i) {
        if (y[i] == 0.0 || y[i] == 1.0) continue;
        Checks::fail(ErrorCode::invalidArgument, kOperation,
                     "response of record " + std::to_string(i) + " is " +
                         Support::numberText(y[i]) + ", 0 or 1 expected");
    }
}

void successProbabilities(std::span<const double> products, double* success, double* failure) {
    Vector odds;
    oddsAgainst(products, odds);
    for (std::size_t i = 0; i < products.size(); ++i) {
        const double likely = 1.0 / (1.0 + odds[i]);
        const double unlikely = odds[i] * likely;
        const bool isLikely = products[i] >= 0.0;
        success[i] = isLikely ? likely : unlikely;
        failure[i] = isLikely ? unlikely : likely;
    }
}

void LogisticLikelihood::add(std::uint64_t first, std::span<const double> products) {
    constexpr double kUndecided = 0.0001;
    oddsAgainst(products, odds_);
    logarithms(odds_, logs_);
    const double* const y = y_.data() + first;
    const double* const w = weights_.data() + first;
    double sum = 0.0;
    double largest = 0.0;
    for (std::size_t i = 0; i < products.size(); ++i) {
        // How far the predictor is on the record's own side; −ln of its probability follows.
        const double margin = y[i] > 0.0 ? products[i] : -products[i];
        sum += w[i] * (logs_[i] + (margin < 0.0 ? -margin : 0.0));
        const double likely = 1.0 / (1.0 + odds_[i]);
        const double variance = odds_[i] * likely * likely;
        largest = variance > largest ? variance : largest;
    }
    deviance_ += 2.0 * sum;
    decided_ = decided_ && !(largest > kUndecided);
}

void LogisticLikelihood::add(std::uint64_t first, std::span<const double> products,
                             std::span<double> v, std::span<double> r) {
    add(first, products);
    const double* const y = y_.data() + first;
    const double* const w = weights_.data() + first;
    for (std::size_t i = 0; i < products.size(); ++i) {
        const double likely = 1.0 / (1.0 + odds_[i]);
        const double unlikely = odds_[i] * likely;
        const double success = y[i] > 0.0 ? 1.0 : -1.0;
        v[i] = w[i] * likely * unlikely;
        r[i] = w[i] * success * (success * products[i] >= 0.0 ? unlikely : likely);
    }
}

}  // namespace Veltrix::Engine::LinearModel
