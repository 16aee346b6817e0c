#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Veltrix::Tool {

/// Something that the user has to put right; `what()` is one line that names the option, or the
/// column, row and value, and what was expected. Ends the program with exit code 2.
struct UserError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Something that failed outside the program and that nobody did wrong here, such as a server that
/// does not answer; `what()` is one line. Ends the program with exit code 1.
struct OutsideError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Throws `UserError` when the number given by the option is above a limit, which is `what`: "the
/// number of rows used".
void checkAtMost(std::string_view option, std::int64_t number, std::string_view what,
                 std::int64_t limit);

/// Text of the user's in quotation marks, for use inside a message: one line whatever it holds, and
/// shortened when it is very long. Called as `Tool::quoted`, as the standard library has one too.
std::string quoted(std::string_view text);

/// The text with control characters made visible (a line break as \n), so that it stays one line.
std::string oneLine(std::string_view text);

/// The text with a plural s unless there is one of it: "1 row", "2 rows".
std::string counted(std::int64_t count, const std::string& noun);

}  // namespace Veltrix::Tool
