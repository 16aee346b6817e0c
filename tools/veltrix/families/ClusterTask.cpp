#include "tools/veltrix/families/ClusterTask.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <numeric>
#include <thread>

#include <fmt/format.h>

#include "Veltrix/BigData/Exceptions.h"
#include "Veltrix/BigData/JobStatus.h"
#include "Veltrix/Data/Progress.h"
#include "tools/veltrix/families/ClusterCommand.h"
#include "tools/veltrix/host/Progress.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/FrameCsv.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kHostVariable = "VELTRIX_CLUSTER_HOST";
constexpr const char* kPortVariable = "VELTRIX_CLUSTER_PORT";
constexpr const char* kAuthorizationVariable = "VELTRIX_CLUSTER_AUTHORIZATION";

std::string fromEnvironment(const char* variable, const WString& otherwise) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0' ? std::string(value) : otherwise.toUtf8();
}

/// What a message made for a page says: without marks and without the name of the client.
std::string plainText(std::string_view page) {
    std::string text;
    bool isMark = false;
    for (const char c : page) {
        if (c == '<') {
            isMark = true;
            if (!text.empty() && text.back() != ' ') text += ' ';
        } else if (c == '>' && isMark) {
            isMark = false;
        } else if (!isMark && !(c == ' ' && (text.empty() || text.back() == ' '))) {
            text += c;
        }
    }
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

bool isOfTheCluster(const Exception& error) {
    constexpr int kFirst = 530;
    constexpr int kLast = 538;
    return error.getCode() >= kFirst && error.getCode() <= kLast;
}

std::string trimmed(const std::string& text) {
    constexpr const char* kBlanks = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// The entry of a file of "name = value" lines; nothing when there is none.
std::string entryOf(const std::string& path, std::string_view name) {
    std::ifstream file(path);
    if (!file) throw UserError(fmt::format("--keys: {} cannot be read", Tool::quoted(path)));
    for (std::string line; std::getline(file, line);) {
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos || trimmed(line.substr(0, equals)) != name) continue;
        return trimmed(line.substr(equals + 1));
    }
    throw UserError(fmt::format("--keys: {} has no line {} = ...", Tool::quoted(path), name));
}

/// The first line of the file, or what the environment says.
std::string authorization(const FileOption& option) {
    if (option.path.empty()) return trimmed(fromEnvironment(kAuthorizationVariable, {}));
    std::ifstream file(option.path);
    std::string line;
    if (!std::getline(file, line) || trimmed(line).empty()) {
        throw UserError(fmt::format("--authorization: {} has no first line to read",
                                    Tool::quoted(option.path)));
    }
    return trimmed(line);
}

BigData::AWSCredentials storageKeys(const FileOption& file) {
    const auto key = [&](const char* entry, const char* variable) {
        if (!file.path.empty()) return WString::fromUtf8(entryOf(file.path, entry));
        return WString::fromUtf8(fromEnvironment(variable, {}));
    };
    return {key("aws_access_key_id", "AWS_ACCESS_KEY_ID"),
            key("aws_secret_access_key", "AWS_SECRET_ACCESS_KEY")};
}

}  // namespace

ClusterCommand::ClusterCommand() : parts_(makeClusterJobs()) {
    for (std::unique_ptr<Command>& query : makeClusterQueries()) {
        parts_.push_back(std::move(query));
    }
}

std::vector<Command*> ClusterCommand::parts() const {
    std::vector<Command*> parts;
    for (const std::unique_ptr<Command>& part : parts_) parts.push_back(part.get());
    return parts;
}

ClusterOptions::ClusterOptions() {
    const BigData::SparkMasterSettings usual;
    host_ = fromEnvironment(kHostVariable, usual.getHost());
    port_ = fromEnvironment(kPortVariable, usual.getPort());
    app_ = usual.getAppName().toUtf8();
    context_ = usual.getSparkContext().toUtf8();
    timeout_ = static_cast<int>(usual.getTimeout());
}

void ClusterOptions::declare(OptionGroup& options) {
    options.name("--host", host_, "Host of the job server");
    options.name("--port", port_, "Port of the job server");
    options.name("--app", app_, "Application on the server");
    options.name("--context", context_, "Spark context of the jobs");
    options
        .count("--timeout", timeout_, "Seconds to wait for a reply, and with --wait for the job", 1)
        .shown(std::to_string(timeout_));
    options.file(
        authorization_,
        "File with the value of the header Authorization, such as Bearer TOKEN; otherwise\n"
        "the variable VELTRIX_CLUSTER_AUTHORIZATION; none is sent without either");
    options.footer(
        fmt::format("{} and {} stand for --host and --port.", kHostVariable, kPortVariable));
}

BigData::SparkMasterSettings ClusterOptions::settings() const {
    return BigData::SparkMasterSettings(WString::fromUtf8(host_), WString::fromUtf8(port_))
        .setAppName(WString::fromUtf8(app_))
        .setSparkContext(WString::fromUtf8(context_))
        .setAuthorization(WString::fromUtf8(authorization(authorization_)))
        .setTimeout(timeout());
}

