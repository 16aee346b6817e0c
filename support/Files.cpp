#include "support/Files.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

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

enum class Mode { Read, Write, Append, Create };

/// Opens a binary file; `Create` fails when it is there already. Empty, with errno set, on failure.
File open(const fs::path& path, Mode mode) {
#if defined(_WIN32)
    constexpr std::array<const wchar_t*, 4> kModes = {L"rb", L"wb", L"ab", L"wbx"};
    return File(_wfopen(path.c_str(), kModes[static_cast<std::size_t>(mode)]));
#else
    constexpr std::array<const char*, 4> kModes = {"rb", "wb", "ab", "wbx"};
    return File(std::fopen(path.c_str(), kModes[static_cast<std::size_t>(mode)]));
#endif
}

/// Writes everything and closes, which is when a full disk may first show.
std::error_code writeAndClose(File file, std::string_view text) {
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), file.get()) != text.size()) return lastError();
    return std::fclose(file.release()) == 0 ? std::error_code() : lastError();
}

/// Creates a file in the folder under a name that nobody uses.
std::pair<File, fs::path> createIn(const fs::path& folder) {
    constexpr int kMaxNames = 10000;
    for (int i = 0; i < kMaxNames; ++i) {
        fs::path path = folder / ("veltrix-" + std::to_string(i) + ".tmp");
        File file = open(path, Mode::Create);
        if (file || errno != EEXIST) return {std::move(file), std::move(path)};
    }
    return {};
}

constexpr const char* kWriting = "Cannot write file";

std::string toUtf8(const fs::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace

std::string readFile(const std::string& path) {
    constexpr const char* kAction = "Cannot read file";
    errno = 0;
    const fs::path source = toPath(path);
    const File file = open(source, Mode::Read);
    if (!file) fail(kAction, path, lastError());
    std::string text;
    std::error_code unknownSize;
    if (const auto size = fs::file_size(source, unknownSize); !unknownSize) text.reserve(size);
    std::array<char, 65536> buffer;
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), file.get())) {
        text.append(buffer.data(), count);
    }
    if (std::ferror(file.get()) != 0) fail(kAction, path, lastError());
    return text;
}

struct StagedFile::State {
    /// Replaces or extends the waiting file's content.
    void put(std::string_view text, Mode mode) const {
        File file = open(staged, mode);
        const std::error_code cause = file ? writeAndClose(std::move(file), text) : lastError();
        if (cause) fail(kWriting, name, cause);
    }

    std::string name;  // as the caller gave it
    fs::path target;
    fs::file_status status;
    fs::path staged;

    bool replaces() const { return !fs::exists(status) || fs::is_regular_file(status); }
    /// Removes the waiting file, if it was neither renamed nor removed before.
    ~State() {
        std::error_code ignored;
        if (!staged.empty()) fs::remove(staged, ignored);
    }
};

StagedFile::StagedFile(const std::string& target) : state_(std::make_unique<State>()) {
    State& state = *state_;
    state.name = target;
    state.target = toPath(target);
    std::error_code cause;
    state.status = fs::status(state.target, cause);
    if (!fs::status_known(state.status)) fail(kWriting, target, cause);
    if (fs::is_directory(state.status)) {
        fail(kWriting, target, make_error_code(std::errc::is_a_directory));
    }
    cause.clear();  // a file that is not there counts as an error
    if (fs::exists(state.status)) state.target = fs::canonical(state.target, cause);
    if (cause) fail(kWriting, target, cause);
    const fs::path folder =
        state.replaces() ? state.target.parent_path() : fs::temp_directory_path(cause);
    if (cause) fail(kWriting, target, cause);
    auto [file, path] = createIn(folder);
    if (!file) fail(kWriting, target, lastError());
    state.staged = std::move(path);
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
        if (fs::exists(state.status)) {
            fs::permissions(state.staged, state.status.permissions(), cause);
        }
        if (!cause) fs::rename(state.staged, state.target, cause);
        if (!cause) state.staged.clear();
    } else {
        const std::string content = readFile(path());
        File file = open(state.target, Mode::Write);
        cause = file ? writeAndClose(std::move(file), content) : lastError();
    }
    if (cause) fail(kWriting, state.name, cause);
}

void writeFileAtomically(const std::string& path, std::string_view text) {
    StagedFile file(path);
    file.write(text);
    file.commit();
}

}  // namespace Veltrix::Support
