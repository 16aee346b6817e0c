#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "Veltrix/Export.h"

namespace Veltrix::Storage {

/// Memory aligned to 64 bytes; large blocks ask for huge pages, which makes the first touch of
/// fresh memory several times cheaper. Throws `std::bad_alloc`.
VELTRIX_DATA_API void* allocate(std::size_t bytes);
VELTRIX_DATA_API void release(void* memory, std::size_t bytes) noexcept;

/// Allocator behind the containers. Default construction leaves arithmetic values uninitialised,
/// so that storage about to be filled is not written twice; fills are always asked for by value.
template <class T>
struct AlignedAllocator {
    using value_type = T;
    using is_always_equal = std::true_type;

    AlignedAllocator() = default;
    template <class U>
    AlignedAllocator(const AlignedAllocator<U>&) noexcept {}  // NOLINT(google-explicit-constructor)

    T* allocate(std::size_t count) {
        if (count > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_array_new_length();
        return static_cast<T*>(Storage::allocate(count * sizeof(T)));
    }
    void deallocate(T* memory, std::size_t count) noexcept {
        Storage::release(memory, count * sizeof(T));
    }
    template <class U, class... Args>
    void construct(U* place, Args&&... args) {
        if constexpr (sizeof...(Args) == 0 && std::is_arithmetic_v<U>) {
            ::new (static_cast<void*>(place)) U;
        } else {
            std::construct_at(place, std::forward<Args>(args)...);
        }
    }

    friend bool operator==(const AlignedAllocator&, const AlignedAllocator&) { return true; }
};

/// Asks a constructor to leave the elements unset, for code that writes every one of them.
struct Unfilled {};
inline constexpr Unfilled kUnfilled{};

template <class T>
using Buffer = std::vector<T, AlignedAllocator<T>>;

}  // namespace Veltrix::Storage
