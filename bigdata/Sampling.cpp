#include "Veltrix/BigData/Sampling.h"

#include <cmath>

#include "bigdata/DataJob.h"
#include "bigdata/JobReply.h"
#include "bigdata/JobRequest.h"
#include "data/containers/Checks.h"

namespace BigData::Sampling {

namespace {

using Veltrix::Support::JsonView;

constexpr const char* kOperation = "Sampling";

void check(const Parameters& parameters) {
    checkSelected(kOperation, parameters);
    if (parameters.getUseSampleSize()) {
        if (parameters.getSampleSize() >= 0) return;
        Veltrix::Checks::fail(Veltrix::ErrorCode::invalidArgument, kOperation,
                              "the sample size is " + std::to_string(parameters.getSampleSize()) +
                                  ", expected 0 or more");
    }
    const double fraction = parameters.getSampleFraction();
    const bool isPossible = std::isfinite(fraction) && fraction >= 0.0 &&
                            (fraction <= 1.0 || parameters.getIsSampleWithReplacement());
    if (isPossible) return;
    Veltrix::Checks::fail(Veltrix::ErrorCode::invalidArgument, kOperation,
                          "the sample fraction is " + std::to_string(fraction) +
                              ", expected a number from 0 to 1 (any from 0 on with replacement)");
}

std::string body(const Parameters& parameters) {
    JobRequest request;
    request.add("fileLocation", parameters.getFileLocation())
        .add("isCorvalaCluster", parameters.getCorvalaCluster())
        .add("isApproximateSampling", !parameters.getUseSampleSize())
        .addUser();
    if (parameters.getUseSampleSize()) {
        request.add("sampleSize", parameters.getSampleSize());
    } else {
        request.add("sampleFraction", parameters.getSampleFraction());
    }
    return request.add("isSampleWithReplacement", parameters.getIsSampleWithReplacement())
        .add("randomSeed", parameters.getRandomSeed())
        .add("isHeader", parameters.getCsvHasHeader())
        .add("delimiters", parameters.getCsvDelimiter())
        .add("trackRowID", parameters.getTrackRowID())
        .addKeys(parameters.getAwsKeys())
        .add("isParquet", parameters.getIsParquet())
        .add("selectedVars", parameters.getSelectedVars())
        .addStartTime()
        .take();
}

JobConfig readConfig(const JsonView& config) {
    JobConfig read;
    read.delimiters = wideText(config.at("delimiters"));
    read.fileLocation = wideText(config.at("fileLocation"));
    read.isCorvalaCluster = config.at("isCorvalaCluster").asBool();
    read.isApproximateSampling = config.at("isApproximateSampling").asBool();
    read.isHeader = config.at("isHeader").asBool();
    read.isSampleWithReplacement = config.at("isSampleWithReplacement").asBool();
    read.isParquet = config.at("isParquet").asBool();
    read.randomSeed = config.at("randomSeed").asInt64();
    if (const auto fraction = config.find("sampleFraction")) {
        read.sampleFraction = fraction->asDouble();
    }
    if (const auto size = config.find("sampleSize")) read.sampleSize = size->asInt64();
    return read;
}

Results read(const JsonView& reply) {
    requireCompleted(reply);
    const JsonView result = reply.at("result");
    Results results;
    results.setTrackRowID(result.at("trackRowID").asBool());
    readResults(result, "sampledData", results.getTrackRowID(), results);
    results.setJobConfig(readConfig(result.at("jobConfig")));
    return results;
}

constexpr DataJob<Parameters, Results> kJob{kClassPath, check, body, read};

}  // namespace

Parameters::~Parameters() = default;

Parameters& Parameters::setTrackRowID(bool trackRowID) {
    trackRowID_ = trackRowID;
    return *this;
}

Parameters& Parameters::setIsSampleWithReplacement(bool isSampleWithReplacement) {
    isSampleWithReplacement_ = isSampleWithReplacement;
    return *this;
}

Parameters& Parameters::setUseSampleSize(bool useSampleSize) {
    useSampleSize_ = useSampleSize;
    return *this;
}

Parameters& Parameters::setRandomSeed(std::int32_t randomSeed) {
    randomSeed_ = randomSeed;
    return *this;
}

Parameters& Parameters::setSampleSize(std::int32_t sampleSize) {
    sampleSize_ = sampleSize;
    return *this;
}

Parameters& Parameters::setSampleFraction(double sampleFraction) {
    sampleFraction_ = sampleFraction;
    return *this;
}

Results::~Results() = default;

Results& Results::setTrackRowID(bool trackRowID) {
    trackRowID_ = trackRowID;
    return *this;
}

Results& Results::setJobConfig(JobConfig jobConfig) {
    jobConfig_ = std::move(jobConfig);
    return *this;
}

Results runSync(const Parameters& parameters) { return kJob.runSync(parameters); }

JobSubmissionResult runAsync(const Parameters& parameters) { return kJob.runAsync(parameters); }

Results getResults(const Parameters& parameters) { return kJob.getResults(parameters); }

}  // namespace BigData::Sampling
