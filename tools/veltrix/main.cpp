#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "support/Files.h"
#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/host/UserError.h"

namespace {

using namespace Veltrix::Tool;

constexpr int kInternalFailure = 1;
constexpr int kUserMistake = 2;
constexpr std::string_view kAboutFiles =
    "A file has a header row; empty cells and NA are missing values.";

int fail(int exitCode, std::string_view message) {
    fmt::print(stderr, "veltrix: {}\n", oneLine(message));
    return exitCode;
}

/// Help and version are "errors" of the parser with exit code 0; they go to stdout.
int leaveParser(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) return fail(kUserMistake, error.what());
    app.exit(error);
    if (std::fflush(stdout) == 0 || errno == EPIPE) return 0;
    return fail(kUserMistake, "Cannot write to standard output");
}

/// The parser only says that a command is missing when the first argument is none.
void checkCommand(const CLI::App& app, int argc, const char* const* argv) {
    if (argc < 2 || argv[1][0] == '-') return;
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
    if (std::find(names.begin(), names.end(), argv[1]) != names.end()) return;
    throw UserError(fmt::format("{} is no command, expected one of {}",
                                Veltrix::Tool::quoted(argv[1]), fmt::join(names, ", ")));
}

int runProgram(int argc, const char* const* argv) {
    CLI::App app("Statistical models for data in CSV files.", "veltrix");
    app.set_version_flag("--version", "veltrix " VELTRIX_VERSION);
    app.require_subcommand(1);
    app.footer(std::string(kAboutFiles));  // inherited by the commands
    const auto commands = makeCommands();
    for (const auto& command : commands) {
        OptionGroup options(*app.add_subcommand(command->name(), command->description()));
        command->declare(options);
    }
    app.footer(
        fmt::format("{}\nveltrix COMMAND --help lists the options of a command.", kAboutFiles));
    try {
        checkCommand(app, argc, argv);
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return leaveParser(app, error);
    }
    for (const auto& command : commands) {
        if (app.got_subcommand(command->name())) command->run();
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
#if defined(SIGPIPE)
    // A reader that goes away shows as a failed write, after which files are still put in place.
    std::signal(SIGPIPE, SIG_IGN);
#endif
    try {
        return runProgram(argc, argv);
    } catch (const UserError& error) {
        return fail(kUserMistake, error.what());
    } catch (const Veltrix::Support::FileError& error) {
        return fail(kUserMistake, error.what());
    } catch (const std::bad_alloc&) {
        return fail(kInternalFailure, "Not enough memory");
    } catch (const std::exception& error) {
        return fail(kInternalFailure, fmt::format("Internal failure: {}", error.what()));
    }
}
