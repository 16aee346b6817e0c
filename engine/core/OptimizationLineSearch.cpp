#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Optimization.h"
#include "engine/core/OptimizationScale.h"

namespace Veltrix::Engine::Optimization {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
/// Share of the decrease that the slope promises with which a step is content.
constexpr double kSufficientDecrease = 1e-4;
constexpr double kLeastShrink = 0.1;
constexpr double kMostShrink = 0.5;

/// A step and how far the objective there lies above its tangent at step 0, as a multiple of the
/// tangent's descent for step 1: so squares of large slopes do not overflow.
struct Trial {
    double step;
    double excess;
};

/// Minimum of the parabola b s² − s that passes through the trial.
double quadraticMinimum(const Trial& trial) {
    return trial.step * trial.step / (2.0 * trial.excess);
}

/// Minimum of the cubic a s³ + b s² − s through both trials; NaN when it has none.
double cubicMinimum(const Trial& trial, const Trial& before) {
    const double now = trial.excess / (trial.step * trial.step);
    const double then = before.excess / (before.step * before.step);
    const double width = trial.step - before.step;
    const double a = (now - then) / width;
    const double b = (trial.step * then - before.step * now) / width;
    if (a == 0.0) return 1.0 / (2.0 * b);
    const double root = std::sqrt(b * b + 3.0 * a);
    // The second form keeps its digits when b is positive.
    return b <= 0.0 ? (root - b) / (3.0 * a) : 1.0 / (b + root);
}

}  // namespace

LineSearchOptimizer::LineSearchOptimizer(QuasiNewtonOptimizer& objective, Vector point,
                                         Vector direction)
    : objective_(&objective), point_(std::move(point)), direction_(std::move(direction)) {}

Vector LineSearchOptimizer::at(double step) const { return point_ + direction_ * step; }

double LineSearchOptimizer::function(double step) {
    const Vector x = at(step);
    return Veltrix::Util::countNaNInfinity(x) == 0 ? objective_->function(x) : kInfinity;
}

double LineSearchOptimizer::getDerivative() {
    const double relativeMove = std::cbrt(std::numeric_limits<double>::epsilon());
    double step = kInfinity;
    for (std::uint64_t i = 0; i < point_.size(); ++i) {
        if (direction_[i] == 0.0) continue;
        const double move = relativeMove * std::max(std::abs(point_[i]), 1.0);
        // The move that is really made once the coordinate is rounded.
        const double exact = (point_[i] + move) - point_[i];
        step = std::min(step, exact / std::abs(direction_[i]));
    }
    if (std::isinf(step)) return 0.0;  // no direction
    const double ahead = function(step);
    const double behind = function(-step);
    if (std::isfinite(ahead) && std::isfinite(behind)) return (ahead - behind) / (2.0 * step);
    const double here = function(0.0);
    return std::isfinite(ahead)    ? (ahead - here) / step
           : std::isfinite(behind) ? (here - behind) / step
                                   : std::numeric_limits<double>::quiet_NaN();
}

LineSearchOptimizer::Result LineSearchOptimizer::minimize(double value, double slope,
                                                          double maxStep) {
    Result stay{0.0, value, point_};
    if (!(slope < 0.0)) return stay;
    const double distance = length(direction_);
    double step = distance > maxStep ? maxStep / distance : 1.0;
    const double leastStep = kStepTolerance / scaledStep(direction_, point_);
    Trial before{0.0, kInfinity};
    while (step > 0.0 && step >= leastStep) {  // both are 0 for an infinite direction
        const double found = function(step);
        if (std::isfinite(found) && found <= value + kSufficientDecrease * step * slope) {
            return {step, found, at(step)};
        }
        const Trial trial{step, (found - value) / -slope + step};
        double next = kMostShrink * step;
        if (std::isfinite(trial.excess)) {
            const double minimum = std::isfinite(before.excess) ? cubicMinimum(trial, before)
                                                                : quadraticMinimum(trial);
            next = std::max(std::fmin(minimum, next), kLeastShrink * step);  // fmin passes over NaN
        }
        before = trial;
        step = next;
    }
    return stay;
}

}  // namespace Veltrix::Engine::Optimization
