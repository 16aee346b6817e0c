#pragma once

#include <functional>
#include <string>

namespace Veltrix::Tool {

/// Runs a step that may crash, as libraries do that take every allocation for granted, in a process
/// of its own where the system has them: it sees a copy of everything here, and what it prints on
/// stderr is lost.
///
/// What the step throws comes out here: `Support::FileError` and `std::bad_alloc` as they are,
/// other exceptions as `std::runtime_error`; its crash is a `Support::FileError` that begins with
/// `action`. Ends early when the program is interrupted, see `catchInterrupts`.
void runInChild(const std::string& action, const std::function<void()>& step);

}  // namespace Veltrix::Tool
