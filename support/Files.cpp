#include "support/Files.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#if defined(_WIN32)
#include <process.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace Veltrix::Support {

namespace {

namespace fs = std::filesystem;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void fail(const char* action, const std::string& path, const std::error_code& cause) {
    throw FileError(std::string(action) + " \"" + path + "\": " + cause.message());
}

std::error_code lastError() { return {errno, std::generic_category()}; }

fs::path toPath(const std::string& utf8) {
    return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

enum class Mode { Read, Write, Append };

/// Opens a binary file. Empty, with errno set, on failure.
File open(const fs::path& path, Mode mode) {
#if defined(_WIN32)
    constexpr std::array<const wchar_t*, 3> kModes = {L"rb", L"wb", L"ab"};
    return File(_wfopen(path.c_str(), kModes[static_cast<std::size_t>(mode)]));
#else
    constexpr std::array<const char*, 3> kModes = {"rb", "wb", "ab"};
    return File(std::fopen(path.c_str(), kModes[static_cast<std::size_t>(mode)]));
#endif
}

/// Writes everything and closes, which is when a full disk may first show.
std::error_code writeAndClose(File file, std::string_view text) {
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), file.get()) != text.size()) return lastError();
    return std::fclose(file.release()) == 0 ? std::error_code() : lastError();
}

int processId() {
#if defined(_WIN32)
    return ::_getpid();
#else
    return ::getpid();
#endif
}

/// The names of waiting files where a signal handler finds them, which may not allocate or lock.
class WaitingNames {
  public:
    static constexpr int kNone = -1;

    /// Keeps a name until its slot is released; a name that does not fit is not kept.
    int keep(const fs::path& path) noexcept {
        const std::size_t size = path.native().size() + 1;
        if (size > kLongest) return kNone;
        for (std::size_t k = 0; k < slots_.size(); ++k) {
            char expected = kFree;
            if (!slots_[k].state.compare_exchange_strong(expected, kTaken)) continue;
            std::copy_n(path.c_str(), size, slots_[k].name.begin());
            slots_[k].state = kComplete;
            return static_cast<int>(k);
        }
        return kNone;
    }

    void release(int slot) noexcept {
        if (slot != kNone) slots_[static_cast<std::size_t>(slot)].state = kFree;
    }

    void removeFiles() const noexcept {
        for (const Slot& slot : slots_) {
            if (slot.state != kComplete) continue;
#if defined(_WIN32)
            ::_wunlink(slot.name.data());
#else
            ::unlink(slot.name.data());
#endif
        }
    }

  private:
    static constexpr std::size_t kLongest = 4096;
    static constexpr std::size_t kSlots = 16;
    static constexpr char kFree = 0;
    static constexpr char kTaken = 1;
    static constexpr char kComplete = 2;

    struct Slot {
        std::atomic<char> state;
        std::array<fs::path::value_type, kLongest> name;
    };

    std::array<Slot, kSlots> slots_{};
};

constinit WaitingNames waitingNames;

/// Creates a file that is not there yet: with these permissions from the start, or with those that
/// the system gives to new files. Errno tells why it failed.
bool create(const fs::path& path, const std::optional<fs::perms>& permissions) {
#if defined(_WIN32)
    static_cast<void>(permissions);  // it has but one, which `mayReplace` looks at
    return File(_wfopen(path.c_str(), L"wbx")) != nullptr;
#else
    constexpr mode_t kNewFile = 0666;
    constexpr mode_t kAccess = 0777;
    const mode_t mode = permissions ? static_cast<mode_t>(*permissions) & kAccess : kNewFile;
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (file < 0) return false;
    // The mask for new files took some away.
    if (permissions) static_cast<void>(::fchmod(file, mode));
    ::close(file);
    return true;
#endif
}

/// Whether a file may be written. One that nobody may write is kept from a superuser too.
std::error_code mayWrite(const fs::path& path, const fs::file_status& status) {
    constexpr fs::perms kWrite =
        fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    if ((status.permissions() & kWrite) == fs::perms::none) {
        return make_error_code(std::errc::permission_denied);
    }
#if !defined(_WIN32)
    if (::access(path.c_str(), W_OK) != 0) return lastError();
#endif
    return {};
}

/// The path that links lead to in the end, whether there is a file or not.
fs::path followLinks(fs::path path, std::error_code& cause) {
    constexpr int kMostLinks = 40;
    for (int i = 0; i < kMostLinks; ++i) {
        std::error_code isNoLink;
        const fs::path next = fs::read_symlink(path, isNoLink);
        if (isNoLink) return path;
        path = path.parent_path() / next;
    }
    cause = make_error_code(std::errc::too_many_symbolic_link_levels);
    return path;
}

constexpr const char* kWriting = "Cannot write file";

std::string toUtf8(const fs::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace

namespace {

constexpr const char* kReading = "Cannot read file";

/// Appends what is left of the file.
void readAll(std::FILE& file, const std::string& name, std::string& text) {
    std::array<char, 65536> buffer;
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), &file)) {
        text.append(buffer.data(), count);
    }
    if (std::ferror(&file) != 0) fail(kReading, name, lastError());
}

}  // namespace

