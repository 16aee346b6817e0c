#include "Veltrix/BigData/Parameters.h"

namespace BigData {

Parameters::~Parameters() = default;

Parameters& Parameters::setFileLocation(const WString& fileLocation) {
    fileLocation_ = fileLocation;
    return *this;
}

Parameters& Parameters::setAwsKeys(const AWSCredentials& awsKeys) {
    awsKeys_ = awsKeys;
    return *this;
}

Parameters& Parameters::setSparkSettings(const SparkMasterSettings& sparkSettings) {
    sparkSettings_ = sparkSettings;
    return *this;
}

Parameters& Parameters::setIsParquet(bool isParquet) {
    isParquet_ = isParquet;
    return *this;
}

Parameters& Parameters::setCsvHasHeader(bool csvHasHeader) {
    csvHasHeader_ = csvHasHeader;
    return *this;
}

Parameters& Parameters::setCsvDelimiter(const WString& csvDelimiter) {
    csvDelimiter_ = csvDelimiter;
    return *this;
}

Parameters& Parameters::setJobID(const WString& jobID) {
    jobID_ = jobID;
    return *this;
}

Parameters& Parameters::setIsAsyncSubmission(bool isAsyncSubmission) {
    isAsyncSubmission_ = isAsyncSubmission;
    return *this;
}

Parameters& Parameters::setIsRetrievingJobResults(bool isRetrievingJobResults) {
    isRetrievingJobResults_ = isRetrievingJobResults;
    return *this;
}

Parameters& Parameters::setSelectedVars(const StringVector& selectedVars) {
    selectedVars_ = selectedVars;
    return *this;
}

Parameters& Parameters::setCorvalaCluster(bool isCorvalaCluster) {
    isCorvalaCluster_ = isCorvalaCluster;
    return *this;
}

}  // namespace BigData
