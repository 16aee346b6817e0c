#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <string>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::Optimization::LineSearchOptimizer;
using Engine::Optimization::QuasiNewtonOptimizer;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

double square(double v) { return v * v; }
double fourth(double v) { return square(square(v)); }

bool isFinite(const Matrix& x) { return Util::countNaNInfinity(x.getAsDoubleVector()) == 0; }

/// An optimiser over any function, with an optional analytic gradient.
class Problem : public QuasiNewtonOptimizer {
  public:
    using Function = std::function<double(const Vector&)>;
    using Gradient = std::function<Vector(const Vector&)>;

    explicit Problem(Function f, Gradient g = {}) : f_(std::move(f)), g_(std::move(g)) {}
    double function(const Vector& x) override { return f_(x); }
    Vector getGradient(const Vector& x) override {
        return g_ ? g_(x) : QuasiNewtonOptimizer::getGradient(x);
    }

  private:
    Function f_;
    Gradient g_;
};

double rosenbrock(const Vector& x) { return 100 * square(x[1] - square(x[0])) + square(1 - x[0]); }

double beale(const Vector& x) {
    return square(1.5 - x[0] * (1 - x[1])) + square(2.25 - x[0] * (1 - square(x[1]))) +
           square(2.625 - x[0] * (1 - x[1] * square(x[1])));
}

double powellSingular(const Vector& x) {
    return square(x[0] + 10 * x[1]) + 5 * square(x[2] - x[3]) + fourth(x[1] - 2 * x[2]) +
           10 * fourth(x[0] - x[3]);
}

double helicalValley(const Vector& x) {
    const double turn = std::atan(x[1] / x[0]) / (2 * std::numbers::pi) + (x[0] < 0 ? 0.5 : 0.0);
    return 100 * square(x[2] - 10 * turn) + 100 * square(std::hypot(x[0], x[1]) - 1) + square(x[2]);
}

double quadratic(const Vector& x) {
    const double curved =
        4 * square(x[0]) + 3 * square(x[1]) + 2 * square(x[2]) + 2 * x[0] * x[1] - 2 * x[1] * x[2];
    return curved / 2 - x[0] - 2 * x[1] - 3 * x[2];
}

double bowl(const Vector& x) { return square(x[0] - 2) + square(x[1] + 1); }

struct Case {
    const char* name;
    double (*function)(const Vector&);
    double pointTolerance = 1e-6;
    double valueTolerance = 1e-10;
};

const Case kCases[] = {
    {"rosenbrock", rosenbrock},
    {"beale", beale},
    {"powell_singular", powellSingular, 2e-3, 1e-9},
    {"helical_valley", helicalValley},
    {"quadratic_negative_minimum", quadratic},
    {"already_at_minimum", bowl},
};

TEST(QuasiNewton, ReachesKnownMinima) {
    const ReferenceData reference("optimisation/minimisation_problems");
    for (const Case& problem : kCases) {
        const std::string name = problem.name;
        SCOPED_TRACE(name);
        const Vector start = toVector(reference.vector(name + ".start"));
        const Vector minimiser = toVector(reference.vector(name + ".minimiser"));
        const double least = reference.scalar(name + ".f_min");
        ASSERT_TRUE(isNear(problem.function(start), reference.scalar(name + ".f_start"),
                           {.relative = 1e-12}));
        Problem optimizer(problem.function);
        const Vector x = optimizer.minimize(start);
        EXPECT_TRUE(allNear(x, minimiser, {problem.pointTolerance, problem.pointTolerance}));
        EXPECT_LE(problem.function(x) - least,
                  problem.valueTolerance * std::max(1.0, std::abs(least)));
        EXPECT_LE(optimizer.getNumIterations(),
                  2 * reference.scalar(name + ".reached_central_difference.iterations"));
    }
}

TEST(QuasiNewton, HessianOfAQuadratic) {
    const Matrix expected(3, 3, Vector{4, 1, 0, 1, 3, -1, 0, -1, 2});
    Problem optimizer(quadratic, [&expected](const Vector& x) {
        return expected * x - Vector{1, 2, 3};
    });
    EXPECT_TRUE(optimizer.getApproximateHessianInverse().empty());
    EXPECT_TRUE(std::isnan(optimizer.getHessian(Vector(3))(2, 1)));
    const Vector x = optimizer.minimize(Vector{10, -10, 5});
    EXPECT_TRUE(optimizer.getHessian(x).equalTo(expected, 1e-3));
    EXPECT_TRUE(
        (optimizer.getApproximateHessianInverse() * expected).equalTo(Util::eye(3, 3), 1e-3));
    EXPECT_TRUE(std::isnan(optimizer.getHessian(Vector(2))(0, 0)));
}

// A step along the gradient is cut to the length 100 max(‖x‖, n).
TEST(QuasiNewton, FirstStepIsBounded) {
    for (const auto& [start, end] : {std::pair{3.0, 303.0}, std::pair{-0.5, 99.5}}) {
        Vector tried;
        Problem optimizer(
            [&tried](const Vector& x) {
                tried.push_back(x[0]);
                return -1e6 * x[0];
            },
            [](const Vector&) { return Vector{-1e6}; });
        optimizer.setMaxIterations(1);
        EXPECT_NEAR(optimizer.minimize(Vector{start})[0], end, 1e-9);
        EXPECT_NEAR(tried.at(1), end, 1e-9);
    }
}

