#pragma once

#include <array>
#include <cstddef>

/// @file
/// Eight independent smoothings side by side. The recursions of one are a chain of dependent
/// operations, so that eight take hardly longer than one; each is rounded as it is alone.

namespace Veltrix::Engine::TS::Smoothing {

class Lanes {
    using Pair [[gnu::vector_size(16)]] = double;
    static constexpr std::size_t kPairs = 4;

  public:
    static constexpr std::size_t kCount = 2 * kPairs;

    Lanes() = default;
    /// The same in all lanes.
    Lanes(double value) {  // NOLINT(google-explicit-constructor): as in formulas
        for (Pair& pair : pairs_) pair = Pair{value, value};
    }
    explicit Lanes(const std::array<double, kCount>& values) {
        for (std::size_t k = 0; k < kPairs; ++k) pairs_[k] = Pair{values[2 * k], values[2 * k + 1]};
    }

    double operator[](std::size_t lane) const { return pairs_[lane / 2][lane % 2]; }

    friend Lanes operator+(const Lanes& a, const Lanes& b) {
        return each(a, b, [](Pair x, Pair y) { return x + y; });
    }
    friend Lanes operator-(const Lanes& a, const Lanes& b) {
        return each(a, b, [](Pair x, Pair y) { return x - y; });
    }
    friend Lanes operator*(const Lanes& a, const Lanes& b) {
        return each(a, b, [](Pair x, Pair y) { return x * y; });
    }
    friend Lanes operator/(const Lanes& a, const Lanes& b) {
        return each(a, b, [](Pair x, Pair y) { return x / y; });
    }
    friend Lanes magnitude(const Lanes& a) {
        return each(a, a, [](Pair x, Pair) { return x < 0.0 ? -x : x; });
    }

  private:
    template <class Operation>
    [[gnu::always_inline]] static Lanes each(const Lanes& a, const Lanes& b, Operation operation) {
        Lanes result;
        for (std::size_t k = 0; k < kPairs; ++k) {
            result.pairs_[k] = operation(a.pairs_[k], b.pairs_[k]);
        }
        return result;
    }

    std::array<Pair, kPairs> pairs_{};
};

inline double magnitude(double a) { return a < 0.0 ? -a : a; }

}  // namespace Veltrix::Engine::TS::Smoothing
