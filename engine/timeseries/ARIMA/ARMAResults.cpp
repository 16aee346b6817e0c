#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/Distributions.h"
#include "Veltrix/Engine/TS/ARIMA/ARMA.h"
#include "engine/core/Checks.h"
#include "engine/timeseries/ARIMA/Likelihood.h"
#include "support/LinearAlgebra.h"

namespace Veltrix::Engine::TS::ARIMA {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Second differences of a function about a point, with a step for each coordinate.
template <class Function>
class Curvature {
  public:
    Curvature(Function function, Vector point)
        : function_(std::move(function)), point_(std::move(point)), steps_(point_.size(), 1e-3) {
        centre_ = function_(point_);
    }

    /// Steps of a hundredth of the distance at which the function has risen by 1, less where the
    /// function ends before.
    void adaptSteps() {
        constexpr double kShare = 0.01;
        constexpr double kLargest = 0.02;
        constexpr double kLeast = 1e-9;
        constexpr int kRounds = 3;
        for (std::uint64_t i = 0; i < point_.size(); ++i) {
            for (int round = 0; round < kRounds; ++round) {
                while (!std::isfinite(second(i)) && steps_[i] > kLeast) steps_[i] /= 8.0;
                const double curvature = second(i);
                const double scale = std::max(std::fabs(point_[i]), 1.0);
                if (curvature > 0.0) {
                    steps_[i] = std::min(kShare * std::sqrt(2.0 / curvature), kLargest * scale);
                }
            }
            while (!std::isfinite(second(i)) && steps_[i] > kLeast) steps_[i] /= 8.0;
        }
    }
    double second(std::uint64_t i) {
        const double h = steps_[i];
        return (at(i, h, i, 0.0) - 2.0 * centre_ + at(i, -h, i, 0.0)) / (h * h);
    }
    double mixed(std::uint64_t i, std::uint64_t j) {
        constexpr double kLeastShare = 1e-3;
        double result = std::numeric_limits<double>::quiet_NaN();
        for (double share = 1.0; !std::isfinite(result) && share > kLeastShare; share /= 4.0) {
            const double h = share * steps_[i];
            const double k = share * steps_[j];
            result = (at(i, h, j, k) - at(i, h, j, -k) - at(i, -h, j, k) + at(i, -h, j, -k)) /
                     (4.0 * h * k);
        }
        return result;
    }

  private:
    double at(std::uint64_t i, double h, std::uint64_t j, double k) {
        Vector place = point_;
        place[i] += h;
        place[j] += k;
        const double value = function_(place);
        return value < kOutside ? value : std::numeric_limits<double>::infinity();
    }

    Function function_;
    Vector point_;
    Vector steps_;
    double centre_ = 0.0;
};

/// Inverse of a symmetric matrix of any signs; nothing when it is singular.
std::optional<Matrix> inverse(const Matrix& a) {
    const int n = a.getNumRows();
    const auto size = static_cast<std::int64_t>(n);
    Matrix factors = a;
    if (!Support::allFinite(factors.data(), size * size)) return std::nullopt;
    Matrix result(n, n, 0.0);
    for (int i = 0; i < n; ++i) result(i, i) = 1.0;
    std::vector<std::int32_t> pivots(static_cast<std::size_t>(n));
    try {
        Support::getrf(size, size, factors.data(), size, pivots.data());
        Support::getrs(Support::Transpose::No, size, size, factors.data(), size, pivots.data(),
                       result.data(), size);
    } catch (const Support::LinearAlgebraError&) {
        return std::nullopt;
    }
    return result;
}

double pValue(double estimate, double standardError) {
    if (!(std::fabs(standardError) >= std::numeric_limits<double>::epsilon())) return 0.0;
    return 2.0 * Distributions::normalUpperTail(std::fabs(estimate / standardError));
}

std::vector<double> pValues(const std::vector<double>& estimates,
                            const std::vector<double>& standardErrors) {
    std::vector<double> result(estimates.size());
    std::ranges::transform(estimates, standardErrors, result.begin(), pValue);
    return result;
}

ModelParts pValues(const ModelParts& b, const ModelParts& e) {
    ModelParts result;
    result.constant(pValue(b.constant(), e.constant()));
    result.ar(pValues(b.ar(), e.ar())).ma(pValues(b.ma(), e.ma()));
    result.sar(pValues(b.sar(), e.sar())).sma(pValues(b.sma(), e.sma()));
    return result;
}

}  // namespace

void ARMA::checkFitted(const char* operation) const {
    Checks::fitted(operation, fitted_ || fixed_);
}

