#pragma once

#include <cstddef>
#include <span>
#include <vector>

/// @file
/// Exact one-step predictions of a stationary ARMA process.

namespace Veltrix::Engine::TS::ARIMA {

/// Predicts every value of a series from those before it, as an ARMA(p, q) process with innovation
/// variance 1 has it: x̂_t = E[x_t | x_1 … x_{t−1}] and r_t = Var(x_t − x̂_t).
///
/// The state s_i = E[x_{t+i} | x_1 … x_{t−1}], i < r = max(p, q), has a companion matrix for
/// transition: a shift, whose last row alone holds coefficients. In place of its r × r covariance
/// run two vectors, the covariances of what is to come with the errors of predicting the newest
/// value forward and the oldest one backward,
///
///     a_i = Cov(x_{t+1+i}, x_t − x̂_t),  b_i = Cov(x_{t+1+i}, x_1 − E[x_1 | x_2 … x_t]),
///
/// with κ = b_0/r_t: r ← r(1 − κ²), a_i ← a_i − κ b_{i+1}, b_i ← b_{i+1} − κ a_i (Schur's
/// recursion; Morf, Sidhu and Kailath 1974, Pearlman 1980). A step costs O(r + coefficients other
/// than 0). Once b has vanished the gains a_i/r stand still and the recursion is that of the
/// invertible ARMA process with the same covariances, which costs only its coefficients other than
/// 0.
///
/// An object holds buffers: it allocates when the orders or the series grow, not otherwise.
class OneStepFilter {
  public:
    /// The process to follow; any MA coefficients, invertible or not. False when it is not
    /// stationary or rounding hides that it is; `run` must not follow then.
    bool setProcess(std::span<const double> ar, std::span<const double> ma);

    struct Sums {
        double squares = 0.0;       ///< Σ (x_t − x̂_t)²/r_t
        double logVariances = 0.0;  ///< Σ ln r_t
    };
    /// Goes through a series. Values that are not finite spread into the sums.
    Sums run(std::span<const double> series);

    /// The errors x_t − x̂_t of the last run.
    std::span<const double> errors() const { return {errors_.data(), length_}; }
    /// The variances r_t of the last run.
    std::vector<double> variances() const;
    /// E[x_{n+i} | x_1 … x_n], i = 1 … `steps`, after a run through the same series.
    std::vector<double> forecast(std::span<const double> series, std::size_t steps) const;

    /// Autocovariances of the process set, lags 0 to max(p, q).
    std::span<const long double> autocovariances() const { return autocovariances_; }

  private:
    /// A coefficient that is not 0.
    struct Term {
        std::size_t lag;
        double value;
    };
    /// The recursion's vectors; entry r of each is the one that is to be shifted in.
    template <class Real>
    struct State {
        std::vector<Real> a;
        std::vector<Real> b;
        std::vector<Real> prediction;
        Real variance = 1;
    };

    bool computeAutocovariances(std::span<const double> ar);
    void extendAutoregression(std::span<const double> ar);
    template <class Real>
    double advance(State<Real>& state, std::span<const double> series, std::size_t from,
                   std::size_t to);
    /// The same for small orders, with everything in registers.
    template <std::size_t R>
    double advanceFew(std::span<const double> series, std::size_t from, std::size_t to);
    double advanceAny(std::span<const double> series, std::size_t from, std::size_t to);
    bool settled() const;
    void computeSteadyTerms();
    double steady(std::span<const double> series, std::size_t from, std::size_t to);

    std::size_t order_ = 0;  ///< r
    std::vector<Term> ar_;
    std::vector<Term> ma_;
    std::vector<Term> steadyMa_;  ///< of the invertible process

    std::vector<long double> autocovariances_;
    std::vector<long double> autoregression_;  ///< autocovariances of its AR part alone
    std::vector<long double> scratch_;
    std::vector<long double> partials_;
    std::vector<long double> products_;  ///< Σ θ_i θ_{i+j}

    State<long double> start_;
    State<double> state_;
    std::size_t length_ = 0;
    std::size_t settledAt_ = 0;  ///< from here on r_t is state_.variance
    std::vector<double> errors_;
    std::vector<double> variances_;
    std::vector<double> logs_;
    std::vector<double> impulse_;
};

}  // namespace Veltrix::Engine::TS::ARIMA
