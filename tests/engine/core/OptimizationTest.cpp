#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Optimization.h"
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

double wood(const Vector& x) {
    return rosenbrock(x) + 90 * square(x[3] - square(x[2])) + square(1 - x[2]) +
           10 * square(x[1] + x[3] - 2) + 0.1 * square(x[1] - x[3]);
}

double helicalValley(const Vector& x) {
    const double turn = std::atan(x[1] / x[0]) / (2 * std::numbers::pi) + (x[0] < 0 ? 0.5 : 0.0);
    return 100 * square(x[2] - 10 * turn) + 100 * square(std::hypot(x[0], x[1]) - 1) + square(x[2]);
}

double booth(const Vector& x) { return square(x[0] + 2 * x[1] - 7) + square(2 * x[0] + x[1] - 5); }

double quadratic(const Vector& x) {
    const double curved =
        4 * square(x[0]) + 3 * square(x[1]) + 2 * square(x[2]) + 2 * x[0] * x[1] - 2 * x[1] * x[2];
    return curved / 2 - x[0] - 2 * x[1] - 3 * x[2];
}

double bard(const Vector& x) {
    const double y[] = {0.14, 0.18, 0.22, 0.25, 0.29, 0.32, 0.35, 0.39,
                        0.37, 0.58, 0.73, 0.96, 1.34, 2.1,  4.39};
    double sum = 0.0;
    for (int i = 1; i <= 15; ++i) {
        const double v = 16 - i;
        sum += square(y[i - 1] - (x[0] + i / (v * x[1] + std::min<double>(i, v) * x[2])));
    }
    return sum;
}

double zakharov(const Vector& x) {
    double squares = 0.0;
    double s = 0.0;
    for (std::uint64_t i = 0; i < x.size(); ++i) {
        squares += square(x[i]);
        s += 0.5 * static_cast<double>(i + 1) * x[i];
    }
    return squares + square(s) + fourth(s);
}

double styblinskiTang(const Vector& x) {
    double sum = 0.0;
    for (const double v : x) sum += fourth(v) - 16 * square(v) + 5 * v;
    return sum / 2;
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
    {"wood", wood},
    {"helical_valley", helicalValley},
    {"booth", booth},
    {"quadratic_negative_minimum", quadratic},
    {"bard", bard},
    {"zakharov_4", zakharov},
    {"styblinski_tang_3", styblinskiTang},
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
        RecordProperty(name, optimizer.getNumIterations());
    }
}

