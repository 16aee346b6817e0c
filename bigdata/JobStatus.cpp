#include "Veltrix/BigData/JobStatus.h"

#include "Veltrix/BigData/Sampling.h"
#include "bigdata/Guard.h"
#include "bigdata/JobReply.h"
#include "bigdata/Server.h"

namespace BigData::JobStatus {

namespace {

using Veltrix::Support::JsonView;
using Veltrix::Support::JsonWriter;

State stateOf(const std::string& status) {
    if (status == "FINISHED") return State::Finished;
    if (status == "RUNNING") return State::Running;
    if (status == "ERROR") return State::Error;
    return State::Other;
}

/// The configuration, which may be wrapped, without the keys of the storage.
WString readConfig(const JsonView& reply) {
    const JsonView config = reply.find("jobConfig").value_or(reply);
    JsonWriter writer;
    writer.beginObject();
    for (const std::string& key : config.keys()) {
        if (key == "awsAccessKey" || key == "awsSecretKey") continue;
        writer.key(key).json(config.at(key).toJson());
    }
    writer.endObject();
    return WString::fromUtf8(writer.take());
}

}  // namespace

Parameters& Parameters::setSparkSettings(const SparkMasterSettings& sparkSettings) {
    sparkSettings_ = sparkSettings;
    return *this;
}

Parameters& Parameters::setJobID(const WString& jobID) {
    jobID_ = jobID;
    return *this;
}

Parameters& Parameters::setIsRetrievingJobResults(bool isRetrievingJobResults) {
    isRetrievingJobResults_ = isRetrievingJobResults;
    return *this;
}

Results& Results::setState(State state) {
    state_ = static_cast<std::int32_t>(state);
    return *this;
}

Results& Results::setDuration(const WString& duration) {
    duration_ = duration;
    return *this;
}

Results& Results::setClassPath(const WString& classPath) {
    classPath_ = classPath;
    return *this;
}

Results& Results::setIsExpectedApplication(bool isExpected) {
    isExpected_ = isExpected;
    return *this;
}

Results& Results::setErrorMessage(const WString& errorMessage) {
    errorMessage_ = errorMessage;
    return *this;
}

Results& Results::setJobConfig(const WString& jobConfig) {
    jobConfig_ = jobConfig;
    return *this;
}

Results run(const Parameters& parameters) {
    return guarded([&] {
        const std::string path = jobPath(parameters.getJobID());
        const Server server(parameters.getSparkSettings());
        server.ensureContext();
        const auto document = server.json(server.get(path + "/jobStatusFull"));
        const JsonView reply = document.root();
        const State state = stateOf(reply.at("status").asString());
        Results results;
        results.setState(state);
        if (state == State::Error) {
            return results.setErrorMessage(wideText(reply.at("result").at("message")));
        }
        const WString classPath = wideText(reply.at("classPath"));
        results.setDuration(wideText(reply.at("duration")))
            .setClassPath(classPath)
            .setIsExpectedApplication(classPath == Sampling::kClassPath);
        if (state == State::Finished && parameters.getIsRetrievingJobResults()) {
            results.setJobConfig(readConfig(server.json(server.get(path + "/config")).root()));
        }
        return results;
    });
}

}  // namespace BigData::JobStatus
