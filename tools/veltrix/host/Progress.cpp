#include "tools/veltrix/host/Progress.h"

#include <cstdio>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

#include <fmt/format.h>

#include "tools/veltrix/host/UserError.h"

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

}  // namespace

Progress::Progress() : visible_(isTerminal()) {}

Progress::~Progress() {
    if (visible_) show(kWipeLine);
}

void Progress::stage(std::string_view what) {
    if (visible_) show(fmt::format("{}{} ...", kWipeLine, oneLine(what)));
}

}  // namespace Veltrix::Tool
