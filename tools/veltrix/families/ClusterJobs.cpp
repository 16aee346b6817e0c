#include <memory>
#include <string>
#include <vector>

#include "Veltrix/BigData/Sampling.h"
#include "Veltrix/BigData/Summarization.h"
#include "tools/veltrix/families/ClusterTask.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

StringVector namesOf(const std::vector<std::string>& lists) {
    StringVector names;
    for (const std::string& list : lists) {
        for (std::size_t at = 0; at <= list.size();) {
            const std::size_t end = std::min(list.find(',', at), list.size());
            names.push_back(WString::fromUtf8(list.substr(at, end - at)));
            at = end + 1;
        }
    }
    return names;
}

/// What sample and summarize share: the file, the columns, and whether to wait for the job.
class DataJob : public ClusterRows {
  public:
    using ClusterRows::ClusterRows;

  protected:
    void declareFile(OptionGroup& own) {
        file_.declare(own);
        own.list("--columns", columns_, "Columns wanted");
    }
    void declareSubmission(OptionGroup& own) {
        own.flag("--async", async_, "Submits the job and reports its identifier");
        own.flag("--wait", wait_, "Submits the job, and asks for its state until it is finished")
            .excludes("--async");
        declareRows(own);
    }
    void apply(BigData::Parameters& parameters) const {
        file_.apply(parameters);
        parameters.setSparkSettings(cluster().settings()).setSelectedVars(namesOf(columns_));
    }
    /// Runs the job in the way asked for; `Kind` is given by its three operations.
    template <class Parameters, class Results>
    void runJob(ReportBuilder& report, Parameters& parameters, Results (*sync)(const Parameters&),
                BigData::JobSubmissionResult (*async)(const Parameters&),
                Results (*fetch)(const Parameters&)) {
        Table& summary = report.table("Summary");
        summary.entry("Server", cluster().server()).entry("File", file_.location());
        if (!async_ && !wait_) {
            add(report, sync(parameters));
            return;
        }
        const BigData::JobSubmissionResult submitted = async(parameters);
        if (submitted.getStatus() != 0) throw OutsideError("The server did not start the job");
        summary.entry("Job", submitted.getJobID().toUtf8())
            .entry("Context", submitted.getContextName().toUtf8());
        if (async_) return;
        waitFor(submitted.getJobID());
        parameters.setJobID(submitted.getJobID());
        add(report, fetch(parameters));
    }

  private:
    void add(ReportBuilder& report, const BigData::Sampling::Results& results) {
        addResults(report, results);
    }
    void add(ReportBuilder& report, const BigData::Summarization::Results& results) {
        addResults(report, results, results.getCounts());
    }

    ClusterFile file_;
    std::vector<std::string> columns_;
    bool async_ = false;
    bool wait_ = false;
};

class SampleJob final : public DataJob {
  public:
    SampleJob() : DataJob("sample", "Draws a random sample of the rows of a file") {}

  private:
    void declareOwn(OptionGroup& own) override {
        declareFile(own);
        own.count("--size", size_, "Number of rows to draw");
        own.share("--fraction", fraction_, "About which share of the rows to draw")
            .excludes("--size");
        own.flag("--replacement", replacement_, "Draws with replacement");
        own.flag("--row-ids", rowIDs_, "Tells each row's place in the file");
        own.count("--seed", seed_, "Seed of the random numbers").shown(std::to_string(seed_));
        declareSubmission(own);
    }
    void check() const override {
        if (size_ < 0 && fraction_ < 0.0) throw UserError("--size or --fraction is required");
    }
    void report(ReportBuilder& report) override {
        BigData::Sampling::Parameters parameters;
        apply(parameters);
        parameters.setUseSampleSize(size_ >= 0)
            .setSampleSize(std::max(size_, 0))
            .setSampleFraction(std::max(fraction_, 0.0))
            .setIsSampleWithReplacement(replacement_)
            .setTrackRowID(rowIDs_)
            .setRandomSeed(seed_);
        runJob(report, parameters, &BigData::Sampling::runSync, &BigData::Sampling::runAsync,
               &BigData::Sampling::getResults);
    }

    int size_ = -1;
    double fraction_ = -1.0;
    bool replacement_ = false;
    bool rowIDs_ = false;
    int seed_ = static_cast<int>(kDefaultSeed);
};

class SummarizeJob final : public DataJob {
  public:
    SummarizeJob() : DataJob("summarize", "Summarises columns of a file by groups of its rows") {}

  private:
    using Aggregation = BigData::Summarization::Aggregation;

    void declareOwn(OptionGroup& own) override {
        declareFile(own);
        own.list("--group-by", groups_, "Columns whose values make the groups");
        own.choice("--aggregation", aggregation_, "What the values of a group become",
                   Choices<Aggregation>{{"sum", Aggregation::Sum},
                                        {"mean", Aggregation::Mean},
                                        {"minimum", Aggregation::Minimum},
                                        {"maximum", Aggregation::Maximum},
                                        {"sd", Aggregation::StandardDeviation},
                                        {"count", Aggregation::Count}});
        own.flag("--counts", counts_, "Counts the rows of each group");
        own.flag("--statistics", statistics_, "Computes summary statistics of the columns");
        declareSubmission(own);
    }
    void report(ReportBuilder& report) override {
        BigData::Summarization::Parameters parameters;
        apply(parameters);
        parameters.setGroupVars(namesOf(groups_))
            .setAggType(aggregation_)
            .setComputeCounts(counts_)
            .setComputeSummaryStats(statistics_);
        runJob(report, parameters, &BigData::Summarization::runSync,
               &BigData::Summarization::runAsync, &BigData::Summarization::getResults);
    }

    std::vector<std::string> groups_;
    Aggregation aggregation_ = Aggregation::Sum;
    bool counts_ = false;
    bool statistics_ = false;
};

}  // namespace

std::vector<std::unique_ptr<Command>> makeClusterJobs() {
    std::vector<std::unique_ptr<Command>> jobs;
    jobs.push_back(std::make_unique<SampleJob>());
    jobs.push_back(std::make_unique<SummarizeJob>());
    return jobs;
}

}  // namespace Veltrix::Tool
