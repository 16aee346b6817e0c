#include "tools/veltrix/host/Progress.h"

#include <cstdio>

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

/// Ends the work once the program is to end.
bool showProgress(const Progress& progress) {
    if (progress.total == 0) {
        show(fmt::format("{}{} ...", kWipeLine, progress.phase));
    } else {
        show(fmt::format("{}{} {:.0f} %", kWipeLine, progress.phase, 100.0 * progress.fraction));
    }
    return interruptCode() == 0;
}

}  // namespace

ProgressLine::ProgressLine() {
    if (isTerminal()) scope_.emplace(showProgress);
}

ProgressLine::~ProgressLine() {
    if (scope_) show(kWipeLine);
}

void ProgressLine::stage(std::string_view what) {
    if (scope_) show(fmt::format("{}{} ...", kWipeLine, oneLine(what)));
}

}  // namespace Veltrix::Tool
