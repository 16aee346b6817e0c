#include "tools/veltrix/io/Interrupt.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>

#if !defined(_WIN32)
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "support/Files.h"

namespace Veltrix::Tool {

namespace {

constexpr int kSignalBase = 128;

// Handlers may look at these only; without locks there is nothing to wait for.
std::atomic<int> caught{0};
std::atomic<int> child{0};
static_assert(std::atomic<int>::is_always_lock_free);

#if defined(_WIN32)

void leave(int signal) {
    Support::StagedFile::removeAll();
    std::_Exit(kSignalBase + signal);
}

#else

constexpr long kPatience = 200'000'000;  // nanoseconds

timer_t deadline{};
std::atomic<bool> hasDeadline{false};

/// Ends the process from within a handler. A child goes first, as it may write a waiting file.
[[noreturn]] void leaveNow() {
    if (child != 0) {
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }
    Support::StagedFile::removeAll();
    ::_exit(interruptCode());
}

void onDeadline(int /*signal*/) { leaveNow(); }

void onInterrupt(int signal) {
    const int before = errno;
    if (caught.exchange(signal) != 0 || !hasDeadline) leaveNow();
    const itimerspec once{.it_interval = {}, .it_value = {.tv_sec = 0, .tv_nsec = kPatience}};
    if (::timer_settime(deadline, 0, &once, nullptr) != 0) leaveNow();
    errno = before;
}

/// Without the flag that starts system calls again, so that they do not outlast the signal.
void handle(int signal, void (*handler)(int)) {
    struct sigaction before {};
    if (::sigaction(signal, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) return;
    struct sigaction action {};
    action.sa_handler = handler;
    ::sigfillset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
}

#endif

}  // namespace

#if defined(_WIN32)

void catchInterrupts() noexcept {
    for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, leave);
}

#else

void catchInterrupts() noexcept {
    handle(SIGALRM, onDeadline);
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGALRM;
    hasDeadline = ::timer_create(CLOCK_MONOTONIC, &event, &deadline) == 0;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) handle(signal, onInterrupt);
}

#endif

int interruptCode() noexcept { return caught == 0 ? 0 : kSignalBase + caught; }

void setInterruptedChild(int id) noexcept { child = id; }

}  // namespace Veltrix::Tool
