#pragma once

/// @file
/// Whole files in and out. Paths are UTF-8.

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Veltrix::Support {

/// A file could not be read or written; `what()` names the file and the cause.
struct FileError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The bytes of a file. Throws `FileError`.
std::string readFile(const std::string& path);

/// All that the standard input brings. Throws `FileError`.
std::string readStandardInput();

/// The folder for temporary files. Throws `FileError`, which names it, when it cannot be used.
std::string temporaryFolder();

/// New content of a file that waits beside it until `commit` puts it in place.
///
/// The content grows in a new file in the target's folder, which takes the target's name on
/// `commit` and is removed when that never comes. Symbolic links are followed, also one whose file
/// is not there yet. The new file has the permissions of the one it will replace from the start; a
/// target that must not be written is refused, for the superuser too when nobody may write it. For
/// a target that is no regular file (a pipe, a device) the content waits in `temporaryFolder` and
/// is copied into the target by `commit`. All throw `FileError`.
class StagedFile {
  public:
    explicit StagedFile(const std::string& target);
    StagedFile(StagedFile&&) noexcept;
    StagedFile& operator=(StagedFile&&) noexcept;
    ~StagedFile();

    /// The waiting file, for those who write it themselves.
    std::string path() const;
    /// Whether `commit` renames (and so hardly fails) rather than copies.
    bool replacesTarget() const noexcept;
    /// Makes the text the whole content.
    void write(std::string_view text);
    /// Adds to the content.
    void append(std::string_view text);
    /// Puts the content in place; once.
    void commit();

    /// Removes the waiting files of this process (of the first 16 there are at a time), for signal
    /// handlers that end it: neither allocates nor locks.
    static void removeAll() noexcept;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// Replaces (or creates) a file by the text, or leaves it exactly as it was; see `StagedFile`.
/// Throws `FileError`.
void writeFileAtomically(const std::string& path, std::string_view text);

}  // namespace Veltrix::Support
