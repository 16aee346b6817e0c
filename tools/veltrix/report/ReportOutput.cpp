#include "tools/veltrix/report/ReportOutput.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include "support/Files.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/report/CsvRenderer.h"
#include "tools/veltrix/report/JsonRenderer.h"
#include "tools/veltrix/report/TextRenderer.h"
#include "tools/veltrix/report/WorkbookRenderer.h"

namespace Veltrix::Tool {

namespace {

namespace fs = std::filesystem;

fs::path toPath(const std::string& utf8) {
    return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

/// Whether both name one file; pipes and devices are nobody's own.
bool isSameFile(const std::string& a, const std::string& b) {
    std::error_code ignored;
    const fs::path first = toPath(a);
    const fs::path second = toPath(b);
    if (fs::is_other(first, ignored) || fs::is_other(second, ignored)) return false;
    if (fs::equivalent(first, second, ignored)) return true;
    return fs::weakly_canonical(fs::absolute(first, ignored), ignored) ==
           fs::weakly_canonical(fs::absolute(second, ignored), ignored);
}

/// Runs an action on the file of an option; a failure names the option.
template <class Action>
auto forOption(const FileOption& file, Action action) {
    try {
        return action();
    } catch (const Support::FileError& error) {
        throw UserError(file.option + ": " + error.what());
    }
}

void print(const std::string& text) {
    errno = 0;
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (written && std::fflush(stdout) == 0) return;
    if (errno == EPIPE) return;  // the reader has seen enough
    throw UserError("Cannot write to standard output: " +
                    std::error_code(errno, std::generic_category()).message());
}

/// Files that wait until everything is ready.
class WaitingFiles {
  public:
    template <class Write>
    void stage(const FileOption& target, Write write) {
        forOption(target, [&] {
            Support::StagedFile file(target.path);
            write(file);
            files_.emplace_back(target, std::move(file));
        });
    }

    /// Devices first: copying may fail, renaming hardly does.
    void commit() {
        for (const bool renaming : {false, true}) {
            for (auto& [target, file] : files_) {
                if (file.replacesTarget() != renaming) continue;
                forOption(target, [&staged = file] { staged.commit(); });
            }
        }
    }

  private:
    std::vector<std::pair<FileOption, Support::StagedFile>> files_;
};

using Render = std::string (*)(const Report& report, bool allRecords);

std::string renderAsJson(const Report& report, bool /*allRecords*/) { return renderJson(report); }
std::string renderAsCsv(const Report& report, bool /*allRecords*/) { return renderCsv(report); }

const Choices<Render> kFormats{{"text", renderText}, {"json", renderAsJson}, {"csv", renderAsCsv}};

}  // namespace

void checkDistinct(const FileOption& output, const FileOption& other) {
    if (output.path.empty() || other.path.empty()) return;
    if (!isSameFile(output.path, other.path)) return;
    throw UserError(fmt::format("{}: {} is the file of {}; expected another one", output.option,
                                Tool::quoted(output.path), other.option));
}

void deliverText(const FileOption& output, const std::string& text) {
    if (output.path.empty()) return print(text);
    forOption(output, [&] { Support::writeFileAtomically(output.path, text); });
}

ReportOutput::ReportOutput() : format_(renderText) {}

void ReportOutput::declare(OptionGroup& options) {
    options.choice("--format", format_, "How the tables are printed: text, json or csv", kFormats)
        .placeholder("FORMAT");
    options.file(output_, "Prints into this file");
    options.file(report_, "Writes a workbook (.xlsx), one sheet a table, with charts");
    options.flag("--all-records", allRecords_,
                 "Shows all rows of long tables in text output, not the first 20");
}

void ReportOutput::checkFiles(const std::vector<FileOption>& inputs,
                              const std::vector<FileOption>& otherOutputs) const {
    std::vector<FileOption> others = inputs;
    std::vector<FileOption> outputs{output_, report_};
    outputs.insert(outputs.end(), otherOutputs.begin(), otherOutputs.end());
    for (const FileOption& output : outputs) {
        for (const FileOption& other : others) checkDistinct(output, other);
        others.push_back(output);
    }
}

void ReportOutput::deliver(const Report& report, const std::vector<FileContent>& others) const {
    WaitingFiles files;
    if (!report_.path.empty()) {
        files.stage(report_,
                    [&](Support::StagedFile& file) { writeWorkbook(report, file.path()); });
    }
    for (const FileContent& other : others) {
        if (other.target.path.empty()) continue;
        files.stage(other.target, [&](Support::StagedFile& file) { file.write(other.content); });
    }
    const std::string text = format_(report, allRecords_);
    if (output_.path.empty()) {
        print(text);
    } else {
        files.stage(output_, [&](Support::StagedFile& file) { file.write(text); });
    }
    files.commit();
}

}  // namespace Veltrix::Tool
