#pragma once

// Included by ArraysImpl.h; see there. A tile of sums stays in registers while the coordinates of
// its points stream by.

#include "support/kernels/Arrays.h"
#include "support/kernels/LanesImpl.h"

namespace {

using Veltrix::Kernels::DistanceStrip;
using Veltrix::Kernels::kInnerPanel;
using Veltrix::Kernels::kOuterPanel;

/// Registers of a tile across: 6 × 2 sums and their operands fill sixteen registers.
constexpr int kVectors = 2;

struct AddSquare {
    [[gnu::always_inline]] static void step(Lanes& sum, const Lanes& difference) {
        sum += difference * difference;
    }
};

struct AddMagnitude {
    [[gnu::always_inline]] static void step(Lanes& sum, const Lanes& difference) {
        sum += magnitude(difference);
    }
};

struct KeepLargest {
    [[gnu::always_inline]] static void step(Lanes& largest, const Lanes& difference) {
        const Lanes candidate = magnitude(difference);
        // A NaN among the two fails the second comparison or is what the first one keeps.
        const auto keep = (candidate <= largest) | (largest != largest);
        largest = keep ? largest : candidate;
    }
};

/// One tile: `Width` outer points against kVectors · kLanes points of an inner panel.
template <class Accumulator, int Width>
[[gnu::always_inline]] inline void registerTile(int64_t depth, const double* outer,
                                                const double* inner, double* place, int64_t step,
                                                bool accumulate) {
    Lanes sums[Width * kVectors];
#pragma GCC unroll 16
    for (int r = 0; r < Width; ++r) {
#pragma GCC unroll 16
        for (int v = 0; v < kVectors; ++v) {
            sums[r * kVectors + v] = accumulate ? load(place + r * step + v * kLanes) : Lanes{};
        }
    }
    for (int64_t k = 0; k < depth; ++k) {
#pragma GCC unroll 16
        for (int r = 0; r < Width; ++r) {
            const double point = outer[k * Width + r];
#pragma GCC unroll 16
            for (int v = 0; v < kVectors; ++v) {
                const Lanes difference = point - load(inner + k * kInnerPanel + v * kLanes);
                Accumulator::step(sums[r * kVectors + v], difference);
            }
        }
    }
#pragma GCC unroll 16
    for (int r = 0; r < Width; ++r) {
#pragma GCC unroll 16
        for (int v = 0; v < kVectors; ++v) {
            store(place + r * step + v * kLanes, sums[r * kVectors + v]);
        }
    }
}

/// `Width` outer points against one inner panel; `place` has room for all the sums.
template <class Accumulator, int Width>
[[gnu::always_inline]] inline void tile(int64_t depth, const double* outer, const double* inner,
                                        double* place, int64_t step, bool accumulate) {
    for (int64_t part = 0; part < kInnerPanel; part += kVectors * kLanes) {
        registerTile<Accumulator, Width>(depth, outer, inner + part, place + part, step,
                                         accumulate);
    }
}

/// A tile at the edge of the target, worked on in a buffer that is as large as a whole one.
template <class Accumulator, int Width>
[[gnu::always_inline]] inline void edgeTile(const DistanceStrip& strip, int64_t first) {
    double buffer[Width * kInnerPanel] = {};
    double* place = strip.target + first;
    const auto inTarget = [&](int64_t r, int64_t c) {
        return r < strip.outerCount && first + c < strip.innerCount;
    };
    for (int64_t r = 0; r < Width; ++r) {
        for (int64_t c = 0; c < kInnerPanel; ++c) {
            if (strip.accumulate && inTarget(r, c)) {
                buffer[r * kInnerPanel + c] = place[r * strip.targetStep + c];
            }
        }
    }
    tile<Accumulator, Width>(strip.depth, strip.outer, strip.inner + first * strip.depth, buffer,
                             kInnerPanel, strip.accumulate);
    for (int64_t r = 0; r < Width; ++r) {
        for (int64_t c = 0; c < kInnerPanel; ++c) {
            if (inTarget(r, c)) place[r * strip.targetStep + c] = buffer[r * kInnerPanel + c];
        }
    }
}

template <class Accumulator, int Width>
[[gnu::always_inline]] inline void stripOf(const DistanceStrip& strip) {
    const int64_t whole =
        strip.outerCount == Width ? strip.innerCount - strip.innerCount % kInnerPanel : 0;
    for (int64_t first = 0; first < whole; first += kInnerPanel) {
        tile<Accumulator, Width>(strip.depth, strip.outer, strip.inner + first * strip.depth,
                                 strip.target + first, strip.targetStep, strip.accumulate);
    }
    for (int64_t first = whole; first < strip.innerCount; first += kInnerPanel) {
        edgeTile<Accumulator, Width>(strip, first);
    }
}

template <class Accumulator>
void differences(const DistanceStrip& strip) {
    if (strip.outerWidth == 1) {
        stripOf<Accumulator, 1>(strip);
    } else {
        stripOf<Accumulator, static_cast<int>(kOuterPanel)>(strip);
    }
}

}  // namespace
