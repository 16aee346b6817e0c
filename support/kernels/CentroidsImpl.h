#pragma once

// See LanesImpl.h for the rules.

#include "support/kernels/Centroids.h"
#include "support/kernels/LanesImpl.h"

namespace {

using std::int32_t;
using Veltrix::Kernels::GroupedRecords;
using Veltrix::Kernels::kScreenCentroids;
using Veltrix::Kernels::kScreenRecords;
using Veltrix::Kernels::Screen;

/// Floats and integers in one register.
constexpr int64_t kFloats = 2 * kLanes;
using Floats [[gnu::vector_size(4 * kFloats)]] = float;
using Places [[gnu::vector_size(4 * kFloats)]] = int32_t;

/// Registers of records: 3 × 4 sums, their operands and a centroid fill sixteen registers.
constexpr int kScreenVectors = 3;
constexpr int64_t kScreenPart = kScreenVectors * kFloats;

template <class Register, class Element>
[[gnu::always_inline]] inline Register loadAs(const Element* place) {
    Register result;
    __builtin_memcpy(&result, place, sizeof result);
    return result;
}

/// What is known after some of the centroids: least score, its centroid, least of the others.
struct Candidates {
    Floats least[kScreenVectors];
    Floats second[kScreenVectors];
    Places nearest[kScreenVectors];
};

/// `Width` centroids against the registers of records that start at `records`.
template <int Width>
[[gnu::always_inline]] inline void compare(const Screen& screen, const float* records,
                                           int64_t first, Candidates& found) {
    const float* centroids = screen.centroids + first * screen.depth;
    Floats sums[Width * kScreenVectors];
#pragma GCC unroll 16
    for (int s = 0; s < Width * kScreenVectors; ++s) {
        sums[s] = Floats{} + screen.offsets[first + s / kScreenVectors];
    }
    for (int64_t k = 0; k < screen.depth; ++k) {
        Floats x[kScreenVectors];
#pragma GCC unroll 16
        for (int v = 0; v < kScreenVectors; ++v) {
            x[v] = loadAs<Floats>(records + k * kScreenRecords + v * kFloats);
        }
#pragma GCC unroll 16
        for (int c = 0; c < Width; ++c) {
            const float centroid = centroids[k * Width + c];
#pragma GCC unroll 16
            for (int v = 0; v < kScreenVectors; ++v)
                sums[c * kScreenVectors + v] += x[v] * centroid;
        }
    }
#pragma GCC unroll 16
    for (int c = 0; c < Width; ++c) {
        const Places place = Places{} + static_cast<int32_t>(first + c);
#pragma GCC unroll 16
        for (int v = 0; v < kScreenVectors; ++v) {
            const Floats score = sums[c * kScreenVectors + v];
            Floats& least = found.least[v];
            Floats& second = found.second[v];
            const Floats larger = least > score ? least : score;
            found.nearest[v] = score < least ? place : found.nearest[v];
            second = larger < second ? larger : second;
            least = score < least ? score : least;
        }
    }
}

/// One part of a panel against all centroids.
[[gnu::always_inline]] inline void screenPart(const Screen& screen, int64_t part,
                                              Candidates& found) {
    for (int v = 0; v < kScreenVectors; ++v) {
        found.least[v] = Floats{} + __builtin_inff();
        found.second[v] = found.least[v];
        found.nearest[v] = Places{};
    }
    const float* records = screen.records + part;
    int64_t first = 0;
    for (; first + kScreenCentroids <= screen.numCentroids; first += kScreenCentroids) {
        compare<kScreenCentroids>(screen, records, first, found);
    }
    switch (screen.numCentroids - first) {
        case 3:
            return compare<3>(screen, records, first, found);
        case 2:
            return compare<2>(screen, records, first, found);
        case 1:
            return compare<1>(screen, records, first, found);
        default:
            return;
    }
}

int64_t screen(const Screen& screen) {
    int64_t numUnsure = 0;
    for (int64_t part = 0; part < kScreenRecords; part += kScreenPart) {
        Candidates found;
        screenPart(screen, part, found);
        float gaps[kScreenPart];
        for (int v = 0; v < kScreenVectors; ++v) {
            const Floats gap = found.second[v] - found.least[v];
            __builtin_memcpy(gaps + v * kFloats, &gap, sizeof gap);
            __builtin_memcpy(screen.nearest + part + v * kFloats, &found.nearest[v],
                             sizeof(Places));
        }
        for (int64_t r = 0; r < kScreenPart; ++r) {
            const float length = screen.recordLengths[part + r];
            const float other = screen.centroidLengths[screen.nearest[part + r]];
            const float bound =
                screen.slope * (length * other + 0.5F * other * other + screen.floor);
            // A gap that is NaN is unsure too.
            const int32_t sure = gaps[r] > 2.0F * bound + screen.share * length * length ? 1 : 0;
            screen.unsure[part + r] = 1 - sure;
            numUnsure += 1 - sure;
        }
    }
    return numUnsure;
}

void addToGroups(const GroupedRecords& records, double* sums) {
    // Few coordinates at a time, so that the lines in use of a matrix stored by columns stay in the
    // first-level cache.
    constexpr int64_t kTogether = 32;
    const int64_t step = records.coordinateStep;
    for (int64_t first = 0; first < records.depth; first += kTogether) {
        const int64_t end = first + kTogether < records.depth ? first + kTogether : records.depth;
        for (int64_t i = 0; i < records.count; ++i) {
            const double* record = records.values + i * records.recordStep;
            double* sum = sums + records.groups[i] * records.depth;
            int64_t k = first;
            for (; k + kLanes <= end; k += kLanes) {
                Lanes values = {};
#pragma GCC unroll 4
                for (int64_t l = 0; l < kLanes; ++l) values[l] = record[(k + l) * step];
                store(sum + k, load(sum + k) + values);
            }
            for (; k < end; ++k) sum[k] += record[k * step];
        }
    }
}

}  // namespace
