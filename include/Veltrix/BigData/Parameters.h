#pragma once

#include "Veltrix/BigData/Settings.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace BigData {

using Veltrix::StringVector;

/// What all data jobs have in common: the server, the file on the cluster and how to read it, the
/// columns asked for. Base of the parameters of each kind of job.
class VELTRIX_BIGDATA_API Parameters {
  public:
    Parameters() = default;
    Parameters(const Parameters&) = default;
    Parameters(Parameters&&) noexcept = default;
    Parameters& operator=(const Parameters&) = default;
    Parameters& operator=(Parameters&&) noexcept = default;
    virtual ~Parameters();

    /// Path or address of the file as the cluster knows it.
    [[nodiscard]] const WString& getFileLocation() const noexcept { return fileLocation_; }
    Parameters& setFileLocation(const WString& fileLocation);
    [[nodiscard]] const AWSCredentials& getAwsKeys() const noexcept { return awsKeys_; }
    Parameters& setAwsKeys(const AWSCredentials& awsKeys);
    [[nodiscard]] const SparkMasterSettings& getSparkSettings() const noexcept {
        return sparkSettings_;
    }
    Parameters& setSparkSettings(const SparkMasterSettings& sparkSettings);
    /// Whether the file is Parquet rather than delimited text.
    [[nodiscard]] bool getIsParquet() const noexcept { return isParquet_; }
    Parameters& setIsParquet(bool isParquet);
    /// Whether the first line of delimited text holds the column names.
    [[nodiscard]] bool getCsvHasHeader() const noexcept { return csvHasHeader_; }
    Parameters& setCsvHasHeader(bool csvHasHeader);
    [[nodiscard]] const WString& getCsvDelimiter() const noexcept { return csvDelimiter_; }
    Parameters& setCsvDelimiter(const WString& csvDelimiter);
    /// The job whose results `getResults` fetches.
    [[nodiscard]] const WString& getJobID() const noexcept { return jobID_; }
    Parameters& setJobID(const WString& jobID);
    /// How the caller means to submit the job; kept for it, as `runSync` and `runAsync` say
    /// themselves what they do.
    [[nodiscard]] bool getIsAsyncSubmission() const noexcept { return isAsyncSubmission_; }
    Parameters& setIsAsyncSubmission(bool isAsyncSubmission);
    /// Kept for the caller likewise.
    [[nodiscard]] bool getIsRetrievingJobResults() const noexcept {
        return isRetrievingJobResults_;
    }
    Parameters& setIsRetrievingJobResults(bool isRetrievingJobResults);
    [[nodiscard]] const StringVector& getSelectedVars() const noexcept { return selectedVars_; }
    Parameters& setSelectedVars(const StringVector& selectedVars);
    [[nodiscard]] bool getCorvalaCluster() const noexcept { return isCorvalaCluster_; }
    Parameters& setCorvalaCluster(bool isCorvalaCluster);

  private:
    WString fileLocation_;
    AWSCredentials awsKeys_;
    SparkMasterSettings sparkSettings_;
    bool isParquet_ = false;
    bool csvHasHeader_ = false;
    WString csvDelimiter_;
    WString jobID_;
    bool isAsyncSubmission_ = false;
    bool isRetrievingJobResults_ = false;
    StringVector selectedVars_;
    bool isCorvalaCluster_ = false;
};

}  // namespace BigData
