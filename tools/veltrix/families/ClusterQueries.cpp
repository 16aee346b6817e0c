#include <memory>
#include <string>
#include <vector>

#include "Veltrix/BigData/ClusterHealth.h"
#include "Veltrix/BigData/ContextCheck.h"
#include "Veltrix/BigData/JobStatus.h"
#include "Veltrix/BigData/QuorvanDatasets.h"
#include "Veltrix/BigData/Sampling.h"
#include "Veltrix/BigData/Schema.h"
#include "Veltrix/BigData/Summarization.h"
#include "tools/veltrix/families/ClusterTask.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using State = BigData::JobStatus::State;

class HealthQuery final : public ClusterTask {
  public:
    HealthQuery() : ClusterTask("health", "Asks the job server for a sign of life") {}

  private:
    void declareOwn(OptionGroup& /*own*/) override {}
    void report(ReportBuilder& report) override {
        const auto health = BigData::ClusterHealth::run(
            BigData::ClusterHealth::Parameters().setSparkSettings(cluster().settings()));
        if (!health.getAnswered()) {
            throw OutsideError(cluster().server() +
                               " does not answer: " + health.getDetails().toUtf8());
        }
        report.table("Summary")
            .entry("Server", cluster().server())
            .entry("Healthy", health.isHealthy() ? "yes" : "no")
            .entry("Status", static_cast<std::int64_t>(health.getStatus()))
            .entry("Seconds", health.getDuration().seconds);
    }
};

class ContextQuery final : public ClusterTask {
  public:
    ContextQuery()
        : ClusterTask("context", "Makes sure of the Spark context, and creates it if none runs") {}

  private:
    void declareOwn(OptionGroup& /*own*/) override {}
    void report(ReportBuilder& report) override {
        const BigData::SparkMasterSettings settings = cluster().settings();
        BigData::ContextCheck::run(BigData::ContextCheck::Parameters().setSparkSettings(settings));
        report.table("Summary")
            .entry("Server", cluster().server())
            .entry("Context", settings.getSparkContext().toUtf8());
    }
};

class SchemaQuery final : public ClusterTask {
  public:
    SchemaQuery() : ClusterTask("schema", "Lists the columns of a file") {}

  private:
    void declareOwn(OptionGroup& own) override { file_.declare(own); }
    void report(ReportBuilder& report) override {
        BigData::Schema::Parameters parameters;
        file_.apply(parameters);
        parameters.setSparkSettings(cluster().settings());
        const BigData::Schema::Results schema = BigData::Schema::run(parameters);
        report.table("Summary")
            .entry("Server", cluster().server())
            .entry("File", file_.location())
            .entry("Seconds on the cluster", schema.getExecutionTime());
        report.table("Columns")
            .counted("Place", schema.getHeader().size())
            .text("Column", schema.getHeader());
    }

    ClusterFile file_;
};

class DatasetsQuery final : public ClusterTask {
  public:
    DatasetsQuery() : ClusterTask("datasets", "Lists the data sets that the cluster holds") {}

  private:
    void declareOwn(OptionGroup& /*own*/) override {}
    void report(ReportBuilder& report) override {
        const auto list = BigData::QuorvanDatasets::run(
            BigData::QuorvanDatasets::Parameters().setSparkSettings(cluster().settings()));
        report.table("Summary").entry("Server", cluster().server());
        report.table("Data sets").text("Data set", list.getDatasets());
    }
};

const Choices<State> kStates = {{"running", State::Running},
                                {"other", State::Other},
                                {"finished", State::Finished},
                                {"failed", State::Error}};

class StatusQuery final : public ClusterTask {
  public:
    StatusQuery() : ClusterTask("status", "Tells the state of a job") {}

  private:
    void declareOwn(OptionGroup& own) override {
        own.name("--job", job_, "Identifier of the job").required();
    }
    void report(ReportBuilder& report) override {
        const auto status = BigData::JobStatus::run(BigData::JobStatus::Parameters()
                                                        .setSparkSettings(cluster().settings())
                                                        .setJobID(WString::fromUtf8(job_)));
        const auto state = static_cast<State>(status.getState());
        Table& summary = report.table("Summary");
        summary.entry("Server", cluster().server())
            .entry("Job", job_)
            .entry("State", nameOf(state, kStates));
        if (state == State::Error) {
            summary.entry("Error", status.getErrorMessage().toUtf8());
        } else {
            summary.entry("Duration", status.getDuration().toUtf8())
                .entry("Application", status.getClassPath().toUtf8());
        }
    }

    std::string job_;
};

class ResultsQuery final : public ClusterRows {
  public:
    ResultsQuery() : ClusterRows("results", "Fetches the rows of a job submitted earlier") {}

  private:
    void declareOwn(OptionGroup& own) override {
        own.name("--job", job_, "Identifier of the job").required();
        own.flag("--wait", wait_, "Waits until the job is finished");
        declareRows(own);
    }
    void report(ReportBuilder& report) override {
        const WString job = WString::fromUtf8(job_);
        if (wait_) waitFor(job);
        const auto status = BigData::JobStatus::run(
            BigData::JobStatus::Parameters().setSparkSettings(cluster().settings()).setJobID(job));
        report.table("Summary")
            .entry("Server", cluster().server())
            .entry("Job", job_)
            .entry("Application", status.getClassPath().toUtf8());
        if (status.getClassPath() == BigData::Summarization::kClassPath) {
            BigData::Summarization::Parameters parameters;
            parameters.setSparkSettings(cluster().settings()).setJobID(job);
            const auto results = BigData::Summarization::getResults(parameters);
            addResults(report, results, results.getCounts());
        } else if (status.getIsExpectedApplication()) {
            BigData::Sampling::Parameters parameters;
            parameters.setSparkSettings(cluster().settings()).setJobID(job);
            addResults(report, BigData::Sampling::getResults(parameters));
        } else if (status.getState() == static_cast<int>(State::Error)) {
            throw OutsideError("The job failed: " + status.getErrorMessage().toUtf8());
        } else {
            throw OutsideError("The job is neither a sample nor a summary: " +
                               status.getClassPath().toUtf8());
        }
    }

    std::string job_;
    bool wait_ = false;
};

}  // namespace

std::vector<std::unique_ptr<Command>> makeClusterQueries() {
    std::vector<std::unique_ptr<Command>> queries;
    queries.push_back(std::make_unique<SchemaQuery>());
    queries.push_back(std::make_unique<DatasetsQuery>());
    queries.push_back(std::make_unique<StatusQuery>());
    queries.push_back(std::make_unique<ResultsQuery>());
    queries.push_back(std::make_unique<HealthQuery>());
    queries.push_back(std::make_unique<ContextQuery>());
    return queries;
}

}  // namespace Veltrix::Tool