Matrix ARMA::hessian(Likelihood& likelihood) const {
    const auto n = static_cast<int>(numVars());
    Curvature curvature(
        [&](const Vector& at) { return relativeObjective(likelihood, at, SIZE_MAX); }, parameters_);
    curvature.adaptSteps();
    Matrix result(n, n);
    ProgressPhase phase("Computing standard errors", numVars());
    for (int i = 0; i < n; ++i) {
        const auto row = static_cast<std::uint64_t>(i);
        result(i, i) = curvature.second(row);
        for (int j = 0; j < i; ++j) {
            result(i, j) = result(j, i) = curvature.mixed(row, static_cast<std::uint64_t>(j));
        }
        phase.advance();
    }
    return result;
}

Matrix ARMA::coefficientCovariance() const {
    checkFitted("Covariance of coefficients");
    const auto n = static_cast<int>(numVars());
    Matrix result(n, n, kNaN);
    if (n > 0 && data_.variance() > 0.0) {
        Likelihood likelihood;
        if (auto found = inverse(hessian(likelihood))) result = *found * 2.0;
    }
    return result;
}

ARMA& ARMA::computeCoeffsCovarMatrix() {
    covarMatrix_ = coefficientCovariance();
    return *this;
}

ModelParts ARMA::parts(const Vector& values, double constant) const {
    ModelParts result;
    const double* at = values.data();
    const auto next = [&at](std::uint64_t count) {
        const double* const first = std::exchange(at, at + count);
        return std::vector<double>(first, at);
    };
    result.constant(constant);
    result.ar(next(arOrder())).ma(next(maOrder()));
    result.sar(next(sarOrder())).sma(next(smaOrder()));
    return result;
}

ARMA& ARMA::computeModelDetails() {
    Matrix covariance = coefficientCovariance();
    Vector errors(numVars(), 0.0);
    for (std::uint64_t i = 0; i < errors.size(); ++i) {
        const double variance = covariance(static_cast<int>(i), static_cast<int>(i));
        if (variance > 0.0) errors[i] = std::sqrt(variance);
    }
    std::vector<double> ar;
    std::vector<double> ma;
    expand(parameters_, ar, ma);
    double rest = 1.0;
    for (const double coefficient : ar) rest -= coefficient;
    const double mean = constantIncluded_ ? data_.mean() : 0.0;
    double constantError = 0.0;
    if (constantIncluded_ && !data_.acvf().empty()) {
        const auto count = static_cast<double>(data_.numOriginalRecords());
        constantError = std::sqrt(data_.acvf()[0] / count) * std::fabs(rest);
    }
    ModelParts details = parts(parameters_, mean * rest);
    ModelParts standardErrors = parts(errors, constantError);
    ModelParts probabilities = ARIMA::pValues(details, standardErrors);
    covarMatrix_ = std::move(covariance);
    details_ = std::move(details);
    standardErrors_ = std::move(standardErrors);
    pValues_ = std::move(probabilities);
    return *this;
}

ARMA& ARMA::computePValues() {
    pValues_ = ARIMA::pValues(details_, standardErrors_);
    return *this;
}

double ARMA::aic() const { return lnL() + 2.0 * static_cast<double>(arOrder() + maOrder() + 2); }

double ARMA::aicc() const {
    const auto k = static_cast<double>(arOrder() + maOrder() + 2);
    const auto n = static_cast<double>(data_.numProcessedRecords());
    if (k + 1.0 >= n) return std::numeric_limits<double>::max();
    return aic() + 2.0 * k * (k + 1.0) / (n - k - 1.0);
}

double ARMA::bic() const {
    const auto k = static_cast<double>(arOrder() + maOrder() + 2);
    return aic() + (std::log(static_cast<double>(data_.numProcessedRecords())) - 2.0) * k;
}

ARMA& ARMA::performLjungBoxTest() {
    constexpr std::uint64_t kGroup = 12;
    std::vector<LjungBox> tests;
    const auto n = static_cast<double>(residuals_.size());
    Data noise;
    noise.load(residuals_).computeACVF(0, kGroup * std::uint64_t{ljungBoxGroupCount_} + 1);
    const std::vector<double>& acvf = noise.acvf();
    if (data_.numOriginalRecords() > kGroup && !acvf.empty() && acvf[0] != 0.0) {
        const std::uint64_t orders = arOrder() + maOrder();
        double sum = 0.0;
        for (std::uint64_t lag = kGroup; lag < acvf.size(); lag += kGroup) {
            for (std::uint64_t k = lag - kGroup + 1; k <= lag; ++k) {
                const double correlation = acvf[k] / acvf[0];
                sum += correlation * correlation / (n - static_cast<double>(k));
            }
            if (lag < orders) continue;
            const double statistic = n * (n + 2.0) * sum;
            const auto freedom = static_cast<double>(lag - orders);
            tests.push_back(
                {lag, lag - orders, statistic,
                 lag > orders ? Distributions::chiSquareUpperTail(statistic, freedom) : kNaN});
        }
    }
    ljungBox_ = std::move(tests);
    return *this;
}

}  // namespace Veltrix::Engine::TS::ARIMA
