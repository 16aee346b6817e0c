#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Veltrix::Tool {

class OptionGroup;

/// One task of the program: `veltrix NAME options...`.
class Command {
  public:
    Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    virtual ~Command() = default;

    virtual std::string name() const = 0;
    /// One sentence for the list of commands.
    virtual std::string description() const = 0;
    /// Commands of its own, one of which does the work; none for a command that does it itself.
    virtual std::vector<Command*> parts() const { return {}; }
    /// Whether it reads CSV files, whose form the program's own options then say.
    virtual bool readsTables() const { return true; }
    /// Declares the options, which write into members of the command.
    virtual void declare(OptionGroup& options) = 0;
    /// Does the work with the options given; a mistake of the user's throws `UserError`.
    virtual void run() = 0;
};

/// All commands in the order of the help text.
std::vector<std::unique_ptr<Command>> makeCommands();

}  // namespace Veltrix::Tool
