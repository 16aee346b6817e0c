#pragma once

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace Veltrix::Testing {

/// A folder of a test's own, removed at the end.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "veltrix-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("No temporary folder");
        folder_ = pattern;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() { std::filesystem::remove_all(folder_); }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }

    /// Writes a file and returns its path.
    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

    /// Names of all files, ascending.
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

  private:
    std::filesystem::path folder_;
};

inline std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("No file " + path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// What a child does: it runs a program instead of this one.
[[noreturn]] inline void becomeProgram(const std::string& program,
                                       const std::vector<std::string>& args) {
    std::vector<const char*> argv{program.c_str()};
    for (const std::string& arg : args) argv.push_back(arg.c_str());
    argv.push_back(nullptr);
    ::execv(program.c_str(), const_cast<char* const*>(argv.data()));
    ::_exit(127);
}

/// A program that runs on its own, without input and output, until it is waited for.
class StartedProcess {
  public:
    /// The settings are of the form NAME=VALUE.
    StartedProcess(const std::string& program, const std::vector<std::string>& args,
                   std::vector<std::string> settings) {
        child_ = ::fork();
        if (child_ != 0) return;
        for (std::string& setting : settings) ::putenv(setting.data());
        const int nowhere = ::open("/dev/null", O_RDWR);
        for (const int stream : {0, 1, 2}) ::dup2(nowhere, stream);
        becomeProgram(program, args);
    }

    void send(int signal) const { ::kill(child_, signal); }

    /// The exit code, or the signal that ended it, negative.
    int wait() const {
        int status = 0;
        ::waitpid(child_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

  private:
    pid_t child_ = -1;
};

struct ProcessResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

/// Runs a program with these arguments and waits for it. Its output goes to a file of the caller's
/// choice when one is named.
inline ProcessResult runProgram(const std::string& program, const std::vector<std::string>& args,
                                const std::string& outputFile = {}) {
    const TemporaryFolder folder;
    const auto quote = [](const std::string& text) {
        std::string quoted = "'";
        for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
        return quoted += "'";
    };
    std::string command = quote(program);
    for (const std::string& arg : args) command.append(" ").append(quote(arg));
    const std::string out = outputFile.empty() ? folder.path("out") : outputFile;
    command.append(" </dev/null >").append(quote(out));
    command.append(" 2>").append(quote(folder.path("err")));
    const int status = std::system(command.c_str());
    ProcessResult result;
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    if (outputFile.empty()) result.out = contentOf(out);
    result.err = contentOf(folder.path("err"));
    return result;
}

/// Whether the system hands out terminals; some containers have none.
inline bool hasTerminals() {
    int terminal = -1;
    int program = -1;
    if (::openpty(&terminal, &program, nullptr, nullptr, nullptr) != 0) return false;
    ::close(program);
    ::close(terminal);
    return true;
}

/// Runs a program on a terminal of its own, where Ctrl-C is pressed once the output holds a text.
inline ProcessResult runOnTerminal(const std::string& program, const std::vector<std::string>& args,
                                   const std::string& interruptAt = {}) {
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child < 0) throw std::runtime_error("No terminal");
    if (child == 0) becomeProgram(program, args);
    ProcessResult result;
    bool pressed = interruptAt.empty();
    char buffer[4096];
    for (ssize_t n = 0; (n = ::read(terminal, buffer, sizeof(buffer))) > 0;) {
        result.out.append(buffer, static_cast<std::size_t>(n));
        if (pressed || result.out.find(interruptAt) == std::string::npos) continue;
        pressed = ::write(terminal, "\x03", 1) == 1;
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ::close(terminal);
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    return result;
}

}  // namespace Veltrix::Testing
