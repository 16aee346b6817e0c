#include "Veltrix/Data/Storage.h"

#include <cstdlib>
#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#elif defined(_WIN32)
#include <malloc.h>
#endif

namespace Veltrix::Storage {
namespace {

constexpr std::size_t kAlignment = 64;
constexpr std::size_t kHugePage = std::size_t{2} << 20;
/// Blocks from here on ask for huge pages; below, the rounding would waste too much.
constexpr std::size_t kLargeBlock = 2 * kHugePage;

void* allocateAligned(std::size_t bytes, std::size_t alignment) noexcept {
#if defined(_WIN32)
    return _aligned_malloc(bytes, alignment);
#else
    void* memory = nullptr;
    return posix_memalign(&memory, alignment, bytes) == 0 ? memory : nullptr;
#endif
}

}  // namespace

void* allocate(std::size_t bytes) {
    const bool large = bytes >= kLargeBlock;
    void* memory = allocateAligned(bytes, large ? kHugePage : kAlignment);
    if (memory == nullptr) throw std::bad_alloc();
#if defined(__linux__)
    // Advice only: where huge pages are switched off the block works as it is.
    if (large) madvise(memory, bytes, MADV_HUGEPAGE);
#endif
    return memory;
}

void release(void* memory, std::size_t /*bytes*/) noexcept {
#if defined(_WIN32)
    _aligned_free(memory);
#else
    std::free(memory);
#endif
}

}  // namespace Veltrix::Storage
