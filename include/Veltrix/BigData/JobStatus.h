#pragma once

#include <cstdint>

#include "Veltrix/BigData/Settings.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

/// How far a submitted job is.
namespace BigData::JobStatus {

inline constexpr const wchar_t* kDisplayName = L"Big Data Job Status";

/// States of a job; the server's texts are compared as they stand.
enum class State : std::int32_t {
    Running = 1,   ///< "RUNNING"
    Other = 2,     ///< any other text
    Finished = 3,  ///< "FINISHED"
    Error = 4      ///< "ERROR"
};

class VELTRIX_BIGDATA_API Parameters {
  public:
    [[nodiscard]] const SparkMasterSettings& getSparkSettings() const noexcept {
        return sparkSettings_;
    }
    Parameters& setSparkSettings(const SparkMasterSettings& sparkSettings);
    [[nodiscard]] const WString& getJobID() const noexcept { return jobID_; }
    Parameters& setJobID(const WString& jobID);
    /// Whether the results of a finished job are to be fetched, so that the configuration with
    /// which it ran is asked for as well.
    [[nodiscard]] bool getIsRetrievingJobResults() const noexcept {
        return isRetrievingJobResults_;
    }
    Parameters& setIsRetrievingJobResults(bool isRetrievingJobResults);

  private:
    SparkMasterSettings sparkSettings_;
    WString jobID_;
    bool isRetrievingJobResults_ = false;
};

class VELTRIX_BIGDATA_API Results {
  public:
    /// Code of the `State`.
    [[nodiscard]] std::int32_t getState() const noexcept { return state_; }
    Results& setState(State state);
    /// The server's text ("6.341 secs", "Job not done yet"); empty for a job that failed, as is the
    /// class path.
    [[nodiscard]] const WString& getDuration() const noexcept { return duration_; }
    Results& setDuration(const WString& duration);
    /// The application that runs the job.
    [[nodiscard]] const WString& getClassPath() const noexcept { return classPath_; }
    Results& setClassPath(const WString& classPath);
    /// Whether the class path is that of the sampling application.
    [[nodiscard]] bool getIsExpectedApplication() const noexcept { return isExpected_; }
    Results& setIsExpectedApplication(bool isExpected);
    /// Why the job failed; empty for any other.
    [[nodiscard]] const WString& getErrorMessage() const noexcept { return errorMessage_; }
    Results& setErrorMessage(const WString& errorMessage);
    /// The configuration with which the job ran, as JSON text without the keys of the storage;
    /// empty unless it was asked for and the job is finished.
    [[nodiscard]] const WString& getJobConfig() const noexcept { return jobConfig_; }
    Results& setJobConfig(const WString& jobConfig);

  private:
    std::int32_t state_ = static_cast<std::int32_t>(State::Other);
    WString duration_;
    WString classPath_;
    bool isExpected_ = false;
    WString errorMessage_;
    WString jobConfig_;
};

/// Asks for the state of the job that the parameters name, after making sure of the Spark context
/// (see `ContextCheck::run`). Throws its failures; `BDUriError` also for an identifier that is
/// empty or holds "/", "?", "#" or anything but printable ASCII; `BDHttpError` also when the server
/// does not know the job.
[[nodiscard]] VELTRIX_BIGDATA_API Results run(const Parameters& parameters);

}  // namespace BigData::JobStatus
