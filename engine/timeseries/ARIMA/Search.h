#pragma once

#include <cstddef>
#include <vector>

#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/Optimization.h"
#include "Veltrix/Engine/TS/ARIMA/ARMA.h"
#include "engine/timeseries/ARIMA/Likelihood.h"

namespace Veltrix::Engine::TS::ARIMA {

/// The search for the coefficients of a model, in variables without bounds: for each AR group the
/// inverse hyperbolic tangents of its partial autocorrelations, for each MA group their arc sines
/// (a maximum on the unit circle is then a smooth one), all scaled by the model.
class Search final : public Optimization::QuasiNewtonOptimizer {
  public:
    Search(const ARMA& model, Likelihood& likelihood);
    Search(const Search&) = default;
    Search(Search&&) noexcept = default;
    Search& operator=(const Search&) = delete;
    Search& operator=(Search&&) noexcept = default;
    ~Search() override;

    /// The objective less what does not depend on the parameters.
    double function(const Vector& variables) override;
    /// Differences with a step that suits variables of scale 1: central ones, or forward ones when
    /// the search is coarse.
    Vector getGradient(const Vector& variables) override;

    /// A minimum to about the second decimal place of the objective, for the first values of a long
    /// series, at a fraction of the cost: enough to tell maxima of the likelihood apart.
    Vector minimizeCoarsely(const Vector& start);

    /// The variables of coefficients, moved inside the region where they are not.
    Vector variables(const Vector& parameters) const;
    Vector parameters(const Vector& variables) const;
    /// The k-th of a sequence of points that fill the region evenly.
    Vector spread(std::size_t k) const;

  private:
    enum class Kind { autoregressive, movingAverage, plain };
    struct Group {
        std::size_t offset;
        std::size_t size;
        Kind kind;
    };
    void install(const Vector& variables);

    const ARMA* model_;
    Likelihood* likelihood_;
    std::vector<Group> groups_;
    Vector scale_;
    Vector parameters_;
    std::vector<double> partials_;
    bool coarse_ = false;
    Vector last_;  ///< where the objective was evaluated last
    double lastValue_ = 0.0;
};

}  // namespace Veltrix::Engine::TS::ARIMA
