#pragma once

#include <cmath>
#include <cstdint>
#include <random>

namespace Veltrix::Support {

/// Standard normal numbers from the 32-bit Mersenne Twister (MT19937) by the polar method
/// (Marsaglia and Bray, 1964). The same on every platform up to the rounding of log.
class MersenneNormal {
  public:
    explicit MersenneNormal(std::uint32_t seed) : engine_(seed) {}

    /// Uniform number (a + b 2^32) / 2^64 from two outputs, a drawn first. In [0, 1]: rounding to a
    /// double makes 1 possible, with probability 2^-54.
    double nextUniform() {
        const auto low = static_cast<double>(engine_());
        const auto high = static_cast<double>(engine_());
        return (low + high * 4294967296.0) / 18446744073709551616.0;
    }

    /// Normal number with mean 0 and standard deviation 1.
    ///
    /// Pairs u = 2U - 1, v = 2U - 1 are drawn, u first, until s = u² + v² is in (0, 1); with
    /// f = sqrt(-2 ln s / s) this call gives u f and the next one v f.
    double next() {
        if (hasSaved_) {
            hasSaved_ = false;
            return saved_;
        }
        double u = 0.0;
        double v = 0.0;
        double s = 0.0;
        do {
            u = 2.0 * nextUniform() - 1.0;
            v = 2.0 * nextUniform() - 1.0;
            s = u * u + v * v;
        } while (!(s > 0.0 && s < 1.0));
        const double factor = std::sqrt(-2.0 * std::log(s) / s);
        saved_ = v * factor;
        hasSaved_ = true;
        return u * factor;
    }

  private:
    std::mt19937 engine_;
    double saved_ = 0.0;
    bool hasSaved_ = false;
};

}  // namespace Veltrix::Support
