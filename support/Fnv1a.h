#pragma once

#include <cstdint>
#include <string_view>
#include <type_traits>

namespace Veltrix::Support {

/// 64-bit FNV-1a hash (Fowler, Noll, Vo) that takes in a whole character at a time, so ASCII text
/// has the same hash whatever the width of wchar_t.
constexpr std::uint64_t fnv1a(std::wstring_view text) noexcept {
    std::uint64_t hash = 14695981039346656037u;
    for (const wchar_t unit : text) {
        hash ^= static_cast<std::make_unsigned_t<wchar_t>>(unit);
        hash *= 1099511628211u;
    }
    return hash;
}

}  // namespace Veltrix::Support
