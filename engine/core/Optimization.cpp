#include "Veltrix/Engine/Optimization.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "engine/core/Checks.h"
#include "engine/core/OptimizationScale.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::Optimization {
namespace {

constexpr const char* kOperation = "Minimisation";
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr double kMaxStepFactor = 100.0;

bool isFinite(const Vector& values) { return Veltrix::Util::countNaNInfinity(values) == 0; }

void checkStart(const Vector& x) {
    for (std::uint64_t i = 0; i < x.size(); ++i) {
        if (std::isfinite(x[i])) continue;
        Checks::fail(ErrorCode::notFinite, kOperation,
                     "starting point: finite values expected, " + Support::numberText(x[i]) +
                         " found at position " + std::to_string(i));
    }
}

/// Functions that supply their own gradient may get its length wrong.
void checkGradient(const Vector& gradient, const Vector& x) {
    Veltrix::Checks::counts(kOperation, gradient.size(), "entries in the gradient", x.size(),
                            "variables");
}

/// max |gᵢ| max(|xᵢ|, 1) / max(f, 1), the relative change of f for a relative change of x.
double scaledGradient(const Vector& gradient, const Vector& x, double value) {
    double largest = 0.0;
    for (std::uint64_t i = 0; i < x.size(); ++i) {
        largest = std::max(largest, std::abs(gradient[i]) * std::max(std::abs(x[i]), 1.0));
    }
    return largest / std::max(value, 1.0);
}

/// H after a step with gradient change dg (Broyden, Fletcher, Goldfarb, Shanno); H as it was when
/// the curvature along the step is not safely positive, so that H stays positive definite. Step and
/// change enter as unit vectors, whose products do not overflow where those of the vectors would.
Matrix updated(const Matrix& h, const Vector& step, const Vector& dg) {
    const double stepLength = length(step);
    const double dgLength = length(dg);
    const Vector along = step / stepLength;
    const Vector turn = dg / dgLength;
    const double cosine = Veltrix::Util::dotProduct(turn, along);
    if (!(cosine > std::sqrt(kEpsilon))) return h;
    const double ratio = stepLength / dgLength;
    Matrix result = h;
    Vector image = h * turn;
    double curvature = Veltrix::Util::dotProduct(turn, image);
    if (ratio < kEpsilon * curvature) {
        // The rounding of H alone would outweigh what the step has shown: start afresh at its
        // scale.
        result = Veltrix::Util::eye(h.getNumRows(), h.getNumCols()) * ratio;
        image = turn * ratio;
        curvature = ratio;
    }
    const Vector relative = image / curvature;
    const Vector u = along / cosine - relative;
    for (int j = 0; j < h.getNumCols(); ++j) {
        const auto c = static_cast<std::uint64_t>(j);
        for (std::uint64_t r = 0; r <= c; ++r) {
            const int i = static_cast<int>(r);
            result(i, j) += ratio * along[r] * along[c] / cosine - image[r] * relative[c] +
                            curvature * u[r] * u[c];
            result(j, i) = result(i, j);
        }
    }
    // Where the terms overflow, the curvature known so far is better than none.
    return isFinite(result.getAsDoubleVector()) ? result : h;
}

/// Cuts the direction so that it is no longer than the longest step and that the slope along it,
/// at most the product of the lengths, is a finite number.
void limit(Vector& direction, const Vector& gradient, double maxStep) {
    constexpr double kLargestSlope = 1e300;
    const double most = std::min(maxStep, kLargestSlope / length(gradient));
    const double found = length(direction);
    if (found > most) direction *= most / found;
}

}  // namespace

QuasiNewtonOptimizer::~QuasiNewtonOptimizer() = default;

QuasiNewtonOptimizer& QuasiNewtonOptimizer::operator=(const QuasiNewtonOptimizer& other) {
    Matrix inverseHessian = other.inverseHessian_;
    inverseHessian_ = std::move(inverseHessian);
    maxIterations_ = other.maxIterations_;
    numIterations_ = other.numIterations_;
    gradientTolerance_ = other.gradientTolerance_;
    return *this;
}

static_assert(std::is_nothrow_move_assignable_v<Matrix>);

Vector QuasiNewtonOptimizer::getGradient(const Vector& x) {
    Vector gradient(x.size());
    Vector axis(x.size());
    ProgressPhase phase("Differentiating", x.size());
    for (std::uint64_t i = 0; i < x.size(); ++i) {
        axis[i] = 1.0;
        gradient[i] = LineSearchOptimizer(*this, x, axis).getDerivative();
        axis[i] = 0.0;
        phase.advance();
    }
    return gradient;
}

Vector QuasiNewtonOptimizer::minimize(const Vector& x0) {
    checkStart(x0);
    const int n = static_cast<int>(x0.size());
    int iterations = 0;
    Matrix inverseHessian = Veltrix::Util::eye(n, n);
    Vector x = search(x0, inverseHessian, iterations);
    numIterations_ = iterations;
    inverseHessian_ = std::move(inverseHessian);
    return x;
}

Vector QuasiNewtonOptimizer::search(Vector x, Matrix& inverseHessian, int& iterations) {
    ProgressPhase phase("Minimising", static_cast<std::uint64_t>(std::max(maxIterations_, 0)));
    double value = function(x);
    if (!std::isfinite(value)) return x;
    Vector gradient = getGradient(x);
    checkGradient(gradient, x);
    if (!isFinite(gradient) || scaledGradient(gradient, x, value) < gradientTolerance_) return x;
    Vector direction = -gradient;
    const double maxStep = kMaxStepFactor * std::max(length(x), static_cast<double>(x.size()));

    while (iterations < maxIterations_) {
        ++iterations;
        limit(direction, gradient, maxStep);
        const double slope = Veltrix::Util::dotProduct(gradient, direction);
        auto found = LineSearchOptimizer(*this, x, direction).minimize(value, slope, maxStep);
        const Vector step = found.point - x;
        x = std::move(found.point);
        value = found.value;
        if (scaledStep(step, x) < kStepTolerance) return x;

        Vector change = -gradient;
        gradient = getGradient(x);
        checkGradient(gradient, x);
        if (!isFinite(gradient)) return x;
        change += gradient;
        if (scaledGradient(gradient, x, value) < gradientTolerance_) return x;
        inverseHessian = updated(inverseHessian, step, change);
        direction = -(inverseHessian * gradient);
        phase.advance();
    }
    return x;
}

Matrix QuasiNewtonOptimizer::getHessian(const Vector& x) const {
    const int n = static_cast<int>(x.size());
    if (inverseHessian_.getNumRows() != n) {
        return Matrix(n, n, std::numeric_limits<double>::quiet_NaN());
    }
    return Matrix::inversePositiveDefinite(inverseHessian_);
}

QuasiNewtonOptimizer& QuasiNewtonOptimizer::setMaxIterations(int count) {
    maxIterations_ = count;
    return *this;
}

QuasiNewtonOptimizer& QuasiNewtonOptimizer::setGradientTolerance(double tolerance) {
    gradientTolerance_ = tolerance;
    return *this;
}

}  // namespace Veltrix::Engine::Optimization
