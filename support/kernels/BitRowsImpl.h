#pragma once

// See LanesImpl.h for the rules.

#include "support/kernels/BitRows.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace {

using std::int64_t;
using std::uint32_t;
using std::uint64_t;

/// Bits of a AND b in a few words, for the processors that count a word's bits in an instruction.
[[gnu::always_inline]] inline uint64_t commonInWords(int64_t words, const uint64_t* a,
                                                     const uint64_t* b) {
    uint64_t bits = 0;
    for (int64_t k = 0; k < words; ++k) {
        bits += static_cast<uint64_t>(__builtin_popcountll(a[k] & b[k]));
    }
    return bits;
}

#if defined(__AVX2__)

[[gnu::always_inline]] inline __m256i commonBits(const uint64_t* a, const uint64_t* b) {
    return _mm256_and_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(a)),
                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(b)));
}

/// Bits of every byte, by a table of those of its halves (Mula 2008).
[[gnu::always_inline]] inline __m256i bitsOfBytes(__m256i bytes) {
    const __m256i table = _mm256_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4, 0, 1, 1,
                                           2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4);
    const __m256i half = _mm256_set1_epi8(15);
    const __m256i low = _mm256_and_si256(bytes, half);
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), half);
    return _mm256_add_epi8(_mm256_shuffle_epi8(table, low), _mm256_shuffle_epi8(table, high));
}

/// Bits of a AND b.
[[gnu::always_inline]] inline uint64_t commonInBlock(int64_t words, const uint64_t* a,
                                                     const uint64_t* b) {
    constexpr int64_t kWords = 4;  // of a register
    constexpr int64_t kMost = 31;  // registers whose counts a byte can hold
    const __m256i zero = _mm256_setzero_si256();
    __m256i total = zero;
    int64_t k = 0;
    while (k + kWords <= words) {
        __m256i bytes = zero;
        for (int64_t n = 0; n < kMost && k + kWords <= words; ++n, k += kWords) {
            bytes = _mm256_add_epi8(bytes, bitsOfBytes(commonBits(a + k, b + k)));
        }
        total = _mm256_add_epi64(total, _mm256_sad_epu8(bytes, zero));
    }
    uint64_t parts[4];
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(parts), total);
    return parts[0] + parts[1] + parts[2] + parts[3] + commonInWords(words - k, a + k, b + k);
}

#else

[[gnu::always_inline]] inline uint64_t commonInBlock(int64_t words, const uint64_t* a,
                                                     const uint64_t* b) {
    return commonInWords(words, a, b);
}

#endif

void count(const Veltrix::Kernels::BitRowCounts& rows) {
    constexpr int64_t kBlock = Veltrix::Kernels::kBitBlock;
    for (int64_t r = 0; r < rows.count; ++r) {
        const uint64_t* const row = rows.rows[r];
        uint64_t found = 0;
        for (int64_t first = 0, block = 0; first < rows.words; first += kBlock, ++block) {
            const int64_t words = rows.words - first < kBlock ? rows.words - first : kBlock;
            found += commonInBlock(words, rows.common + first, row + first);
            if (rows.behind != nullptr && found + rows.behind[block] < rows.least) break;
        }
        rows.counts[r] = static_cast<uint32_t>(found);
    }
}

void intersect(int64_t words, const uint64_t* a, const uint64_t* b, uint64_t* target) {
    for (int64_t k = 0; k < words; ++k) target[k] = a[k] & b[k];
}

}  // namespace
