#pragma once

#include <cstdint>
#include <optional>

#include "Veltrix/BigData/Parameters.h"
#include "Veltrix/BigData/Results.h"
#include "Veltrix/BigData/Submission.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

/// Random samples of the rows of a file on the cluster.
namespace BigData::Sampling {

/// Application of the server that draws samples.
inline constexpr const wchar_t* kClassPath = L"quorvan.spark.sampling.SamplingApplication";
/// Applications that drew samples on older servers: by number of rows and by fraction. Named here
/// for those who meet them in the status of a job; nothing submits to them.
inline constexpr const wchar_t* kLegacyNumberClassPath =
    L"quorvan.spark.legacy.SamplingNumberApplication";
inline constexpr const wchar_t* kLegacyFractionClassPath =
    L"quorvan.spark.legacy.SamplingFractionApplication";
inline constexpr const wchar_t* kDisplayName = L"Data Sampling";

class VELTRIX_BIGDATA_API Parameters : public BigData::Parameters {
  public:
    Parameters() = default;
    Parameters(const Parameters&) = default;
    Parameters(Parameters&&) noexcept = default;
    Parameters& operator=(const Parameters&) = default;
    Parameters& operator=(Parameters&&) noexcept = default;
    ~Parameters() override;

    /// Whether the rows of the sample carry their place in the file.
    [[nodiscard]] bool getTrackRowID() const noexcept { return trackRowID_; }
    Parameters& setTrackRowID(bool trackRowID);
    [[nodiscard]] bool getIsSampleWithReplacement() const noexcept {
        return isSampleWithReplacement_;
    }
    Parameters& setIsSampleWithReplacement(bool isSampleWithReplacement);
    /// Whether exactly `sampleSize` rows are drawn rather than about `sampleFraction` of them.
    [[nodiscard]] bool getUseSampleSize() const noexcept { return useSampleSize_; }
    Parameters& setUseSampleSize(bool useSampleSize);
    [[nodiscard]] std::int32_t getRandomSeed() const noexcept { return randomSeed_; }
    Parameters& setRandomSeed(std::int32_t randomSeed);
    /// Not negative.
    [[nodiscard]] std::int32_t getSampleSize() const noexcept { return sampleSize_; }
    Parameters& setSampleSize(std::int32_t sampleSize);
    /// From 0 to 1; any finite number from 0 on with replacement.
    [[nodiscard]] double getSampleFraction() const noexcept { return sampleFraction_; }
    Parameters& setSampleFraction(double sampleFraction);

  private:
    bool trackRowID_ = false;
    bool isSampleWithReplacement_ = false;
    bool useSampleSize_ = false;
    std::int32_t randomSeed_ = 0;
    std::int32_t sampleSize_ = 0;
    double sampleFraction_ = 0.0;
};

/// The request as the server echoes it. It names either the fraction or the size.
struct JobConfig {
    WString delimiters;
    WString fileLocation;
    bool isCorvalaCluster = false;
    bool isApproximateSampling = false;
    bool isHeader = false;
    bool isSampleWithReplacement = false;
    bool isParquet = false;
    std::int64_t randomSeed = 0;
    std::optional<double> sampleFraction;
    std::optional<std::int64_t> sampleSize;
};

class VELTRIX_BIGDATA_API Results : public BigData::Results {
  public:
    Results() = default;
    Results(const Results&) = default;
    Results(Results&&) noexcept = default;
    Results& operator=(const Results&) = default;
    Results& operator=(Results&&) noexcept = default;
    ~Results() override;

    [[nodiscard]] bool getTrackRowID() const noexcept { return trackRowID_; }
    Results& setTrackRowID(bool trackRowID);
    [[nodiscard]] const JobConfig& getJobConfig() const noexcept { return jobConfig_; }
    Results& setJobConfig(JobConfig jobConfig);

  private:
    bool trackRowID_ = false;
    JobConfig jobConfig_;
};

/// Submits the job and waits for its rows. Throws `Veltrix::Exception` before anything is sent for
/// a fraction or size out of range and when no column is selected; `BDUriError` for a host or port
/// that is none; the failures of the Spark context (see `ContextCheck::run`); `BDHttpError`,
/// `BDParsingError` and `BDUnexpectedError` for the exchange; `BDJobNotCompleted` when the reply
/// has another status than "OK". Under a `Veltrix::ProgressScope` the wait can be cancelled.
[[nodiscard]] VELTRIX_BIGDATA_API Results runSync(const Parameters& parameters);

/// Submits the job and does not wait for it. Throws as `runSync`, but for `BDJobNotCompleted`.
[[nodiscard]] VELTRIX_BIGDATA_API JobSubmissionResult runAsync(const Parameters& parameters);

/// The rows of the job that the parameters name. Throws `BDUriError` for an identifier that is
/// empty or holds "/", "?", "#" or anything but printable ASCII; `BDResultsNotAvailable` when the
/// server does not hold them; `BDJobNotCompleted` when the job still runs or failed; for the rest
/// as `runSync`.
[[nodiscard]] VELTRIX_BIGDATA_API Results getResults(const Parameters& parameters);

}  // namespace BigData::Sampling