TEST(QuasiNewton, DefaultGradientIsAccurate) {
    Problem optimizer(rosenbrock);
    for (const Vector& x : {Vector{-1.2, 1.0}, Vector{1e3, -1e3}, Vector{0.0, 1e-8}}) {
        const Vector exact{-400 * x[0] * (x[1] - x[0] * x[0]) - 2 * (1 - x[0]),
                           200 * (x[1] - x[0] * x[0])};
        EXPECT_TRUE(allNear(optimizer.getGradient(x), exact, {1e-8, 1e-8}));
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
    Vector tried;
    Problem optimizer(
        [&tried](const Vector& x) {
            tried.push_back(x[0]);
            return -1e6 * x[0];
        },
        [](const Vector&) { return Vector{-1e6}; });
    optimizer.setMaxIterations(1);
    EXPECT_NEAR(optimizer.minimize(Vector{3.0})[0], 303.0, 1e-9);
    EXPECT_NEAR(tried.at(1), 303.0, 1e-9);
    tried.clear();
    optimizer.minimize(Vector{-0.5});
    EXPECT_NEAR(tried.at(1), 99.5, 1e-9);
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
    EXPECT_EQ(optimizer.getGradiendTolerance(), 2.220446049250313e-16);
    const Vector solution = optimizer.minimize(start);
    const int unhurried = optimizer.getNumIterations();
    EXPECT_EQ(optimizer.setMaxIterations(7).minimize(start).size(), 2u);
    EXPECT_EQ(optimizer.getNumIterations(), 7);
    for (const int none : {0, -3}) {
        EXPECT_EQ(optimizer.setMaxIterations(none).minimize(start), start);
        EXPECT_EQ(optimizer.getNumIterations(), 0);
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
    EXPECT_EQ(optimizer.setGradientTolerance(2.220446049250313e-16).minimize(start), solution);
}

TEST(QuasiNewton, ZeroGradientAtTheStart) {
    Problem exact([](const Vector&) { return -5.0; },
                  [](const Vector& x) { return Vector(x.size()); });
    Problem numeric([](const Vector&) { return 5.0; });
    for (Problem* flat : {&exact, &numeric}) {
        const Vector start{1.0, -2.0};
        EXPECT_EQ(flat->minimize(start), start);
        EXPECT_EQ(flat->getNumIterations(), 0);
        EXPECT_TRUE(flat->getApproximateHessianInverse().equalTo(Util::eye(2, 2), 0.0));
    }
    EXPECT_TRUE(numeric.minimize(Vector()).empty());
}

// Functions that leave the finite numbers beyond a wall, at the start or everywhere.
TEST(QuasiNewton, NoNaNEscapes) {
    const auto logBarrier = [](const Vector& x) { return x[0] - std::log(x[0]); };
    for (const double start : {1e-3, 0.5, 1.0 + 1e-7, 40.0}) {
        Problem optimizer(logBarrier);
        EXPECT_TRUE(isNear(optimizer.minimize(Vector{start})[0], 1.0, {.relative = 1e-6}));
    }
    for (const double beyond : {kNaN, kInfinity, -kInfinity}) {
        SCOPED_TRACE(beyond);
        Problem wall([beyond](const Vector& x) { return x[0] < 1 ? beyond : square(x[0]); });
        EXPECT_TRUE(isNear(wall.minimize(Vector{3.0})[0], 1.0, {.relative = 1e-4}));
        EXPECT_EQ(wall.minimize(Vector{-2.0}), Vector{-2.0});  // no finite value to start from
        EXPECT_EQ(wall.getNumIterations(), 0);
        Problem island([beyond](const Vector& x) { return x[0] == 3 ? 1.0 : beyond; });
        EXPECT_EQ(island.minimize(Vector{3.0}), Vector{3.0});
        Problem gradient([](const Vector& v) { return square(v[0] - 10); },
                         [beyond](const Vector& v) { return Vector{v[0] < 0 ? -1.0 : beyond}; });
        EXPECT_EQ(gradient.minimize(Vector{-0.5}), Vector{0.5});
        EXPECT_EQ(gradient.getNumIterations(), 1);
        EXPECT_THROW(wall.minimize(Vector{1.0, beyond}), Exception);
        Problem puncture([beyond](const Vector& v) { return v[0] == 3 ? beyond : square(v[0]); });
        EXPECT_EQ(puncture.minimize(Vector{3.0}), Vector{3.0});
        EXPECT_EQ(puncture.getNumIterations(), 0);
    }
    for (const double scale : {1e-300, 1e150, 1e160, 1e200, 1e300}) {
        SCOPED_TRACE(scale);
        Problem steep([scale](const Vector& x) { return scale * bowl(x); });
        const Vector least = steep.minimize(Vector{5.0, 5.0});
        // Products of gradients beyond 1e154 must not end the search.
        const Vector expected = scale < 1.0 ? Vector{5, 5} : Vector{2, -1};
        EXPECT_TRUE(allNear(least, expected, {.absolute = 1e-6}));
        if (scale > 1.0 && scale < 1e300) {
            EXPECT_TRUE((steep.getApproximateHessianInverse() * scale)
                            .equalTo(Util::eye(2, 2) * 0.5, 1e-3));
        }
        EXPECT_EQ(Util::countNaNInfinity(steep.getApproximateHessianInverse().getAsDoubleVector()),
                  0);
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
    EXPECT_EQ(Util::countNaNInfinity(uneven.getApproximateHessianInverse().getAsDoubleVector()), 0);
    // Unbounded below: stays finite to the last iteration.
    Problem slide([](const Vector& x) { return -fourth(x[0]); });
    const Vector x = slide.minimize(Vector{1e60});
    EXPECT_EQ(Util::countNaNInfinity(x), 0);
    EXPECT_TRUE(std::isfinite(slide.function(x)));
}

TEST(QuasiNewton, WhatEndsASearchChangesNothing) {
    int left = 1000;
    Problem failing([&left](const Vector& x) {
        if (--left < 0) throw std::range_error("no value");
        return rosenbrock(x);
    });
    const Vector start{-1.2, 1.0};
    failing.minimize(start);
    const Matrix before = failing.getApproximateHessianInverse();
    const int iterations = failing.getNumIterations();
    for (const int calls : {0, 3, 60}) {
        left = calls;
        EXPECT_THROW(failing.minimize(Vector{3.0, 4.0}), std::range_error);
        EXPECT_EQ(failing.getNumIterations(), iterations);
        EXPECT_TRUE(failing.getApproximateHessianInverse().equalTo(before, 0.0));
    }
    // A slow objective is watched and can be stopped between two of its values.
    int reports = 0;
    Problem slow([](const Vector& x) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return rosenbrock(x);
    });
    const ProgressScope scope([&reports](const Progress& progress) {
        EXPECT_EQ(progress.phase, "Minimising");
        return ++reports < 3;
    });
    EXPECT_THROW(slow.minimize(start), Cancelled);
    EXPECT_EQ(reports, 3);
    EXPECT_TRUE(slow.getApproximateHessianInverse().empty());
}

TEST(LineSearch, DerivativeAlongALine) {
    Problem paraboloid([](const Vector& x) { return x[0] < 0 ? kNaN : square(x[0]) + 3 * x[1]; });
    struct Line {
        Vector point;
        Vector direction;
        double derivative;
        double tolerance;
    };
    const Line lines[] = {
        {{2, 1}, {1, 0}, 4, 1e-9},  {{2, 1}, {1, -2}, -2, 1e-9},
        {{2, 1}, {0, 0}, 0, 0},     {{0, 1}, {1, 0}, 0, 1e-4},  // one-sided at the edge
        {{0, 1}, {-1, 0}, 0, 1e-4}, {{0, 1}, {-1, 1}, 3, 1e-4},
    };
    for (const Line& line : lines) {
        LineSearchOptimizer search(paraboloid, line.point, line.direction);
        EXPECT_NEAR(search.getDerivative(), line.derivative, line.tolerance);
    }
    EXPECT_TRUE(
        std::isnan(LineSearchOptimizer(paraboloid, Vector{-1, 0}, Vector{1, 0}).getDerivative()));
}

TEST(LineSearch, BacktracksToSufficientDecrease) {
    Problem narrow([](const Vector& x) { return square(x[0]) + fourth(x[0]); });
    // From 1 towards the minimum and a hundred times beyond.
    LineSearchOptimizer search(narrow, Vector{1.0}, Vector{-100.0});
    const auto found = search.minimize(2.0, -600.0, kInfinity);
    EXPECT_GT(found.step, 0.0);
    EXPECT_LE(found.value, 2.0 - 1e-4 * found.step * 600.0);
    EXPECT_EQ(found.point[0], 1.0 - 100.0 * found.step);
    EXPECT_EQ(found.value, narrow.function(found.point));
    // A full step that is good enough is taken whole; a longer one than allowed is cut.
    EXPECT_EQ(LineSearchOptimizer(narrow, Vector{1.0}, Vector{-0.5}).minimize(2, -3, 9).step, 1.0);
    EXPECT_EQ(LineSearchOptimizer(narrow, Vector{1.0}, Vector{-0.5}).minimize(2, -3, 0.125).step,
              0.25);
    // A third of the decrease that the slope promises will do, next to nothing of it will not.
    EXPECT_EQ(LineSearchOptimizer(narrow, Vector{1.0}, Vector{-1.0}).minimize(2, -6, 9).step, 1.0);
    EXPECT_LT(LineSearchOptimizer(narrow, Vector{1.0}, Vector{-1.99999}).minimize(2, -12, 9).step,
              0.6);
    // Along a direction that is far too long too.
    Problem near([](const Vector& x) { return square(x[0] - 1e-5); });
    EXPECT_GT(LineSearchOptimizer(near, Vector{0.0}, Vector{1e10}).minimize(1e-10, -2e5, 1e99).step,
              0.0);
    // Steps 1 and 0.2 fail; then the cubic through them is the objective itself.
    Problem cubic([](const Vector& x) { return ((12.5 - 10 * x[0]) * x[0] - 1) * x[0]; });
    EXPECT_NEAR(LineSearchOptimizer(cubic, Vector{0.0}, Vector{1.0}).minimize(0, -1, 9).step,
                (25 - std::sqrt(505.0)) / 60, 1e-14);
    for (const double slope : {0.0, 1.0, kNaN, -kInfinity}) {
        const auto stays =
            LineSearchOptimizer(narrow, Vector{1.0}, Vector{1.0}).minimize(2.0, slope, 9.0);
        EXPECT_EQ(stays.step, 0.0);
        EXPECT_EQ(stays.point, Vector{1.0});
        EXPECT_EQ(stays.value, 2.0);
    }
    for (const double maxStep : {9.0, kInfinity}) {
        LineSearchOptimizer nowhere(narrow, Vector{1.0}, Vector{-kInfinity});
        EXPECT_EQ(nowhere.minimize(2.0, -1.0, maxStep).step, 0.0);
    }
    // The claimed slope is wrong, the function rises: no step.
    EXPECT_EQ(LineSearchOptimizer(narrow, Vector{1.0}, Vector{1.0}).minimize(2, -1, 9).step, 0.0);
}

}  // namespace
}  // namespace Veltrix::Testing
