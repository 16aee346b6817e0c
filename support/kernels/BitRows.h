#pragma once

#include <cstdint>

/// @file
/// Counting what rows of bits have in common.

namespace Veltrix::Kernels {

/// Words after which a count is given up that cannot reach what is asked for any more.
constexpr std::int64_t kBitBlock = 256;

/// Rows of `words` words, each of which is counted against one row.
struct BitRowCounts {
    std::int64_t words;
    const std::uint64_t* common;  ///< the one row
    /// Bits of `common` behind each block of `kBitBlock` words; null where none is given up.
    const std::uint32_t* behind;
    std::uint32_t least;  ///< smaller counts may be given up: they are too small then
    std::int64_t count;   ///< number of rows
    const std::uint64_t* const* rows;
    std::uint32_t* counts;  ///< result: bits that a row has in common with the one
};

struct BitRows {
    void (*count)(const BitRowCounts& rows);
    /// target = a AND b; the target may be one of them.
    void (*intersect)(std::int64_t words, const std::uint64_t* a, const std::uint64_t* b,
                      std::uint64_t* target);
};

/// The kernels for this processor.
const BitRows& bitRows();

extern const BitRows kBitRowsBaseline;
#if defined(__x86_64__)
extern const BitRows kBitRowsAvx2;
#endif

}  // namespace Veltrix::Kernels
