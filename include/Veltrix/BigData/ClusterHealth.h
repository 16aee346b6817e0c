#pragma once

#include <cstdint>

#include "Veltrix/BigData/Settings.h"
#include "Veltrix/BigData/Submission.h"
#include "Veltrix/Export.h"

/// Whether the cluster answers.
namespace BigData::ClusterHealth {

class VELTRIX_BIGDATA_API Parameters {
  public:
    [[nodiscard]] const SparkMasterSettings& getSparkSettings() const noexcept {
        return sparkSettings_;
    }
    Parameters& setSparkSettings(const SparkMasterSettings& sparkSettings);

  private:
    SparkMasterSettings sparkSettings_;
};

class VELTRIX_BIGDATA_API Results {
  public:
    /// Whether a reply with a status of 2xx came.
    [[nodiscard]] bool isHealthy() const noexcept { return status_ >= 200 && status_ < 300; }
    /// Whether any reply came.
    [[nodiscard]] bool getAnswered() const noexcept { return status_ != 0; }
    /// The status code of the reply, 0 without one.
    [[nodiscard]] std::int32_t getStatus() const noexcept { return status_; }
    Results& setStatus(std::int32_t status);
    /// What the exchange took.
    [[nodiscard]] const Duration& getDuration() const noexcept { return duration_; }
    Results& setDuration(const Duration& duration);
    /// Why no reply came; empty when one did.
    [[nodiscard]] const WString& getDetails() const noexcept { return details_; }
    Results& setDetails(const WString& details);

  private:
    std::int32_t status_ = 0;
    Duration duration_;
    WString details_;
};

/// Asks the server for a sign of life. That none comes is a result, not a failure; throws
/// `BDUriError` for a host or port that is none, and `BDUnexpectedError`.
[[nodiscard]] VELTRIX_BIGDATA_API Results run(const Parameters& parameters);

}  // namespace BigData::ClusterHealth
