#include "support/Memory.h"

#include <limits>

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace Veltrix::Support {

std::uint64_t physicalMemory() noexcept {
#if defined(_WIN32)
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (GlobalMemoryStatusEx(&status) != 0) return status.ullTotalPhys;
#else
    const auto pages = sysconf(_SC_PHYS_PAGES);
    const auto pageSize = sysconf(_SC_PAGESIZE);
    if (pages > 0 && pageSize > 0) {
        return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
    }
#endif
    return std::numeric_limits<std::uint64_t>::max();
}

}  // namespace Veltrix::Support