// The curvature along a straight line is 0 and along a hilltop negative: H stays the identity.
TEST(QuasiNewton, CurvatureSafeguard) {
    for (const double bend : {0.0, 1e-3}) {
        Problem optimizer([bend](const Vector& x) { return -x[0] - bend * square(x[0]); },
                          [bend](const Vector& x) { return Vector{-1 - 2 * bend * x[0]}; });
        optimizer.setMaxIterations(5);
        const Vector x = optimizer.minimize(Vector{1.0});
        EXPECT_EQ(optimizer.getNumIterations(), 5);
        EXPECT_GT(x[0], 5.0);
        EXPECT_EQ(optimizer.getApproximateHessianInverse()(0, 0), 1.0);
    }
}

TEST(QuasiNewton, Stopping) {
    Problem optimizer(rosenbrock);
    const Vector start{-1.2, 1.0};
    EXPECT_EQ(optimizer.getMaxIterations(), 200);
    const double tolerance = optimizer.getGradiendTolerance();
    EXPECT_EQ(tolerance, 2.220446049250313e-16);
    const Vector solution = optimizer.minimize(start);
    const int unhurried = optimizer.getNumIterations();
    for (const int count : {7, 0, -3}) {
        optimizer.setMaxIterations(count).minimize(start);
        EXPECT_EQ(optimizer.getNumIterations(), std::max(count, 0));
    }
    optimizer.setMaxIterations(200).setGradientTolerance(1e-3);
    const Vector rough = optimizer.minimize(start);
    EXPECT_LT(optimizer.getNumIterations(), unhurried);
    EXPECT_LT(std::abs(optimizer.getGradient(rough)[0]), 1e-3);
    // The gradient counts relative to a large value, and as it is beside a negative one.
    Problem high([](const Vector& x) { return 1e6 + square(x[0]); });
    high.setGradientTolerance(1e-3).minimize(Vector{1.0});
    EXPECT_EQ(high.getNumIterations(), 0);
    Problem low([](const Vector& x) { return square(x[0]) - 1e6; });
    low.setGradientTolerance(1e-3).minimize(Vector{1.0});
    EXPECT_GT(low.getNumIterations(), 0);
    // A repeated search starts afresh.
    EXPECT_EQ(optimizer.setGradientTolerance(tolerance).minimize(start), solution);
}

TEST(QuasiNewton, ZeroGradientAtTheStart) {
    Problem flat([](const Vector&) { return -5.0; });
    EXPECT_EQ(flat.minimize(Vector{1.0, -2.0}), (Vector{1.0, -2.0}));
    EXPECT_EQ(flat.getNumIterations(), 0);
    EXPECT_TRUE(flat.getApproximateHessianInverse().equalTo(Util::eye(2, 2), 0.0));
    EXPECT_TRUE(flat.minimize(Vector()).empty());
}

// Functions that leave the finite numbers beyond a wall, at the start or everywhere.
TEST(QuasiNewton, NoNaNEscapes) {
    for (const double beyond : {kNaN, kInfinity, -kInfinity}) {
        SCOPED_TRACE(beyond);
        Problem wall([beyond](const Vector& x) { return x[0] < 1 ? beyond : square(x[0]); });
        EXPECT_TRUE(isNear(wall.minimize(Vector{3.0})[0], 1.0, {.relative = 1e-4}));
        Problem island([beyond](const Vector& x) { return x[0] == 3 ? 1.0 : beyond; });
        EXPECT_EQ(island.minimize(Vector{3.0}), Vector{3.0});
        Problem gradient([](const Vector& v) { return square(v[0] - 10); },
                         [beyond](const Vector& v) { return Vector{v[0] < 0 ? -1.0 : beyond}; });
        EXPECT_EQ(gradient.minimize(Vector{-0.5}), Vector{0.5});
        EXPECT_EQ(gradient.getNumIterations(), 1);
        EXPECT_THROW(wall.minimize(Vector{1.0, beyond}), Exception);
        Problem puncture([beyond](const Vector& v) { return v[0] == 3 ? beyond : square(v[0]); });
        EXPECT_EQ(puncture.minimize(Vector{3.0}), Vector{3.0});
    }
    for (const double scale : {1e-300, 1e150, 1e160, 1e200, 1e300}) {
        SCOPED_TRACE(scale);
        Problem steep([scale](const Vector& x) { return scale * bowl(x); });
        const Vector least = steep.minimize(Vector{5.0, 5.0});
        // Products of gradients beyond 1e154 must not end the search.
        const Vector expected = scale < 1.0 ? Vector{5, 5} : Vector{2, -1};
        EXPECT_TRUE(allNear(least, expected, {.absolute = 1e-6}));
        if (scale > 1.0 && scale < 1e300) {
            const Matrix inverse = steep.getApproximateHessianInverse() * scale;
            EXPECT_TRUE(inverse.equalTo(Util::eye(2, 2) * 0.5, 1e-3));
        }
        EXPECT_TRUE(isFinite(steep.getApproximateHessianInverse()));
    }
    // Gradients so uneven that the terms of the update overflow.
    int calls = 0;
    Problem uneven([](const Vector& v) { return -1e150 * (v[0] * v[0] + v[1] * v[1]); },
                   [&calls](const Vector&) {
                       const Vector gradients[] = {{-1e-5, -1e-54}, {1e-87, -10}, {1e149, 1e-147}};
                       return gradients[calls++ % 3];
                   });
    uneven.setGradientTolerance(0).minimize(Vector{0, 0});
    EXPECT_GE(uneven.getNumIterations(), 3);
    EXPECT_TRUE(isFinite(uneven.getApproximateHessianInverse()));
}