std::string readFile(const std::string& path) {
    errno = 0;
    const fs::path source = toPath(path);
    const File file = open(source, Mode::Read);
    if (!file) fail(kReading, path, lastError());
    std::string text;
    std::error_code unknownSize;
    if (const auto size = fs::file_size(source, unknownSize); !unknownSize) text.reserve(size);
    readAll(*file, path, text);
    return text;
}

std::string readStandardInput() {
    errno = 0;
    std::string text;
    readAll(*stdin, "standard input", text);
    return text;
}

std::string temporaryFolder() {
    std::error_code cause;
    const fs::path folder = fs::temp_directory_path(cause);
#if !defined(_WIN32)
    if (!cause && ::access(folder.c_str(), W_OK | X_OK) != 0) cause = lastError();
#endif
    if (!cause) return toUtf8(folder);
    const char* const named = std::getenv("TMPDIR");
    fail("Cannot use the folder for temporary files (TMPDIR)", named != nullptr ? named : "",
         cause);
}

struct StagedFile::State {
    std::string name;  // as the caller gave it
    fs::path target;
    fs::file_status status;
    fs::path staged;
    int slot = WaitingNames::kNone;

    bool replaces() const { return !fs::exists(status) || fs::is_regular_file(status); }

    /// Finds the file that the target's name means, and refuses one that is not to be written.
    void resolve() {
        std::error_code cause;
        target = toPath(name);
        status = fs::status(target, cause);
        if (!fs::status_known(status)) fail(kWriting, name, cause);
        cause.clear();  // a file that is not there counts as an error
        if (fs::is_directory(status)) cause = make_error_code(std::errc::is_a_directory);
        if (!cause && fs::exists(status)) cause = mayWrite(target, status);
        // A pipe's or a device's link may lead to no path at all.
        if (!cause && replaces()) target = followLinks(std::move(target), cause);
        if (cause) fail(kWriting, name, cause);
    }

    /// Creates the waiting file under a name that nobody uses: the process and the time are in it.
    void stage(const fs::path& folder, const std::optional<fs::perms>& permissions) {
        constexpr int kMostTries = 100;
        for (int i = 0; i < kMostTries; ++i) {
            const auto time = std::chrono::steady_clock::now().time_since_epoch().count();
            staged = folder / ("veltrix-" + std::to_string(processId()) + "-" +
                               std::to_string(time) + ".tmp");
            slot = waitingNames.keep(staged);  // before the file is there, lest it outlive a signal
            if (create(staged, permissions)) return;
            const std::error_code cause = lastError();
            waitingNames.release(std::exchange(slot, WaitingNames::kNone));
            staged.clear();
            if (cause != std::errc::file_exists) fail(kWriting, name, cause);
        }
        fail(kWriting, name, make_error_code(std::errc::file_exists));
    }

    /// Replaces or extends the waiting file's content.
    void put(std::string_view text, Mode mode) const {
        File file = open(staged, mode);
        const std::error_code cause = file ? writeAndClose(std::move(file), text) : lastError();
        if (cause) fail(kWriting, name, cause);
    }

    /// Removes the waiting file, if it was neither renamed nor removed before.
    ~State() {
        std::error_code ignored;
        if (!staged.empty()) fs::remove(staged, ignored);
        waitingNames.release(slot);
    }
};

StagedFile::StagedFile(const std::string& target) : state_(std::make_unique<State>()) {
    State& state = *state_;
    state.name = target;
    state.resolve();
    if (!state.replaces()) {
        state.stage(toPath(temporaryFolder()), fs::perms::owner_read | fs::perms::owner_write);
    } else if (fs::exists(state.status)) {
        state.stage(state.target.parent_path(), state.status.permissions());
    } else {
        state.stage(state.target.parent_path(), std::nullopt);
    }
}

StagedFile::StagedFile(StagedFile&&) noexcept = default;
StagedFile& StagedFile::operator=(StagedFile&&) noexcept = default;
StagedFile::~StagedFile() = default;

std::string StagedFile::path() const { return toUtf8(state_->staged); }

bool StagedFile::replacesTarget() const noexcept { return state_->replaces(); }

void StagedFile::write(std::string_view text) { state_->put(text, Mode::Write); }

void StagedFile::append(std::string_view text) { state_->put(text, Mode::Append); }

void StagedFile::commit() {
    State& state = *state_;
    std::error_code cause;
    if (state.replaces()) {
        fs::rename(state.staged, state.target, cause);
        if (!cause) state.staged.clear();
    } else {
        const std::string content = readFile(path());
        File file = open(state.target, Mode::Write);
        cause = file ? writeAndClose(std::move(file), content) : lastError();
    }
    if (cause) fail(kWriting, state.name, cause);
}

void StagedFile::removeAll() noexcept { waitingNames.removeFiles(); }

void writeFileAtomically(const std::string& path, std::string_view text) {
    StagedFile file(path);
    file.write(text);
    file.commit();
}

}  // namespace Veltrix::Support
