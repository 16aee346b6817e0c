#include "engine/timeseries/ARIMA/Preliminary.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "Veltrix/Data/Progress.h"
#include "support/LinearAlgebra.h"

namespace Veltrix::Engine::TS::ARIMA {

Innovations innovations(std::span<const double> acvf) {
    const std::size_t m = acvf.empty() ? 0 : acvf.size() - 1;
    Innovations result;
    if (acvf.empty()) return result;
    // Row n holds θ_{n,n} … θ_{n,1}: entry k belongs to the k-th value, not to the lag.
    std::vector<double> table(m * (m + 1) / 2);
    std::vector<double> variances{acvf[0]};
    variances.reserve(m + 1);
    const auto row = [&table](std::size_t n) { return table.data() + n * (n - 1) / 2; };
    ProgressPhase phase("Computing innovations", m);
    for (std::size_t n = 1; n <= m; ++n) {
        double* const theta = row(n);
        double variance = acvf[0];
        for (std::size_t k = 0; k < n; ++k) {
            double sum = acvf[n - k];
            for (std::size_t j = 0; j < k; ++j) sum -= row(k)[j] * theta[j] * variances[j];
            theta[k] = variances[k] > 0.0 ? sum / variances[k] : 0.0;
            variance -= theta[k] * theta[k] * variances[k];
        }
        variances.push_back(std::max(variance, 0.0));
        phase.advance();
    }
    result.variance = variances.back();
    if (m > 0) {
        result.coefficients.assign(row(m), row(m) + m);
        std::ranges::reverse(result.coefficients);
    }
    return result;
}

std::optional<std::vector<double>> fromPsi(std::span<const double> psi, std::size_t p,
                                           std::size_t q) {
    const auto at = [psi](std::size_t j) { return j == 0 ? 1.0 : psi[j - 1]; };
    std::vector<double> result(p + q);
    if (p > 0) {
        // ψ_j = Σ φ_k ψ_{j−k} for j = q + 1 … q + p, where no MA coefficient takes part.
        std::vector<double> system(p * p);
        std::vector<std::int32_t> pivots(p);
        for (std::size_t k = 1; k <= p; ++k) {
            for (std::size_t j = q + 1; j <= q + p; ++j) {
                if (k <= j) system[(j - q - 1) + (k - 1) * p] = at(j - k);
            }
        }
        std::copy_n(psi.begin() + static_cast<std::ptrdiff_t>(q), p, result.begin());
        const auto size = static_cast<std::int64_t>(p);
        if (!Support::allFinite(system.data(), size * size)) return std::nullopt;
        try {
            Support::getrf(size, size, system.data(), size, pivots.data());
            Support::getrs(Support::Transpose::No, size, 1, system.data(), size, pivots.data(),
                           result.data(), size);
        } catch (const Support::LinearAlgebraError&) {
            return std::nullopt;
        }
    }
    for (std::size_t j = 1; j <= q; ++j) {
        double theta = at(j);
        for (std::size_t k = 1; k <= std::min(j, p); ++k) theta -= result[k - 1] * at(j - k);
        result[p + j - 1] = theta;
    }
    return result;
}

std::optional<std::vector<double>> regressOnResiduals(std::span<const double> series,
                                                      std::span<const double> residuals,
                                                      std::size_t p, std::size_t q) {
    const std::size_t n = series.size();
    const std::size_t rows = residuals.size() - q;
    const std::size_t first = n - rows;  // of the values explained
    const std::size_t columns = p + q;
    std::vector<double> design(rows * columns);
    for (std::size_t i = 0; i < p; ++i) {
        std::copy_n(series.begin() + static_cast<std::ptrdiff_t>(first - i - 1), rows,
                    design.begin() + static_cast<std::ptrdiff_t>(i * rows));
    }
    for (std::size_t j = 0; j < q; ++j) {
        std::copy_n(residuals.begin() + static_cast<std::ptrdiff_t>(q - j - 1), rows,
                    design.begin() + static_cast<std::ptrdiff_t>((p + j) * rows));
    }
    const auto r = static_cast<std::int64_t>(rows);
    const auto c = static_cast<std::int64_t>(columns);
    std::vector<double> products(columns * columns);
    std::vector<double> result(columns);
    using Support::Transpose;
    using Support::Triangle;
    Support::syrk(Triangle::Lower, Transpose::Yes, c, r, 1.0, design.data(), r, 0.0,
                  products.data(), c);
    Support::gemv(Transpose::Yes, r, c, 1.0, design.data(), r, series.data() + first, 1, 0.0,
                  result.data(), 1);
    try {
        Support::potrf(Triangle::Lower, c, products.data(), c);
        Support::potrs(Triangle::Lower, c, 1, products.data(), c, result.data(), c);
    } catch (const Support::LinearAlgebraError&) {
        return std::nullopt;
    }
    return result;
}

}  // namespace Veltrix::Engine::TS::ARIMA
