#pragma once

#include <cstdint>

namespace Veltrix::Support {

/// Bytes of memory that the machine has; the greatest number where that cannot be told.
std::uint64_t physicalMemory() noexcept;

}  // namespace Veltrix::Support
