#include "Veltrix/Engine/Distributions.h"

#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <cmath>
#include <limits>
#include <numbers>

namespace Veltrix::Engine::Distributions {
namespace {

namespace policies = boost::math::policies;

// Errors become NaN or infinities instead of exceptions.
using Quiet = policies::policy<policies::domain_error<policies::ignore_error>,
                               policies::pole_error<policies::ignore_error>,
                               policies::overflow_error<policies::ignore_error>,
                               policies::evaluation_error<policies::ignore_error>,
                               policies::rounding_error<policies::ignore_error>>;
// Working in double is several times faster and keeps 12 digits; the F tail needs more.
using Fast = policies::normalise<Quiet, policies::promote_double<false>>::type;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
/// Above this many degrees of freedom Student's t is the normal distribution but for a term of
/// order 1/nu.
constexpr double kNormalLimit = 1e10;

/// Normal tail with the first term of Fisher's expansion in 1/nu (Abramowitz and Stegun 26.7.8),
/// without which far tails would be right to a few parts in 1e9 only.
double nearNormalUpperTail(double x, double nu) {
    const double density = std::exp(-0.5 * x * x) / std::sqrt(2.0 * std::numbers::pi);
    if (density == 0.0) return normalUpperTail(x);
    return normalUpperTail(x) + density * x * (x * x + 1.0) / (4.0 * nu);
}

bool inUnitInterval(double p) { return p >= 0.0 && p <= 1.0; }

}  // namespace

double normalUpperTail(double x) { return 0.5 * std::erfc(x / std::numbers::sqrt2); }

double normalQuantile(double p) {
    if (!inUnitInterval(p)) return kNaN;
    if (p == 0.0) return -kInfinity;
    if (p == 1.0) return kInfinity;
    return -std::numbers::sqrt2 * boost::math::erfc_inv(2.0 * p, Fast());
}

double studentTUpperTail(double x, double nu) {
    if (std::isnan(x) || !(nu > 0.0)) return kNaN;
    if (x == 0.0) return 0.5;
    if (std::isinf(x)) return x > 0.0 ? 0.0 : 1.0;
    if (nu > kNormalLimit) return nearNormalUpperTail(x, nu);
    const double squared = x * x;
    double tail = 0.0;
    // Close to the centre the argument nu/(nu + x²) would round to 1.
    if (std::abs(x) < 0.01 || nu > 2.0 * squared) {
        tail = 0.5 * boost::math::ibetac(0.5, 0.5 * nu, squared / (nu + squared), Fast());
    } else {
        tail = 0.5 * boost::math::ibeta(0.5 * nu, 0.5, nu / (nu + squared), Fast());
    }
    return x > 0.0 ? tail : 1.0 - tail;
}

double studentTQuantile(double p, double nu) {
    if (!inUnitInterval(p) || !(nu > 0.0)) return kNaN;
    if (p == 0.5) return 0.0;
    if (p == 0.0) return -kInfinity;
    if (p == 1.0) return kInfinity;
    if (nu == 1.0) return -1.0 / std::tan(std::numbers::pi * p);
    if (nu > kNormalLimit) return normalQuantile(p);
    const double twoTails = 2.0 * std::min(p, 1.0 - p);
    // The complement comes with the inverse: 1 - x alone would lose half the digits near p = 0.5.
    double complement = 0.0;
    const double x = boost::math::ibeta_inv(0.5 * nu, 0.5, twoTails, &complement, Fast());
    const double t = std::sqrt(nu * complement / x);
    return p < 0.5 ? -t : t;
}

double fUpperTail(double f, double d1, double d2) {
    if (std::isnan(f) || f < 0.0 || !(d1 > 0.0) || !(d2 > 0.0)) return kNaN;
    if (f == 0.0) return 1.0;
    if (std::isinf(f)) return 0.0;
    const double scaled = d1 * f;
    if (scaled > d2) {
        return boost::math::ibeta(0.5 * d2, 0.5 * d1, d2 / (d2 + scaled), Quiet());
    }
    return boost::math::ibetac(0.5 * d1, 0.5 * d2, scaled / (d2 + scaled), Quiet());
}

double chiSquareUpperTail(double x, double nu) {
    if (std::isnan(x) || x < 0.0 || !(nu > 0.0)) return kNaN;
    if (std::isinf(x)) return 0.0;
    return boost::math::gamma_q(0.5 * nu, 0.5 * x, Fast());
}

}  // namespace Veltrix::Engine::Distributions
