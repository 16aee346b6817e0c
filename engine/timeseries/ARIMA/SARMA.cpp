#include "Veltrix/Engine/TS/ARIMA/SARMA.h"

#include <algorithm>
#include <limits>
#include <span>
#include <type_traits>
#include <utility>

#include "engine/core/Checks.h"
#include "engine/timeseries/ARIMA/Operations.h"
#include "engine/timeseries/ARIMA/Polynomials.h"

namespace Veltrix::Engine::TS::ARIMA {
namespace {

using Values = std::vector<double>;

Values concatenated(std::initializer_list<std::span<const double>> lists) {
    Values result;
    for (const auto& list : lists) result.insert(result.end(), list.begin(), list.end());
    return result;
}

/// Orders so large that their sum wraps around are refused as the largest number.
std::uint64_t sum(std::uint64_t a, std::uint64_t b) {
    return a + b < a ? std::numeric_limits<std::uint64_t>::max() : a + b;
}

/// Every s-th value from the given one on.
Values phase(const Values& series, std::uint64_t first, std::uint64_t s, std::uint64_t count) {
    Values result(count);
    for (std::uint64_t i = 0; i < count; ++i) result[i] = series[first + i * s];
    return result;
}

}  // namespace

SARMA::SARMA(std::uint64_t p, std::uint64_t q, std::uint64_t d, std::uint64_t seasonalP,
             std::uint64_t seasonalQ, std::uint64_t seasonalD, std::uint64_t period)
    : ARMA(sum(p, seasonalP), sum(q, seasonalQ), d, seasonalD, period),
      p_(p),
      q_(q),
      seasonalP_(seasonalP),
      seasonalQ_(seasonalQ) {
    if (seasonalP + seasonalQ > 0) checkPeriod("Seasonal ARIMA model", period);
}

SARMA::SARMA(const Values& ar, const Values& ma, const Values& sar, const Values& sma)
    : SARMA(concatenated({ar, ma, sar, sma}), ar.size(), ma.size(), sar.size(), sma.size()) {}

SARMA::SARMA(const Values& coefficients, std::size_t p, std::size_t q, std::size_t seasonalP,
             std::size_t seasonalQ)
    : ARMA(coefficients, std::min(sum(p, seasonalP), coefficients.size())),
      p_(p),
      q_(q),
      seasonalP_(seasonalP),
      seasonalQ_(seasonalQ) {
    Veltrix::Checks::counts("Seasonal ARIMA model", coefficients.size(), "coefficients",
                            sum(sum(p, q), sum(seasonalP, seasonalQ)), "expected");
}

SARMA::SARMA(SARMA&& other) noexcept { *this = std::move(other); }

SARMA& SARMA::operator=(SARMA&& other) noexcept {
    p_ = std::exchange(other.p_, 0);
    q_ = std::exchange(other.q_, 0);
    seasonalP_ = std::exchange(other.seasonalP_, 0);
    seasonalQ_ = std::exchange(other.seasonalQ_, 0);
    multiplicativeMA_ = other.multiplicativeMA_;
    ARMA::operator=(std::move(other));
    return *this;
}

SARMA::~SARMA() = default;

static_assert(std::is_nothrow_move_assignable_v<SARMA>);

SARMA& SARMA::setMultiplicativeMA(bool multiplicative) {
    multiplicativeMA_ = multiplicative;
    return *this;
}

SARMA& SARMA::loadData(Values series) {
    ARMA::loadData(std::move(series));
    return *this;
}

SARMA& SARMA::loadData(Data data) {
    if (seasonalP_ + seasonalQ_ > 0) checkPeriod("Loading a series", data.period());
    ARMA::loadData(std::move(data));
    return *this;
}

SARMA& SARMA::preprocess() {
    const std::uint64_t depth = longestLag() + 1;
    const std::uint64_t before = std::exchange(depth_, std::max(depth_, depth));
    try {
        ARMA::preprocess();
    } catch (...) {
        depth_ = before;
        throw;
    }
    return *this;
}

SARMA& SARMA::fit() {
    ARMA::fit();
    return *this;
}

SARMA& SARMA::computeInitialEstimates() {
    ARMA::computeInitialEstimates();
    return *this;
}

void SARMA::expand(const Vector& parameters, Values& ar, Values& ma) const {
    if (seasonalP_ + seasonalQ_ > 0) checkPeriod("Seasonal ARIMA model", data_.period());
    std::span<const double> rest(parameters.data(), parameters.size());
    const auto next = [&rest](std::uint64_t count) {
        const auto group = rest.first(count);
        rest = rest.subspan(count);
        return group;
    };
    const auto phi = next(p_);
    const auto theta = next(q_);
    const auto seasonalPhi = next(seasonalP_);
    expandSeasonal(phi, seasonalPhi, data_.period(), -1.0, ar);
    expandSeasonal(theta, next(seasonalQ_), data_.period(), multiplicativeMA_ ? 1.0 : -1.0, ma);
}

std::uint64_t SARMA::longestLag() const { return std::max(expandedArOrder(), expandedMaOrder()); }

bool SARMA::isMovingAverageFactored() const {
    return multiplicativeMA_ || q_ == 0 || seasonalQ_ == 0;
}

Vector SARMA::expandedParameters() const {
    Values ar;
    Values ma;
    expand(parameters_, ar, ma);
    return Vector(std::span<const double>(concatenated({ar, ma})));
}

Vector SARMA::preliminary(InitialEstimates method) const {
    if (seasonalP_ + seasonalQ_ == 0) return ARMA::preliminary(method);
    const Values& series = data_.processedData();
    const std::uint64_t s = data_.period();
    const std::uint64_t count = series.size() / s;
    const ARMA seasonal = quickFit(phase(series, 0, s, count), seasonalP_, seasonalQ_, method);
    Values residuals(s * count);
    for (std::uint64_t j = 0; j < s; ++j) {
        const Values values = phase(series, j, s, count);
        const Predictions predictions = seasonal.predict(values);
        for (std::uint64_t i = 0; i < count; ++i) {
            residuals[j + i * s] = values[i] - predictions.values[i];
        }
    }
    const ARMA plain = quickFit(residuals, p_, q_, method);
    const auto values = [](const ARMA& model) {
        return std::span(model.parameters().data(), model.parameters().size());
    };
    return Vector(std::span<const double>(concatenated({values(plain), values(seasonal)})));
}

}  // namespace Veltrix::Engine::TS::ARIMA
