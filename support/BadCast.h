#pragma once

namespace Veltrix::Support {

/// Throws the conversion library's error for text or a value that is no number of the wanted kind;
/// it derives from `std::bad_cast`.
[[noreturn]] void throwBadCast();

}  // namespace Veltrix::Support
