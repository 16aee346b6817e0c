#include "tools/veltrix/io/ChildStep.h"

#include "support/Files.h"
#include "tools/veltrix/io/Interrupt.h"

#if !defined(_WIN32)
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <new>
#include <stdexcept>
#include <string_view>
#include <system_error>
#endif

namespace Veltrix::Tool {

#if defined(_WIN32)

void runInChild(const std::string& /*action*/, const std::function<void()>& step) { step(); }

#else

namespace {

enum Outcome : int { Done, NoMemory, FileFailed, OtherFailure };

[[noreturn]] void fail(const std::string& action, int cause) {
    if (cause == ENOMEM) throw std::bad_alloc();
    throw Support::FileError(action + ": " +
                             std::error_code(cause, std::generic_category()).message());
}

void closeAll(const std::array<int, 2>& ends) {
    for (const int end : ends) ::close(end);
}

/// No signal while it lives.
class HeldSignals {
  public:
    HeldSignals() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;
    ~HeldSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

    /// The signals that are held without it.
    const sigset_t& before() const { return before_; }

  private:
    sigset_t before_{};
};

Outcome attempt(const std::function<void()>& step, int messages) {
    const auto tell = [messages](std::string_view text) {
        static_cast<void>(!::write(messages, text.data(), text.size()));
    };
    try {
        step();
        return Done;
    } catch (const std::bad_alloc&) {
        return NoMemory;
    } catch (const Support::FileError& error) {
        tell(error.what());
        return FileFailed;
    } catch (const std::exception& error) {
        tell(error.what());
        return OtherFailure;
    }
}

/// The life of the child. Its signals end it, which the parent sees.
[[noreturn]] void live(const std::function<void()>& step, int messages) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGALRM}) ::signal(signal, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) ::dup2(nowhere, STDERR_FILENO);
    ::_exit(attempt(step, messages));
}

/// All that the child says until it ends or the program is to. Signals come while it waits only, so
/// that none is overlooked.
std::string listen(int messages) {
    const HeldSignals held;
    std::string text;
    std::array<char, 512> buffer;
    while (interruptCode() == 0) {
        pollfd source{.fd = messages, .events = POLLIN, .revents = 0};
        // Whatever else it fails of is no reason to ask again at once: reading waits as well.
        if (::ppoll(&source, 1, nullptr, &held.before()) < 0 && errno == EINTR) continue;
        const ssize_t size = ::read(messages, buffer.data(), buffer.size());
        if (size <= 0) break;
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return text;
}

int waitFor(pid_t child) {
    if (interruptCode() != 0) ::kill(child, SIGKILL);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    setInterruptedChild(0);
    return status;
}

}  // namespace

void runInChild(const std::string& action, const std::function<void()>& step) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) fail(action, errno);
    pid_t child = 0;
    {
        const HeldSignals held;
        child = ::fork();
        if (child == 0) live(step, ends[1]);
        setInterruptedChild(child > 0 ? child : 0);
    }
    if (child < 0) {
        const int cause = errno;
        closeAll(ends);
        fail(action, cause);
    }
    ::close(ends[1]);
    const std::string message = listen(ends[0]);
    ::close(ends[0]);
    const int status = waitFor(child);
    if (WIFSIGNALED(status)) {
        throw Support::FileError(action + ": the process that does it was ended by signal " +
                                 std::to_string(WTERMSIG(status)) +
                                 ", as happens when memory is short");
    }
    if (WEXITSTATUS(status) == NoMemory) throw std::bad_alloc();
    if (WEXITSTATUS(status) == FileFailed) throw Support::FileError(message);
    if (WEXITSTATUS(status) != Done) throw std::runtime_error(message);
}

#endif

}  // namespace Veltrix::Tool
