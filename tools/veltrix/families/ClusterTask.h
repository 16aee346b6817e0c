#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Veltrix/BigData/Parameters.h"
#include "Veltrix/BigData/Results.h"
#include "Veltrix/BigData/Settings.h"
#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/report/ReportBuilder.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Tool {

/// Where the job server is: the options that all of its tasks share.
class ClusterOptions {
  public:
    ClusterOptions();

    void declare(OptionGroup& options);
    BigData::SparkMasterSettings settings() const;
    double timeout() const { return static_cast<double>(timeout_); }
    /// "host:port" for reports.
    std::string server() const { return host_ + ":" + port_; }

  private:
    std::string host_;
    std::string port_;
    std::string app_;
    std::string context_;
    int timeout_ = 0;
    FileOption authorization_{"--authorization", {}};
};

/// The file that a job reads and how.
class ClusterFile {
  public:
    void declare(OptionGroup& options);
    void apply(BigData::Parameters& parameters) const;
    const std::string& location() const { return location_; }

  private:
    std::string location_;
    std::string delimiter_ = ",";
    bool noHeader_ = false;
    bool parquet_ = false;
    bool corvala_ = false;
    FileOption keys_{"--keys", {}};
};

/// A task of the cluster: asks, and reports what it was told.
class ClusterTask : public Command {
  public:
    ClusterTask(const char* name, const char* description)
        : name_(name), description_(description) {}

    std::string name() const override { return name_; }
    std::string description() const override { return description_; }
    bool readsTables() const final { return false; }
    void declare(OptionGroup& options) final;
    /// Failures of the cluster become `OutsideError` in plain words.
    void run() final;

  protected:
    /// The task's own options.
    virtual void declareOwn(OptionGroup& own) = 0;
    /// Throws `UserError` for own options that contradict each other.
    virtual void check() const {}
    /// Does the work and appends what it found out.
    virtual void report(ReportBuilder& report) = 0;
    /// Further files to write.
    virtual std::vector<FileOption> files() const { return {}; }
    virtual std::vector<FileContent> contents() { return {}; }

    const ClusterOptions& cluster() const { return cluster_; }

  private:
    const char* name_;
    const char* description_;
    ClusterOptions cluster_;
    ReportOutput output_;
};

/// Base of the tasks that bring rows: sample, summarize and results.
class ClusterRows : public ClusterTask {
  public:
    using ClusterTask::ClusterTask;

  protected:
    void declareRows(OptionGroup& own);
    /// Waits until the job is no longer under way, with pauses that grow, as long as --timeout
    /// says. Throws `OutsideError` when it failed or the time is up.
    void waitFor(const WString& jobID) const;
    /// Appends the statistics of the run and the tables.
    void addResults(ReportBuilder& report, const BigData::Results& results,
                    const DataFrame& counts = {});
    std::vector<FileOption> files() const override { return {rowsFile_}; }
    std::vector<FileContent> contents() override;

  private:
    FileOption rowsFile_{"--rows", {}};
    DataFrame rows_;
};

/// The tasks in the order of the help text.
std::vector<std::unique_ptr<Command>> makeClusterJobs();
std::vector<std::unique_ptr<Command>> makeClusterQueries();

/// The table's columns from a frame's.
void addFrame(Table& table, const DataFrame& frame);

}  // namespace Veltrix::Tool
