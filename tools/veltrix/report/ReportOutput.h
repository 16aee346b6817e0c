#pragma once

#include <string>
#include <vector>

#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

class OptionGroup;

/// A file and the option that named it; no path means that the option was not given.
struct FileOption {
    std::string option;
    std::string path;
    std::string ending = {};  ///< that the path must have, in small letters; any when empty
};

/// Content for a file that an option named.
struct FileContent {
    FileOption target;
    std::string content;
};

/// Where and how a report goes: the options that all commands share, and what they mean.
class ReportOutput {
  public:
    ReportOutput();

    void declare(OptionGroup& options);

    /// Refuses a file that would be read and written, or written twice. Asked before the work
    /// starts.
    void checkFiles(const std::vector<FileOption>& inputs,
                    const std::vector<FileOption>& otherOutputs = {}) const;

    /// Writes the report and the other files: all of them, or none. Throws `UserError` with the
    /// option whose file could not be written.
    void deliver(const Report& report, const std::vector<FileContent>& others = {}) const;

  private:
    using Render = std::string (*)(const Report& report, bool allRecords);

    Render format_;
    FileOption output_{"--output", {}};
    FileOption report_{"--report", {}, ".xlsx"};
    bool allRecords_ = false;
};

/// Refuses to write the file that is read.
void checkDistinct(const FileOption& output, const FileOption& input);

/// Writes the text to the file of the option, all or nothing, or to standard output when the option
/// was not given. Throws `UserError` that names the option.
void deliverText(const FileOption& output, const std::string& text);

}  // namespace Veltrix::Tool
