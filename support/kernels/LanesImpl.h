#pragma once

// Included by sources that are compiled for different instruction sets. Everything stands in an
// unnamed namespace and no inline function of the standard library is used: a copy compiled for
// wider instructions must never be the one that the linker picks for the whole library.

#include <cstdint>

namespace {

using std::int64_t;

/// Doubles worked on together: as many as one register of the instruction set holds.
#if defined(__AVX__)
constexpr int64_t kLanes = 4;
using Lanes [[gnu::vector_size(32)]] = double;
using LaneBits [[gnu::vector_size(32)]] = int64_t;
#else
constexpr int64_t kLanes = 2;
using Lanes [[gnu::vector_size(16)]] = double;
using LaneBits [[gnu::vector_size(16)]] = int64_t;
#endif

/// Doubles from any address; a single instruction in optimised code.
[[gnu::always_inline]] inline Lanes load(const double* place) {
    Lanes result;
    __builtin_memcpy(&result, place, sizeof result);
    return result;
}
[[gnu::always_inline]] inline void store(double* place, const Lanes& values) {
    __builtin_memcpy(place, &values, sizeof values);
}

/// The same in single precision.
constexpr int64_t kFloatLanes = 2 * kLanes;
using FloatLanes [[gnu::vector_size(kLanes * 8)]] = float;
using FloatBits [[gnu::vector_size(kLanes * 8)]] = std::int32_t;

[[gnu::always_inline]] inline FloatLanes load(const float* place) {
    FloatLanes result;
    __builtin_memcpy(&result, place, sizeof result);
    return result;
}
[[gnu::always_inline]] inline void store(float* place, const FloatLanes& values) {
    __builtin_memcpy(place, &values, sizeof values);
}

template <class Number>
struct LanesOf;
template <>
struct LanesOf<double> {
    using Type = Lanes;
    static constexpr int64_t kCount = kLanes;
};
template <>
struct LanesOf<float> {
    using Type = FloatLanes;
    static constexpr int64_t kCount = kFloatLanes;
};

/// Sum of the lanes, halves first.
[[gnu::always_inline]] inline double total(const Lanes& x) {
    double sum = 0.0;
    for (int64_t k = 0; k < kLanes; k += 2) sum += x[k] + x[k + 1];
    return sum;
}

/// |x| as bits: without the sign doubles are ordered as their bits are, NaN above infinity.
[[gnu::always_inline]] inline LaneBits magnitudeBits(const Lanes& x) {
    constexpr int64_t kAllButSign = 0x7fffffffffffffff;
    return reinterpret_cast<LaneBits>(x) & kAllButSign;
}

[[gnu::always_inline]] inline Lanes magnitude(const Lanes& x) {
    return reinterpret_cast<Lanes>(magnitudeBits(x));
}
[[gnu::always_inline]] inline FloatLanes magnitude(const FloatLanes& x) {
    return reinterpret_cast<FloatLanes>(reinterpret_cast<FloatBits>(x) & 0x7fffffff);
}

}  // namespace
