#pragma once

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

/// @file
/// Unconstrained minimisation of a smooth function of several variables.

namespace Veltrix::Engine::Optimization {

/// Minimises f by the BFGS variable-metric method with a backtracking line search and a bounded
/// step (Dennis and Schnabel 1983, ch. 6 and 9). A model derives from it and supplies f as
/// `function`, and the gradient as `getGradient` where it knows a formula.
///
/// The search ends when the scaled gradient max |gᵢ| max(|xᵢ|, 1) / max(f, 1) is below the
/// gradient tolerance, when the scaled step max |Δxᵢ| / max(|xᵢ|, 1) is below 4ε, or after the
/// maximum number of iterations. f may return any double: a value that is not finite counts as not
/// decreased, so it is never the result unless it stands at the start, and a gradient that is not
/// finite ends the search at the point reached.
class VELTRIX_ENGINE_API QuasiNewtonOptimizer {
  public:
    QuasiNewtonOptimizer() = default;
    QuasiNewtonOptimizer(const QuasiNewtonOptimizer&) = default;
    QuasiNewtonOptimizer(QuasiNewtonOptimizer&&) noexcept = default;
    QuasiNewtonOptimizer& operator=(const QuasiNewtonOptimizer& other);
    QuasiNewtonOptimizer& operator=(QuasiNewtonOptimizer&&) noexcept = default;
    virtual ~QuasiNewtonOptimizer();

    /// The objective f(x).
    virtual double function(const Vector& x) = 0;
    /// The gradient of f at x, length n. By default central differences, coordinate by coordinate;
    /// see `LineSearchOptimizer::getDerivative`.
    virtual Vector getGradient(const Vector& x);

    /// The minimiser, started from x0: the last point reached, also when the iterations run out,
    /// which is not an error. A start with zero gradient, or where f or its gradient is not finite,
    /// is returned after 0 iterations. Throws `Exception` when x0 holds a value that is not finite;
    /// what `function` throws passes through, and the optimiser is then as it was. Reports
    /// progress.
    Vector minimize(const Vector& x0);

    /// The approximation of the inverse Hessian, n × n, symmetric, with which the last search
    /// ended; empty before the first. It starts as the identity, so after very few iterations it
    /// says little about f.
    const Matrix& getApproximateHessianInverse() const noexcept { return inverseHessian_; }
    /// The inverse of `getApproximateHessianInverse()`: the Hessian about the solution x of the
    /// last search. NaN-filled, n × n with n the length of x, when no search over n variables went
    /// before. Throws `Exception` when rounding has left the approximation not positive definite.
    Matrix getHessian(const Vector& x) const;

    /// With 0 or less the start is returned.
    QuasiNewtonOptimizer& setMaxIterations(int count);
    int getMaxIterations() const noexcept { return maxIterations_; }
    /// Iterations that the last search took; the maximum when it did not end before.
    int getNumIterations() const noexcept { return numIterations_; }
    QuasiNewtonOptimizer& setGradientTolerance(double tolerance);
    double getGradiendTolerance() const noexcept { return gradientTolerance_; }

  private:
    /// The search from x; counts the iterations and leaves the last H.
    Vector search(Vector x, Matrix& inverseHessian, int& iterations);

    int maxIterations_ = 200;
    int numIterations_ = 0;
    double gradientTolerance_ = 2.220446049250313e-16;
    Matrix inverseHessian_;
};

/// The objective of an optimiser along a line, φ(s) = f(x + s·d). It refers to the optimiser and
/// copies the point and the direction, which have one length.
class VELTRIX_ENGINE_API LineSearchOptimizer {
  public:
    LineSearchOptimizer(QuasiNewtonOptimizer& objective, Vector point, Vector direction);

    /// φ(s); infinity when the point x + s·d is not finite.
    double function(double step);
    /// φ'(0) by central differences with the largest step that moves no coordinate by more than
    /// ε^(1/3) max(|xᵢ|, 1); one-sided when φ is finite on one side only; NaN when it is finite on
    /// neither.
    double getDerivative();

    /// A point on the line.
    struct Result {
        double step = 0.0;   ///< s
        double value = 0.0;  ///< φ(s)
        Vector point;        ///< x + s·d
    };
    /// A point with sufficiently lower objective, φ(s) ≤ φ(0) + 10⁻⁴ s φ'(0), found by
    /// backtracking from the full step, which is 1 or, when d is longer than `maxStep`,
    /// `maxStep` / ‖d‖. The step shrinks to the minimum of the cubic (at first quadratic) through
    /// the values known, kept between 0.1 and 0.5 of the step before (Dennis and Schnabel 1983,
    /// A6.3.1); it is halved where the value is not finite. `value` is φ(0), `slope` φ'(0). When
    /// no step that moves x decreases φ, or the slope is not below 0 or not finite, the result is
    /// step 0.
    Result minimize(double value, double slope, double maxStep);

  private:
    Vector at(double step) const;

    QuasiNewtonOptimizer* objective_;
    Vector point_;
    Vector direction_;
};

}  // namespace Veltrix::Engine::Optimization
