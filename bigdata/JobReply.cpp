#include "bigdata/JobReply.h"

#include "Veltrix/BigData/Exceptions.h"
#include "bigdata/Table.h"

namespace BigData {

WString wideText(const Veltrix::Support::JsonView& text) {
    return WString::fromUtf8(text.asString());
}

void requireCompleted(const Veltrix::Support::JsonView& reply) {
    if (reply.at("status").asString() != "OK") throw BDJobNotCompleted();
}

void readResults(const Veltrix::Support::JsonView& result, const char* rows, bool hasRowIDs,
                 Results& results) {
    results.setClusterTime(result.at("clusterTime").asDouble())
        .setNumRows(result.at("numRows").asInt64())
        .setNumRowsTotal(result.at("numRowsTotal").asInt64())
        .setNumCols(result.at("numCols").asInt64())
        .setNumColsTotal(result.at("numColsTotal").asInt64())
        .setSparkMaster(wideText(result.at("sparkMaster")))
        .setNumTotalCores(result.at("numTotalCores").asInt64());
    const auto schemaFull = readDescriptions(result.at("schemaFull"));
    const auto schema = readDescriptions(result.at("schema"), schemaFull);
    results.setSchemaFull(descriptionTable(schemaFull, L"Schema of the file"))
        .setSchema(descriptionTable(schema, L"Schema"))
        .setData(readRows(result.at(rows), schema, hasRowIDs, L"Data"));
}

}  // namespace BigData
