#pragma once

namespace Veltrix::Tool {

/// From now on Ctrl-C, SIGTERM and SIGHUP end the program in order: what runs is asked to stop, and
/// ended when it has not within a fifth of a second, or at a second signal. No waiting file
/// (`Support::StagedFile`) and no child is left either way. A signal that is ignored already, as
/// under nohup, stays so.
void catchInterrupts() noexcept;

/// The exit code that tells of the signal that came, 128 and its number; 0 when none did.
int interruptCode() noexcept;

/// Tells of a child process, which is ended before the program; 0 when there is none (any more).
void setInterruptedChild(int child) noexcept;

}  // namespace Veltrix::Tool
