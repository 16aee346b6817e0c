#pragma once

// Included by ArraysImpl.h; see there. Single precision decides which pairs of points deserve an
// exact distance: it takes one operation a coordinate and twice as many points to a register.

#include "support/kernels/Arrays.h"
#include "support/kernels/LanesImpl.h"

namespace {

using Veltrix::Kernels::kNearInner;
using Veltrix::Kernels::kNearOuter;
using Veltrix::Kernels::NearRowsStrip;

/// Whether no lane of a comparison is set.
template <class Comparison>
[[gnu::always_inline]] inline bool none(const Comparison& lanes) {
    const auto bits = reinterpret_cast<LaneBits>(lanes);
    int64_t any = 0;
    for (int64_t k = 0; k < kLanes; ++k) any |= bits[k];
    return any == 0;
}

/// Registers of inner points in a tile.
constexpr int kNearVectors = 2;
constexpr int kNearWidth = static_cast<int>(kNearOuter);

/// Notes those of a tile's pairs whose sums reach the bounds of their outer points.
[[gnu::always_inline]] inline void noteNear(const NearRowsStrip& strip, int64_t first,
                                            const FloatLanes* sums) {
    for (int64_t r = 0; r < kNearOuter; ++r) {
        const FloatLanes* own = sums + r * kNearVectors;
        const FloatLanes bound = FloatLanes{} + strip.bounds[r];
        if (none((own[0] >= bound) | (own[1] >= bound))) continue;
        std::int32_t* found = strip.found + r * strip.innerCount;
        for (int64_t c = 0; c < kNearVectors * kFloatLanes; ++c) {
            if (own[c / kFloatLanes][c % kFloatLanes] >= strip.bounds[r]) {
                found[strip.foundCounts[r]++] = static_cast<std::int32_t>(first + c);
            }
        }
    }
}

/// All outer points against kNearVectors · kFloatLanes inner ones, the first of which is `first`;
/// `start` are their starting values and `coordinates` their coordinates in the panel.
[[gnu::always_inline]] inline void nearTile(const NearRowsStrip& strip, int64_t first,
                                            const float* start, const float* coordinates) {
    FloatLanes sums[kNearWidth * kNearVectors];
#pragma GCC unroll 16
    for (int r = 0; r < kNearWidth; ++r) {
#pragma GCC unroll 16
        for (int v = 0; v < kNearVectors; ++v) {
            sums[r * kNearVectors + v] = load(start + v * kFloatLanes);
        }
    }
    for (int64_t k = 0; k < strip.depth; ++k) {
#pragma GCC unroll 16
        for (int v = 0; v < kNearVectors; ++v) {
            const FloatLanes inner = load(coordinates + k * kNearInner + v * kFloatLanes);
#pragma GCC unroll 16
            for (int r = 0; r < kNearWidth; ++r) {
                sums[r * kNearVectors + v] += strip.outer[k * kNearOuter + r] * inner;
            }
        }
    }
    auto near = sums[0] >= FloatLanes{} + strip.bounds[0];
#pragma GCC unroll 16
    for (int r = 0; r < kNearWidth; ++r) {
#pragma GCC unroll 16
        for (int v = 0; v < kNearVectors; ++v) {
            near |= sums[r * kNearVectors + v] >= FloatLanes{} + strip.bounds[r];
        }
    }
    if (!none(near)) noteNear(strip, first, sums);
}

void nearRows(const NearRowsStrip& strip) {
    for (int64_t r = 0; r < kNearOuter; ++r) strip.foundCounts[r] = 0;
    for (int64_t first = 0; first < strip.innerCount; first += kNearInner) {
        const float* panel = strip.inner + first * (strip.depth + 1);
        for (int64_t part = 0; part < kNearInner; part += kNearVectors * kFloatLanes) {
            nearTile(strip, first + part, panel + part, panel + kNearInner + part);
        }
    }
}

}  // namespace
