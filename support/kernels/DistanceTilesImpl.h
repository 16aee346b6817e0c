#pragma once

// Included by ArraysImpl.h; see there. A tile of sums stays in registers while the coordinates of
// its points stream by.

#include "support/kernels/Arrays.h"
#include "support/kernels/LanesImpl.h"

namespace {

using Veltrix::Kernels::DistanceStripOf;
using Veltrix::Kernels::kInnerPanelOf;
using Veltrix::Kernels::kOuterPanel;

/// Registers of a tile across: 6 × 2 sums and their operands fill sixteen registers.
constexpr int kVectors = 2;

struct AddSquare {
    template <class Any>
    [[gnu::always_inline]] static void step(Any& sum, const Any& difference) {
        sum += difference * difference;
    }
};

struct AddMagnitude {
    template <class Any>
    [[gnu::always_inline]] static void step(Any& sum, const Any& difference) {
        sum += magnitude(difference);
    }
};

struct KeepLargest {
    template <class Any>
    [[gnu::always_inline]] static void step(Any& largest, const Any& difference) {
        const Any candidate = magnitude(difference);
        // A NaN among the two fails the second comparison or is what the first one keeps.
        const auto keep = (candidate <= largest) | (largest != largest);
        largest = keep ? largest : candidate;
    }
};

/// One tile: `Width` outer points against kVectors registers of points of an inner panel.
template <class Accumulator, int Width, class Number>
[[gnu::always_inline]] inline void registerTile(int64_t depth, const Number* outer,
                                                const Number* inner, Number* place, int64_t step,
                                                bool accumulate) {
    using Several = typename LanesOf<Number>::Type;
    constexpr int64_t kCount = LanesOf<Number>::kCount;
    Several sums[Width * kVectors];
#pragma GCC unroll 16
    for (int r = 0; r < Width; ++r) {
#pragma GCC unroll 16
        for (int v = 0; v < kVectors; ++v) {
            sums[r * kVectors + v] = accumulate ? load(place + r * step + v * kCount) : Several{};
        }
    }
    for (int64_t k = 0; k < depth; ++k) {
#pragma GCC unroll 16
        for (int r = 0; r < Width; ++r) {
            const Number point = outer[k * Width + r];
#pragma GCC unroll 16
            for (int v = 0; v < kVectors; ++v) {
                const Several difference =
                    point - load(inner + k * kInnerPanelOf<Number> + v * kCount);
                Accumulator::step(sums[r * kVectors + v], difference);
            }
        }
    }
#pragma GCC unroll 16
    for (int r = 0; r < Width; ++r) {
#pragma GCC unroll 16
        for (int v = 0; v < kVectors; ++v) {
            store(place + r * step + v * kCount, sums[r * kVectors + v]);
        }
    }
}

/// `Width` outer points against one inner panel; `place` has room for all the sums.
template <class Accumulator, int Width, class Number>
[[gnu::always_inline]] inline void tile(int64_t depth, const Number* outer, const Number* inner,
                                        Number* place, int64_t step, bool accumulate) {
    for (int64_t part = 0; part < kInnerPanelOf<Number>;
         part += kVectors * LanesOf<Number>::kCount) {
        registerTile<Accumulator, Width>(depth, outer, inner + part, place + part, step,
                                         accumulate);
    }
}

/// A tile at the edge of the target, worked on in a buffer that is as large as a whole one.
template <class Accumulator, int Width, class Number>
[[gnu::always_inline]] inline void edgeTile(const DistanceStripOf<Number>& strip, int64_t first) {
    Number buffer[Width * kInnerPanelOf<Number>] = {};
    Number* place = strip.target + first;
    const auto inTarget = [&](int64_t r, int64_t c) {
        return r < strip.outerCount && first + c < strip.innerCount;
    };
    for (int64_t r = 0; r < Width; ++r) {
        for (int64_t c = 0; c < kInnerPanelOf<Number>; ++c) {
            if (strip.accumulate && inTarget(r, c)) {
                buffer[r * kInnerPanelOf<Number> + c] = place[r * strip.targetStep + c];
            }
        }
    }
    tile<Accumulator, Width>(strip.depth, strip.outer, strip.inner + first * strip.depth, buffer,
                             kInnerPanelOf<Number>, strip.accumulate);
    for (int64_t r = 0; r < Width; ++r) {
        for (int64_t c = 0; c < kInnerPanelOf<Number>; ++c) {
            if (inTarget(r, c))
                place[r * strip.targetStep + c] = buffer[r * kInnerPanelOf<Number> + c];
        }
    }
}

template <class Accumulator, int Width, class Number>
[[gnu::always_inline]] inline void stripOf(const DistanceStripOf<Number>& strip) {
    const int64_t whole =
        strip.outerCount == Width ? strip.innerCount - strip.innerCount % kInnerPanelOf<Number> : 0;
    for (int64_t first = 0; first < whole; first += kInnerPanelOf<Number>) {
        tile<Accumulator, Width>(strip.depth, strip.outer, strip.inner + first * strip.depth,
                                 strip.target + first, strip.targetStep, strip.accumulate);
    }
    for (int64_t first = whole; first < strip.innerCount; first += kInnerPanelOf<Number>) {
        edgeTile<Accumulator, Width>(strip, first);
    }
}

template <class Accumulator, class Number = double>
void differences(const DistanceStripOf<Number>& strip) {
    if (strip.outerWidth == 1) {
        stripOf<Accumulator, 1>(strip);
    } else {
        stripOf<Accumulator, static_cast<int>(kOuterPanel)>(strip);
    }
}

}  // namespace
