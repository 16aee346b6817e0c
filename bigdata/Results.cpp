#include "Veltrix/BigData/Results.h"

#include <utility>

namespace BigData {

Results::~Results() = default;

Results& Results::setClusterTime(double seconds) {
    clusterTime_ = seconds;
    return *this;
}

Results& Results::setNumRows(std::int64_t numRows) {
    numRows_ = numRows;
    return *this;
}

Results& Results::setNumRowsTotal(std::int64_t numRowsTotal) {
    numRowsTotal_ = numRowsTotal;
    return *this;
}

Results& Results::setNumCols(std::int64_t numCols) {
    numCols_ = numCols;
    return *this;
}

Results& Results::setNumColsTotal(std::int64_t numColsTotal) {
    numColsTotal_ = numColsTotal;
    return *this;
}

Results& Results::setNumTotalCores(std::int64_t numTotalCores) {
    numTotalCores_ = numTotalCores;
    return *this;
}

Results& Results::setSparkMaster(const WString& sparkMaster) {
    sparkMaster_ = sparkMaster;
    return *this;
}

Results& Results::setSchema(DataFrame schema) {
    schema_ = std::move(schema);
    return *this;
}

Results& Results::setSchemaFull(DataFrame schemaFull) {
    schemaFull_ = std::move(schemaFull);
    return *this;
}

Results& Results::setData(DataFrame data) {
    data_ = std::move(data);
    return *this;
}

}  // namespace BigData
