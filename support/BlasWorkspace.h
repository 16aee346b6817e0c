#pragma once

/// @file
/// Room for the linear algebra back end, for programs that may run with little address space.

namespace Veltrix::Support {

/// Whether the workspaces of all the back end's threads fit into the address space that is left.
/// Where they do not, a thread may be in search of its own for ever, so that the program can
/// neither go on nor end by itself. Always true for one thread.
bool roomForBlasThreads() noexcept;

/// Gives the calling thread the workspace that the back end maps at its first use and keeps.
/// Throws `std::bad_alloc` when there is no room, where the back end would search for ever.
void takeBlasWorkspace();

}  // namespace Veltrix::Support
