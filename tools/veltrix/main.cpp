#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#if defined(__linux__)
#include <fcntl.h>
#include <unistd.h>
#endif

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Version.h"
#include "support/BlasWorkspace.h"
#include "support/Files.h"
#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/host/InputOptions.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/host/Suggestion.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/CsvSettings.h"
#include "tools/veltrix/io/Interrupt.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace {

using namespace Veltrix::Tool;
namespace Support = Veltrix::Support;

constexpr int kInternalFailure = 1;
constexpr int kUserMistake = 2;
constexpr std::string_view kAboutFiles =
    "A file has a header row; empty cells and NA are missing values.";

/// Says what went wrong, if anybody listens and there is memory for it.
int fail(int exitCode, std::string_view message, std::string_view kind = "") noexcept {
    if (interruptCode() != 0) return exitCode;
    try {
        const std::string line = fmt::format("veltrix: {}{}\n", kind, oneLine(message));
        std::fwrite(line.data(), 1, line.size(), stderr);
        return exitCode;
    } catch (const std::exception&) {
        std::fputs("veltrix: Not enough memory\n", stderr);
        return kInternalFailure;
    }
}

/// Help and version are "errors" of the parser with exit code 0; they go to stdout.
int leaveParser(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) return fail(kUserMistake, error.what());
    std::ostringstream text;
    app.exit(error, text);
    deliverText({}, text.str());
    return 0;
}

/// Names the option that was meant where the command has none of that name, which the parser finds
/// too late: it misses required ones first.
void checkOptions(const CLI::App& command, int argc, const char* const* argv, int next) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) names.push_back(option->get_name());
    for (; next < argc; ++next) {
        const std::string_view argument = argv[next];
        const std::string name(argument.substr(0, argument.find('=')));
        if (!name.starts_with("--") || name.size() == 2) continue;
        if (command.get_option_no_throw(name) != nullptr) continue;
        throw UserError(fmt::format("{} is no option of {}; {}", Veltrix::Tool::quoted(name),
                                    command.get_name(),
                                    suggestion(name, names, "the options are")));
    }
}

/// Names the commands when the next argument is none of them, which the parser does not.
void checkCommand(const CLI::App& app, int argc, const char* const* argv, int next = 1) {
    const std::vector<const CLI::App*> commands = app.get_subcommands({});
    if (commands.empty() || (argc > next && argv[next][0] == '-')) {
        return checkOptions(app, argc, argv, next);
    }
    std::vector<std::string> names;
    for (const CLI::App* command : commands) {
        names.push_back(command->get_name());
        if (argc > next && names.back() == argv[next]) {
            return checkCommand(*command, argc, argv, next + 1);
        }
    }
    if (argc <= next) {
        throw UserError(
            fmt::format("A command is required, expected one of {}", fmt::join(names, ", ")));
    }
    std::string meant = suggestion(argv[next], names, "");
    if (!meant.starts_with("did")) {
        meant = fmt::format("expected one of {}", fmt::join(names, ", "));
    }
    throw UserError(fmt::format("{} is no command, {}", Veltrix::Tool::quoted(argv[next]), meant));
}

/// The options that commands share.
void declareCommon(OptionGroup& options, const Command& command) {
    if (command.readsTables()) declareInput(options);
    options.flag("--safe-cells", csvSettings().safeCells,
                 "Writes an apostrophe before CSV texts that a spreadsheet takes for formulas");
}

/// Declares the command, its options and the commands below it.
void declare(CLI::App& app, Command& command) {
    CLI::App& declared = *app.add_subcommand(command.name(), command.description());
    OptionGroup options(declared);
    command.declare(options);
    const std::vector<Command*> parts = command.parts();
    for (Command* const part : parts) declare(declared, *part);
    if (parts.empty()) {
        declareCommon(options, command);
    } else {
        declared.require_subcommand(1);
    }
}

void run(const CLI::App& app, Command& command) {
    if (!app.got_subcommand(command.name())) return;
    const std::vector<Command*> parts = command.parts();
    for (Command* const part : parts) run(*app.get_subcommand(command.name()), *part);
    if (parts.empty()) command.run();
}

int runProgram(int argc, const char* const* argv) {
    CLI::App app("Statistical models for data in CSV files.", "veltrix");
    app.set_version_flag("--version", "veltrix " VELTRIX_VERSION_STRING);
    app.require_subcommand(1);
    app.footer(std::string(kAboutFiles));  // inherited by the commands
    const auto commands = makeCommands();
    for (const auto& command : commands) declare(app, *command);
    app.footer(
        fmt::format("{}\nveltrix COMMAND --help lists the options of a command.", kAboutFiles));
    try {
        checkCommand(app, argc, argv);
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return leaveParser(app, error);
    }
    Support::takeBlasWorkspace();
    const Veltrix::ProgressScope stopped(
        [](const Veltrix::Progress& /*progress*/) { return interruptCode() == 0; });
    for (const auto& command : commands) run(app, *command);
    return 0;
}

/// The exit code; whatever was thrown has become a message.
int runGuarded(int argc, const char* const* argv) noexcept {
    try {
        return runProgram(argc, argv);
    } catch (const UserError& error) {
        return fail(kUserMistake, error.what());
    } catch (const OutsideError& error) {
        return fail(kInternalFailure, error.what());
    } catch (const Support::FileError& error) {
        return fail(kUserMistake, error.what());
    } catch (const std::bad_alloc&) {
        return fail(kInternalFailure, "Not enough memory");
    } catch (const std::exception& error) {
        return fail(kInternalFailure, error.what(), "Internal failure: ");
    }
}

/// Where the threads of the linear algebra back end lack address space they neither work nor end;
/// the program starts over with one.
void checkBlasThreads(char** argv) {
    if (Support::roomForBlasThreads()) return;
#if defined(__linux__)
    ::setenv("OPENBLAS_NUM_THREADS", "1", 1);
    ::execv("/proc/self/exe", argv);
#else
    static_cast<void>(argv);
#endif
    std::_Exit(fail(kInternalFailure, "Not enough memory"));
}

/// Gives the standard streams that the caller has closed a file that takes nothing, lest one that
/// the program opens stand in their place.
void occupyStandardStreams() {
#if defined(__linux__)
    int file = 0;
    while (file >= 0 && file <= STDERR_FILENO) file = ::open("/dev/null", O_RDONLY);
    if (file > STDERR_FILENO) ::close(file);
#endif
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    checkBlasThreads(argv);
#if defined(SIGPIPE)
    // A reader that goes away shows as a failed write, after which files are still put in place.
    std::signal(SIGPIPE, SIG_IGN);
#endif
    catchInterrupts();
    const int exitCode = runGuarded(argc, argv);
    return interruptCode() != 0 ? interruptCode() : exitCode;
}