// A slow objective is watched and can be stopped between two of its values.
TEST(QuasiNewton, ASearchEndsWhenAskedAndChangesNothing) {
    Problem problem([](const Vector& x) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return rosenbrock(x);
    });
    int reports = 0;
    const ProgressScope scope([&reports](const Progress& progress) {
        EXPECT_EQ(progress.phase, "Minimising");
        return ++reports < 3;
    });
    EXPECT_THROW(problem.minimize(Vector{3.0, 4.0}), Cancelled);
    EXPECT_EQ(reports, 3);
    EXPECT_EQ(problem.getNumIterations(), 0);
    EXPECT_TRUE(problem.getApproximateHessianInverse().empty());
}

TEST(LineSearch, DerivativeAlongALine) {
    Problem paraboloid([](const Vector& x) { return x[0] < 0 ? kNaN : square(x[0]) + 3 * x[1]; });
    const std::tuple<Vector, Vector, double, double> lines[] = {
        // the last: tolerance
        {{1e3, -1e3}, {1, 1}, 2003, 1e-5},
        {{1e-8, 1}, {0, 1}, 3, 1e-9},
        {{2, 1}, {1, 0}, 4, 1e-9},
        {{2, 1}, {1, -2}, -2, 1e-9},
        {{2, 1}, {0, 0}, 0, 0},
        {{0, 1}, {1, 0}, 0, 1e-4},  // one-sided at the edge
        {{0, 1}, {-1, 0}, 0, 1e-4},
        {{0, 1}, {-1, 1}, 3, 1e-4},
    };
    for (const auto& [point, direction, derivative, tolerance] : lines) {
        LineSearchOptimizer search(paraboloid, point, direction);
        EXPECT_NEAR(search.getDerivative(), derivative, tolerance);
    }
    EXPECT_TRUE(
        std::isnan(LineSearchOptimizer(paraboloid, Vector{-1, 0}, Vector{1, 0}).getDerivative()));
}

TEST(LineSearch, BacktracksToSufficientDecrease) {
    Problem narrow([](const Vector& x) { return square(x[0]) + fourth(x[0]); });
    const auto from1 = [&](double direction, double slope, double maxStep) {
        return LineSearchOptimizer(narrow, Vector{1.0}, Vector{direction})
            .minimize(2.0, slope, maxStep);
    };
    // From 1 towards the minimum and a hundred times beyond.
    const auto found = from1(-100, -600, kInfinity);
    EXPECT_GT(found.step, 0.0);
    EXPECT_LE(found.value, 2.0 - 1e-4 * found.step * 600.0);
    EXPECT_EQ(found.point[0], 1.0 - 100.0 * found.step);
    EXPECT_EQ(found.value, narrow.function(found.point));
    // A full step that is good enough is taken whole; a longer one than allowed is cut.
    EXPECT_EQ(from1(-0.5, -3, 9).step, 1.0);
    EXPECT_EQ(from1(-0.5, -3, 0.125).step, 0.25);
    // A third of the decrease that the slope promises will do, next to nothing of it will not.
    EXPECT_EQ(from1(-1, -6, 9).step, 1.0);
    EXPECT_LT(from1(-1.99999, -12, 9).step, 0.6);
    // Steps 1 and 0.2 fail; then the cubic through them is the objective itself.
    Problem cubic([](const Vector& x) { return ((12.5 - 10 * x[0]) * x[0] - 1) * x[0]; });
    EXPECT_NEAR(LineSearchOptimizer(cubic, Vector{0.0}, Vector{1.0}).minimize(0, -1, 9).step,
                (25 - std::sqrt(505.0)) / 60, 1e-14);
    // No descent, or, with the slope -1, none that is really there: no step.
    for (const double slope : {0.0, 1.0, -1.0, kNaN, -kInfinity}) {
        const auto stays = from1(1, slope, 9);
        EXPECT_EQ(stays.step, 0.0);
        EXPECT_EQ(stays.value, 2.0);
    }
    EXPECT_EQ(from1(-kInfinity, -1, kInfinity).step, 0.0);
}

}  // namespace
}  // namespace Veltrix::Testing
