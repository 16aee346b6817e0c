#pragma once

#include <string>

namespace Veltrix::Support {

/// Throws the conversion library's error for text or a value that is no number of the wanted kind;
/// it derives from `std::bad_cast`, and `what()` is `problem`.
[[noreturn]] void throwBadCast(const std::string& problem);

}  // namespace Veltrix::Support
