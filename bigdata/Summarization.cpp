#include "Veltrix/BigData/Summarization.h"

#include <optional>

#include "Veltrix/BigData/Exceptions.h"
#include "bigdata/DataJob.h"
#include "bigdata/JobReply.h"
#include "bigdata/JobRequest.h"
#include "bigdata/Table.h"
#include "data/containers/Checks.h"

namespace BigData::Summarization {

namespace {

using Veltrix::Support::JsonView;

constexpr const char* kOperation = "Summarisation";

void check(const Parameters& parameters) {
    Veltrix::Checks::enumerator(kOperation, "aggregation", parameters.getAggType(),
                                static_cast<int>(Aggregation::Sum),
                                static_cast<int>(Aggregation::Count));
    const bool onlyCounts = parameters.getComputeCounts() && !parameters.getGroupVars().empty();
    if (!onlyCounts) checkSelected(kOperation, parameters);
}

std::string body(const Parameters& parameters) {
    return JobRequest()
        .add("fileLocation", parameters.getFileLocation())
        .add("isHeader", parameters.getCsvHasHeader())
        .add("delimiters", parameters.getCsvDelimiter())
        .add("aggType", parameters.getAggType())
        .add("computeCounts", parameters.getComputeCounts())
        .add("computeSummaryStats", parameters.getComputeSummaryStats())
        .add("isCorvalaCluster", parameters.getCorvalaCluster())
        .addUser()
        .addKeys(parameters.getAwsKeys())
        .add("isParquet", parameters.getIsParquet())
        .add("selectedVars", parameters.getSelectedVars())
        .add("groupVars", parameters.getGroupVars())
        .addStartTime()
        .take();
}

JobConfig readConfig(const JsonView& config) {
    JobConfig read;
    read.delimiters = wideText(config.at("delimiters"));
    read.fileLocation = wideText(config.at("fileLocation"));
    read.aggType = config.at("aggType").asInt64();
    read.computeCounts = config.at("computeCounts").asBool();
    for (const std::string& name : config.at("groupVars").asStrings()) {
        read.groupVars.push_back(WString::fromUtf8(name));
    }
    read.isCorvalaCluster = config.at("isCorvalaCluster").asBool();
    read.isHeader = config.at("isHeader").asBool();
    read.isParquet = config.at("isParquet").asBool();
    return read;
}

DataFrame readCounts(const JsonView& counts) {
    const WString name = L"Counts";
    if (counts.size() > 0 && counts.at(std::int64_t{0}).isArray()) {
        return readRows(counts, {}, false, name);
    }
    Veltrix::Vector values(static_cast<std::uint64_t>(counts.size()));
    values.setName(L"Count");
    for (std::uint64_t k = 0; k < values.size(); ++k) {
        values[k] = static_cast<double>(counts.at(static_cast<std::int64_t>(k)).asInt64());
    }
    DataFrame frame(name);
    frame.append(std::move(values));
    return frame;
}

/// The server says so in the reply or in its result.
bool hasTooManyDistinct(const JsonView& reply) {
    std::optional<JsonView> flag = reply.find("tooManyDistinct");
    const std::optional<JsonView> result = reply.find("result");
    if (!flag && result && result->isObject()) flag = result->find("tooManyDistinct");
    return flag && flag->asBool();
}

Results read(const JsonView& reply) {
    if (hasTooManyDistinct(reply)) throw BDSummarizationTooManyDistinct();
    requireCompleted(reply);
    const JsonView result = reply.at("result");
    Results results;
    readResults(result, "resultData", false, results);
    JobConfig config = readConfig(result.at("jobConfig"));
    if (config.computeCounts) results.setCounts(readCounts(result.at("counts")));
    results.setJobConfig(std::move(config));
    return results;
}

constexpr DataJob<Parameters, Results> kJob{kClassPath, check, body, read};

}  // namespace

Parameters::~Parameters() = default;

Parameters& Parameters::setComputeCounts(bool computeCounts) {
    computeCounts_ = computeCounts;
    return *this;
}

Parameters& Parameters::setComputeSummaryStats(bool computeSummaryStats) {
    computeSummaryStats_ = computeSummaryStats;
    return *this;
}

Parameters& Parameters::setGroupVars(const StringVector& groupVars) {
    groupVars_ = groupVars;
    return *this;
}

Parameters& Parameters::setAggType(std::int32_t aggType) {
    aggType_ = aggType;
    return *this;
}

Parameters& Parameters::setAggType(Aggregation aggregation) {
    return setAggType(static_cast<std::int32_t>(aggregation));
}

Results::~Results() = default;

Results& Results::setCounts(DataFrame counts) {
    counts_ = std::move(counts);
    return *this;
}

Results& Results::setJobConfig(JobConfig jobConfig) {
    jobConfig_ = std::move(jobConfig);
    return *this;
}

Results runSync(const Parameters& parameters) { return kJob.runSync(parameters); }

JobSubmissionResult runAsync(const Parameters& parameters) { return kJob.runAsync(parameters); }

Results getResults(const Parameters& parameters) { return kJob.getResults(parameters); }

}  // namespace BigData::Summarization
