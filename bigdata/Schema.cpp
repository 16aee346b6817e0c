#include "Veltrix/BigData/Schema.h"

#include "bigdata/Guard.h"
#include "bigdata/JobReply.h"
#include "bigdata/JobRequest.h"
#include "bigdata/Server.h"

namespace BigData::Schema {

namespace {

std::string body(const Parameters& parameters) {
    return JobRequest()
        .add("fileLocation", parameters.getFileLocation())
        .add("delimiters", parameters.getCsvDelimiter())
        .add("isHeader", parameters.getCsvHasHeader())
        .add("isCorvalaCluster", parameters.getCorvalaCluster())
        .add("isParquet", parameters.getIsParquet())
        .addUser()
        .addKeys(parameters.getAwsKeys())
        .take();
}

}  // namespace

Parameters::~Parameters() = default;

Results& Results::setHeader(const StringVector& header) {
    header_ = header;
    return *this;
}

Results& Results::setExecutionTime(double seconds) {
    executionTime_ = seconds;
    return *this;
}

Results run(const Parameters& parameters) {
    return guarded([&] {
        const Server server(parameters.getSparkSettings(), parameters.getAwsKeys());
        const auto document = server.json(server.submit(kClassPath, body(parameters), true));
        const auto result = resultOf(document.root());
        StringVector header;
        for (const std::string& name : result.at("header").asStrings()) {
            header.push_back(WString::fromUtf8(name));
        }
        return Results().setHeader(header).setExecutionTime(result.at("clusterTime").asDouble());
    });
}

}  // namespace BigData::Schema
