#include "engine/timeseries/ARIMA/Polynomials.h"

#include <algorithm>
#include <utility>

#include "support/LinearAlgebra.h"

namespace Veltrix::Engine::TS::ARIMA {

void fromPartials(std::span<const double> partials, std::span<double> ar) {
    for (std::size_t k = 1; k <= partials.size(); ++k) stepUp(ar.first(k), partials[k - 1]);
}

bool toPartials(std::span<const double> ar, std::span<double> partials) {
    std::ranges::copy(ar, partials.begin());
    for (std::size_t k = ar.size(); k > 0; --k) {
        if (!stepDown(partials.first(k))) return false;
    }
    return true;
}

std::vector<double> shrunk(std::vector<double> ar, double limit) {
    constexpr double kStep = 0.98;
    std::vector<double> partials(ar.size());
    const auto within = [&] {
        return toPartials(ar, partials) && std::ranges::all_of(partials, [limit](double partial) {
                   return std::fabs(partial) <= limit;
               });
    };
    if (!Support::allFinite(ar.data(), static_cast<std::int64_t>(ar.size()))) {
        std::ranges::fill(ar, 0.0);
    }
    while (!within()) {
        double factor = 1.0;
        for (double& coefficient : ar) coefficient *= factor *= kStep;
    }
    return ar;
}

std::vector<double> psiWeights(std::span<const double> ar, std::span<const double> ma,
                               std::size_t count) {
    std::vector<double> psi(count);
    if (count > 0) psi[0] = 1.0;
    for (std::size_t j = 1; j < count; ++j) {
        double sum = j <= ma.size() ? ma[j - 1] : 0.0;
        for (std::size_t k = 1; k <= std::min(j, ar.size()); ++k) sum += ar[k - 1] * psi[j - k];
        psi[j] = sum;
    }
    return psi;
}

void expandSeasonal(std::span<const double> coefficients, std::span<const double> seasonal,
                    std::uint64_t period, double crossSign, std::vector<double>& result) {
    result.assign(coefficients.size() + seasonal.size() * period, 0.0);
    std::ranges::copy(coefficients, result.begin());
    for (std::size_t k = 0; k < seasonal.size(); ++k) {
        double* at = result.data() + (k + 1) * period - 1;
        at[0] += seasonal[k];
        for (std::size_t j = 0; j < coefficients.size(); ++j) {
            at[j + 1] += crossSign * coefficients[j] * seasonal[k];
        }
    }
}

std::vector<double> integrated(std::span<const double> ar, std::uint64_t d, std::uint64_t seasonalD,
                               std::uint64_t period) {
    std::vector<double> result(ar.begin(), ar.end());
    const auto difference = [&result](std::uint64_t lag) {
        const double unit = 1.0;
        const std::vector<double> before = std::move(result);
        expandSeasonal(before, {&unit, 1}, lag, -1.0, result);
    };
    for (std::uint64_t k = 0; k < d; ++k) difference(1);
    for (std::uint64_t k = 0; k < seasonalD; ++k) difference(period);
    return result;
}

}  // namespace Veltrix::Engine::TS::ARIMA
