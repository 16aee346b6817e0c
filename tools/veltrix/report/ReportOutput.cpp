#include "tools/veltrix/report/ReportOutput.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "support/Files.h"
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

std::string expectFileName(const std::string& text) {
    return text.empty() ? "expected a file name" : "";
}

std::string expectWorkbookName(const std::string& text) {
    if (CLI::detail::to_lower(text).ends_with(".xlsx")) return "";
    return Tool::quoted(text) + ", expected a file name that ends in .xlsx";
}

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

CLI::Option* declareFile(CLI::App& app, FileOption& file, const std::string& description,
                         bool required) {
    return app.add_option(file.option, file.path, description)
        ->required(required)
        ->check(expectFileName)
        ->type_name("FILE");
}

void declareConfidence(CLI::App& app, double& confidence) {
    const auto expectLevel = [](const std::string& text) -> std::string {
        double level = 0.0;
        const bool inside = CLI::detail::lexical_cast(text, level) && level > 0.0 && level < 1.0;
        return inside ? "" : Tool::quoted(text) + ", expected a number between 0 and 1 (0.95)";
    };
    app.add_option("--confidence", confidence, "Confidence level of intervals")
        ->check(expectLevel)
        ->type_name("LEVEL")
        ->capture_default_str();
}

void ReportOutput::declare(CLI::App& app) {
    app.add_option("--format", format_, "How the tables are printed: text, json or csv")
        ->check(CLI::IsMember({"text", "json", "csv"}))
        ->type_name("FORMAT")
        ->capture_default_str();
    declareFile(app, output_, "Prints into this file", false);
    declareFile(app, report_, "Writes a workbook (.xlsx), one sheet a table, with charts", false)
        ->check(expectWorkbookName);
    app.add_flag("--all-records", allRecords_,
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

std::string ReportOutput::render(const Report& report) const {
    if (format_ == "json") return renderJson(report);
    if (format_ == "csv") return renderCsv(report);
    return renderText(report, allRecords_);
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
    const std::string text = render(report);
    if (output_.path.empty()) {
        print(text);
    } else {
        files.stage(output_, [&](Support::StagedFile& file) { file.write(text); });
    }
    files.commit();
}

}  // namespace Veltrix::Tool
