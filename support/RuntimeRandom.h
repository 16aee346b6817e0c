#pragma once

#include <cstdint>

namespace Veltrix::Support {

/// The linear congruential generator that every random procedure with a seed draws from.
///
/// State x <- x * 214013 + 2531011 (mod 2^32), output (x >> 16) & 32767.
class RuntimeRandom {
  public:
    static constexpr std::uint32_t kMultiplier = 214013;
    static constexpr std::uint32_t kIncrement = 2531011;
    static constexpr std::uint32_t kMax = 32767;

    explicit constexpr RuntimeRandom(std::uint32_t seed) noexcept : state_(seed) {}

    /// Integer in [0, 32767].
    constexpr std::uint32_t next() noexcept {
        state_ = state_ * kMultiplier + kIncrement;
        return (state_ >> 16) & kMax;
    }

    /// Integer in [0, 2^30): two outputs joined, the high half drawn first.
    constexpr std::uint32_t nextJoined() noexcept {
        const std::uint32_t high = next();
        return high << 15 | next();
    }

    /// Fraction in [0, 1]; 1 is a possible value.
    constexpr double nextFraction() noexcept { return next() / 32767.0; }

  private:
    std::uint32_t state_;
};

}  // namespace Veltrix::Support
