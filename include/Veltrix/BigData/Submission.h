#pragma once

#include <cstdint>

#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace BigData {

using Veltrix::WString;

/// What the server said to a job that was handed in without waiting for it.
class VELTRIX_BIGDATA_API JobSubmissionResult {
  public:
    /// 0 once the server has answered "STARTED", else 1; identifier and context are empty then.
    [[nodiscard]] std::int32_t getStatus() const noexcept { return status_; }
    JobSubmissionResult& setStatus(std::int32_t status);
    [[nodiscard]] const WString& getJobID() const noexcept { return jobID_; }
    JobSubmissionResult& setJobID(const WString& jobID);
    [[nodiscard]] const WString& getContextName() const noexcept { return contextName_; }
    JobSubmissionResult& setContextName(const WString& contextName);

  private:
    std::int32_t status_ = 1;
    WString jobID_;
    WString contextName_;
};

/// A span of time: whole days, the whole milliseconds of the day that has begun, and the whole span
/// in seconds.
struct VELTRIX_BIGDATA_API Duration {
    std::int64_t days = 0;
    std::int64_t milliseconds = 0;
    double seconds = 0.0;

    /// The span of so many seconds; what is negative or not a number counts as none.
    [[nodiscard]] static Duration fromSeconds(double seconds);
};

/// The number that names this installation to the cluster, sent as "userID" with every data job: a
/// signed 32-bit integer, 0 when none is set or what is set is no such integer (an optional sign
/// and decimal digits).
///
/// On Windows it is the value "ID" of the registry key
/// `HKEY_LOCAL_MACHINE\SOFTWARE\CorvalaSystems\KivranePlatform\17.0`. Elsewhere it is the entry
/// `ID=` in the section of that name of a text file, `/etc/veltrix/registry.ini` unless the
/// environment variable `VELTRIX_REGISTRY` names another. Read anew at every call.
[[nodiscard]] VELTRIX_BIGDATA_API std::int32_t userIdentifier();

}  // namespace BigData
