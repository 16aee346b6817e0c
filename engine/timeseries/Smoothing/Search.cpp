#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/Optimization.h"
#include "Veltrix/Engine/TS/Smoothing/Smoother.h"
#include "engine/timeseries/Smoothing/ErrorSums.h"
#include "engine/timeseries/Smoothing/Lanes.h"
#include "engine/timeseries/Smoothing/Rollback.h"
#include "support/RuntimeRandom.h"

namespace Veltrix::Engine::TS::Smoothing {

namespace {

/// Trials from whose best one the quasi-Newton search starts.
constexpr std::uint64_t kNumStarts = 24;

}  // namespace

void Smoother::generateRandomParams(Support::RuntimeRandom& random) {
    const std::array<bool, 3> own = ownParams();
    for (std::size_t k = 0; k < own.size(); ++k) {
        if (own[k]) state_.params[k] = random.nextFraction();
    }
}

void Smoother::computeTrialErrors(std::span<const Params> trials, std::span<double> errors) {
    for (std::size_t k = 0; k < trials.size(); ++k) {
        state_.params = trials[k];
        resetParams();
        computeSmoothedValues();
        errors[k] = computeForecastError(errorMeasure_);
    }
}

/// Leaves the parameters of the best trial in place, and its error in the state.
void Smoother::search(std::uint64_t numTrials) {
    constexpr std::uint64_t kBatch = Lanes::kCount;
    Support::RuntimeRandom random(static_cast<std::uint32_t>(seed_));
    Params best = state_.params;
    double bestError = kUnusable;
    std::array<Params, kBatch> trials{};
    std::array<double, kBatch> errors{};
    ProgressPhase phase("Searching for parameters", numTrials);
    for (std::uint64_t first = 0; first < numTrials; first += kBatch) {
        const std::uint64_t count = std::min(kBatch, numTrials - first);
        for (std::uint64_t k = 0; k < count; ++k) {
            generateRandomParams(random);
            trials[k] = state_.params;
        }
        computeTrialErrors(std::span(trials).first(count), std::span(errors).first(count));
        for (std::uint64_t k = 0; k < count; ++k) {
            if (!(errors[k] < bestError)) continue;
            bestError = errors[k];
            best = trials[k];
        }
        phase.advance(count);
    }
    state_.params = best;
    state_.error = bestError;
}

Smoother& Smoother::runAuto() {
    checkSeries();
    Rollback rollback(*this);
    initParams();
    if (numRecords() > numSkipped_) search(numTrials_);
    run();
    rollback.keepChanges();
    return *this;
}

/// The error as a function of angles, α = sin² φ, in units of the error at the start. It keeps the
/// best parameters that it has met.
class Smoother::Objective : public Optimization::QuasiNewtonOptimizer {
  public:
    explicit Objective(Smoother& smoother)
        : smoother_(smoother),
          own_(smoother.ownParams()),
          best_(smoother.state_.params),
          bestError_(smoother.state_.error),
          scale_(std::fabs(smoother.state_.error)) {}

    /// Not quite at the bounds, where the gradient vanishes.
    Vector start() const {
        constexpr double kMargin = 1e-4;
        Vector angles;
        for (std::size_t k = 0; k < own_.size(); ++k) {
            if (!own_[k]) continue;
            angles.push_back(std::asin(std::sqrt(std::clamp(best_[k], kMargin, 1.0 - kMargin))));
        }
        return angles;
    }

    double function(const Vector& angles) override {
        const std::array<Params, 1> trial{paramsAt(angles)};
        std::array<double, 1> error{};
        smoother_.computeTrialErrors(trial, error);
        if (error[0] < bestError_) {
            bestError_ = error[0];
            best_ = trial[0];
        }
        return error[0] / scale_;
    }

    /// Central differences, all of them in one pass over the series.
    Vector getGradient(const Vector& angles) override {
        std::array<Params, 6> trials{};
        std::array<double, 6> errors{};
        const std::uint64_t count = 2 * angles.size();
        for (std::uint64_t k = 0; k < count; ++k) {
            Vector moved = angles;
            moved[k / 2] += k % 2 == 0 ? kStep : -kStep;
            trials[k] = paramsAt(moved);
        }
        smoother_.computeTrialErrors(std::span(trials).first(count),
                                     std::span(errors).first(count));
        Vector gradient(angles.size());
        for (std::uint64_t k = 0; k < angles.size(); ++k) {
            gradient[k] = (errors[2 * k] - errors[2 * k + 1]) / (2.0 * kStep * scale_);
        }
        return gradient;
    }

    const Params& best() const { return best_; }

  private:
    static constexpr double kStep = 6.0554544523933429e-6;  // the cube root of the machine epsilon

    Params paramsAt(const Vector& angles) const {
        Params params = smoother_.state_.params;
        std::uint64_t next = 0;
        for (std::size_t k = 0; k < own_.size(); ++k) {
            if (!own_[k]) continue;
            const double sine = std::sin(angles[next++]);
            params[k] = std::min(sine * sine, 1.0);
        }
        return params;
    }

    Smoother& smoother_;
    std::array<bool, 3> own_;
    Params best_;
    double bestError_;
    double scale_;
};

/// From the parameters in place, whose error is in the state, to better ones.
void Smoother::improve() {
    constexpr double kGradientTolerance = 1e-7;
    Objective objective(*this);
    const Vector start = objective.start();
    if (start.empty() || state_.error == kUnusable || state_.error == 0.0) return;
    objective.setGradientTolerance(kGradientTolerance);
    objective.minimize(start);
    state_.params = objective.best();
}

Smoother& Smoother::runOptimised() {
    checkSeries();
    Rollback rollback(*this);
    initParams();
    if (numRecords() > numSkipped_) {
        search(kNumStarts);
        improve();
    }
    run();
    rollback.keepChanges();
    return *this;
}

}  // namespace Veltrix::Engine::TS::Smoothing
