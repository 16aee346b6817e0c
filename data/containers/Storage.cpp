#include "Veltrix/Data/Storage.h"

#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace Veltrix::Storage {
namespace {

constexpr std::size_t kAlignment = 64;
constexpr std::size_t kHugePage = std::size_t{2} << 20;
/// Blocks from here on ask for huge pages; below, the rounding would waste too much.
constexpr std::size_t kLargeBlock = 2 * kHugePage;

constexpr std::align_val_t alignmentOf(std::size_t bytes) {
    return std::align_val_t{bytes >= kLargeBlock ? kHugePage : kAlignment};
}

}  // namespace

void* allocate(std::size_t bytes) {
    void* memory = ::operator new(bytes, alignmentOf(bytes));
#if defined(__linux__)
    // Advice only: where huge pages are switched off the block works as it is.
    if (bytes >= kLargeBlock) madvise(memory, bytes, MADV_HUGEPAGE);
#endif
    return memory;
}

void release(void* memory, std::size_t bytes) noexcept {
    ::operator delete(memory, alignmentOf(bytes));
}

}  // namespace Veltrix::Storage
