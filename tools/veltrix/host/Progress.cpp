#include "tools/veltrix/host/Progress.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

#include <fmt/format.h>

#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/Interrupt.h"

namespace Veltrix::Tool {

namespace {

bool isTerminal() {
#if defined(_WIN32)
    return _isatty(_fileno(stderr)) != 0;
#else
    return ::isatty(::fileno(stderr)) != 0;
#endif
}

constexpr std::string_view kWipeLine = "\r\x1b[K";

void show(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

/// "0:07", "12:30", "2:05:00".
std::string clockText(double seconds) {
    const auto whole = static_cast<std::int64_t>(seconds);
    constexpr std::int64_t kMinute = 60;
    const std::int64_t minutes = whole / kMinute;
    if (minutes < kMinute) return fmt::format("{}:{:02}", minutes, whole % kMinute);
    return fmt::format("{}:{:02}:{:02}", minutes / kMinute, minutes % kMinute, whole % kMinute);
}

/// Shows a phase, with the time that it has left if it goes on as before.
class PhaseLine {
  public:
    /// Ends the work once the program is to end.
    bool operator()(const Progress& progress) {
        if (progress.phase != phase_ || progress.fraction < last_) {
            phase_ = progress.phase;
            start_ = Clock::now();
            first_ = progress.fraction;
        }
        last_ = progress.fraction;
        std::string line = fmt::format("{}{}", kWipeLine, progress.phase);
        line += progress.total == 0 ? " ..." : fmt::format(" {:.0f} %", 100.0 * progress.fraction);
        const std::chrono::duration<double> elapsed = Clock::now() - start_;
        constexpr double kTellingSeconds = 2.0;
        if (elapsed.count() > kTellingSeconds && last_ > first_) {
            const double left = elapsed.count() * (1.0 - last_) / (last_ - first_);
            line += fmt::format(", {} left", clockText(left));
        }
        if (!progress.detail.empty()) line += fmt::format(", {}", progress.detail);
        show(line);
        return interruptCode() == 0;
    }

  private:
    using Clock = std::chrono::steady_clock;

    std::string phase_;
    Clock::time_point start_;
    double first_ = 0.0;
    double last_ = 0.0;
};

}  // namespace

ProgressLine::ProgressLine() {
    if (isTerminal()) scope_.emplace(PhaseLine());
}

ProgressLine::~ProgressLine() {
    if (scope_) show(kWipeLine);
}

void ProgressLine::stage(std::string_view what) {
    if (scope_) show(fmt::format("{}{} ...", kWipeLine, oneLine(what)));
}

}  // namespace Veltrix::Tool