void ClusterFile::declare(OptionGroup& options) {
    options.name("--file", location_, "File as the cluster knows it").required();
    options.name("--delimiter", delimiter_, "What parts the cells of delimited text");
    options.flag("--no-header", noHeader_, "The first line holds no column names");
    options.flag("--parquet", parquet_, "The file is Parquet");
    options.flag("--corvala-cluster", corvala_, "The cluster is one of Corvala's");
    options.file(keys_,
                 "File with aws_access_key_id and aws_secret_access_key; otherwise the variables\n"
                 "AWS_ACCESS_KEY_ID and AWS_SECRET_ACCESS_KEY");
}

void ClusterFile::apply(BigData::Parameters& parameters) const {
    parameters.setFileLocation(WString::fromUtf8(location_))
        .setCsvDelimiter(WString::fromUtf8(delimiter_))
        .setCsvHasHeader(!noHeader_)
        .setIsParquet(parquet_)
        .setCorvalaCluster(corvala_)
        .setAwsKeys(storageKeys(keys_));
}

void ClusterTask::declare(OptionGroup& options) {
    declareOwn(options);
    cluster_.declare(options);
    output_.declare(options);
}

void ClusterTask::run() {
    check();
    output_.checkFiles({}, files());
    ProgressLine progress;
    progress.stage("Asking " + cluster_.server());
    ReportBuilder made("Cluster: " + name());
    try {
        report(made);
    } catch (const BigData::BDUriError& error) {
        throw UserError(plainText(error.what()));
    } catch (const Cancelled&) {
        throw;
    } catch (const Exception& error) {
        // What is no failure of the cluster was refused before anything was sent.
        if (!isOfTheCluster(error)) throw UserError(error.what());
        throw OutsideError(plainText(error.what()));
    }
    progress.stage("Writing");
    output_.deliver(made.take(), contents());
}

void ClusterRows::declareRows(OptionGroup& own) {
    own.file(rowsFile_, "Writes the rows into this CSV file");
}

void ClusterRows::waitFor(const WString& jobID) const {
    using Clock = std::chrono::steady_clock;
    using Seconds = std::chrono::duration<double>;
    constexpr Seconds kFirstPause{0.1};
    constexpr Seconds kLongestPause{10.0};
    constexpr double kGrowth = 1.5;
    constexpr std::chrono::milliseconds kGlance{20};
    const auto job =
        BigData::JobStatus::Parameters().setSparkSettings(cluster().settings()).setJobID(jobID);
    ProgressPhase phase("Waiting for the job", 0);
    const Clock::time_point start = Clock::now();
    for (Seconds pause = kFirstPause;; pause = std::min(pause * kGrowth, kLongestPause)) {
        const BigData::JobStatus::Results status = BigData::JobStatus::run(job);
        if (status.getState() == static_cast<int>(BigData::JobStatus::State::Error)) {
            throw OutsideError("The job failed: " + status.getErrorMessage().toUtf8());
        }
        if (status.getState() == static_cast<int>(BigData::JobStatus::State::Finished)) return;
        const Clock::time_point end =
            Clock::now() + std::chrono::duration_cast<Clock::duration>(pause);
        while (Clock::now() < end) {
            std::this_thread::sleep_for(kGlance);
            phase.advance();
        }
        if (Seconds(Clock::now() - start).count() > cluster().timeout()) {
            throw OutsideError(fmt::format("Job {} is not finished within --timeout {:.0f}",
                                           jobID.toUtf8(), cluster().timeout()));
        }
    }
}

void ClusterRows::addResults(ReportBuilder& report, const BigData::Results& results,
                             const DataFrame& counts) {
    report.table("Run")
        .entry("Rows", results.getNumRows())
        .entry("Rows of the file", results.getNumRowsTotal())
        .entry("Columns", results.getNumCols())
        .entry("Columns of the file", results.getNumColsTotal())
        .entry("Seconds on the cluster", results.getClusterTime())
        .entry("Cores", results.getNumTotalCores())
        .entry("Master", results.getSparkMaster().toUtf8());
    addFrame(report.table("Schema"), results.getSchema());
    rows_ = results.getData();
    addFrame(report.records("Data"), rows_);
    if (!counts.empty()) addFrame(report.records("Counts"), counts);
}

std::vector<FileContent> ClusterRows::contents() {
    if (rowsFile_.path.empty()) return {};
    IntVector rows(static_cast<std::uint64_t>(rows_.getNumRows()));
    std::iota(rows.begin(), rows.end(), 0);
    FrameCsv csv;
    csv.add(rows_);
    return {{rowsFile_, csv.render(rows)}};
}

void addFrame(Table& table, const DataFrame& frame) {
    for (int col = 0; col < frame.getNumCols(); ++col) {
        const ConstDataFrameColumn column = frame(Selection::all, col);
        const std::string heading = frame.getColName(col).toUtf8();
        if (column.getKind() == ColumnKind::text) {
            table.text(heading, column.toStringVector());
        } else {
            table.numbers(heading, column.toDoubleVector());
        }
    }
}

}  // namespace Veltrix::Tool
