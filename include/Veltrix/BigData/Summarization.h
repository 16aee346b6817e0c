#pragma once

#include <cstdint>

#include "Veltrix/BigData/Parameters.h"
#include "Veltrix/BigData/Results.h"
#include "Veltrix/BigData/Submission.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

/// Summaries of columns of a file on the cluster, by groups of its rows.
namespace BigData::Summarization {

/// Application of the server that summarises.
inline constexpr const wchar_t* kClassPath =
    L"quorvan.spark.summarization.SummarizationApplication";
inline constexpr const wchar_t* kDisplayName = L"Data Summarization";

/// What the values of a group become.
enum class Aggregation : std::int32_t {
    Sum = 1,
    Mean = 2,
    Minimum = 3,
    Maximum = 4,
    StandardDeviation = 5,
    Count = 6
};

class VELTRIX_BIGDATA_API Parameters : public BigData::Parameters {
  public:
    Parameters() = default;
    Parameters(const Parameters&) = default;
    Parameters(Parameters&&) noexcept = default;
    Parameters& operator=(const Parameters&) = default;
    Parameters& operator=(Parameters&&) noexcept = default;
    ~Parameters() override;

    /// Whether the number of rows of each group is wanted.
    [[nodiscard]] bool getComputeCounts() const noexcept { return computeCounts_; }
    Parameters& setComputeCounts(bool computeCounts);
    [[nodiscard]] bool getComputeSummaryStats() const noexcept { return computeSummaryStats_; }
    Parameters& setComputeSummaryStats(bool computeSummaryStats);
    /// Columns whose values make the groups; none for one group of all rows.
    [[nodiscard]] const StringVector& getGroupVars() const noexcept { return groupVars_; }
    Parameters& setGroupVars(const StringVector& groupVars);
    /// Code of an `Aggregation`.
    [[nodiscard]] std::int32_t getAggType() const noexcept { return aggType_; }
    Parameters& setAggType(std::int32_t aggType);
    Parameters& setAggType(Aggregation aggregation);

  private:
    bool computeCounts_ = false;
    bool computeSummaryStats_ = false;
    StringVector groupVars_;
    std::int32_t aggType_ = static_cast<std::int32_t>(Aggregation::Sum);
};

/// The request as the server echoes it.
struct JobConfig {
    WString delimiters;
    WString fileLocation;
    std::int64_t aggType = 0;
    bool computeCounts = false;
    StringVector groupVars;
    bool isCorvalaCluster = false;
    bool isHeader = false;
    bool isParquet = false;
};

class VELTRIX_BIGDATA_API Results : public BigData::Results {
  public:
    Results() = default;
    Results(const Results&) = default;
    Results(Results&&) noexcept = default;
    Results& operator=(const Results&) = default;
    Results& operator=(Results&&) noexcept = default;
    ~Results() override;

    /// Rows of each group: a numeric column "Count" in the order of the rows of `getData`, or the
    /// server's own rows (columns "column1", …) where it sends a table. Empty without counts.
    [[nodiscard]] const DataFrame& getCounts() const noexcept { return counts_; }
    Results& setCounts(DataFrame counts);
    [[nodiscard]] const JobConfig& getJobConfig() const noexcept { return jobConfig_; }
    Results& setJobConfig(JobConfig jobConfig);

  private:
    DataFrame counts_;
    JobConfig jobConfig_;
};

/// Submits the job and waits for the summary. Throws as `Sampling::runSync`; an aggregation code
/// outside 1 to 6 is a `Veltrix::Exception`, groups that are too many
/// `BDSummarizationTooManyDistinct`. No column needs to be selected where only the counts of groups
/// are wanted.
[[nodiscard]] VELTRIX_BIGDATA_API Results runSync(const Parameters& parameters);

/// Submits the job and does not wait for it.
[[nodiscard]] VELTRIX_BIGDATA_API JobSubmissionResult runAsync(const Parameters& parameters);

/// The summary of the job that the parameters name; throws as `Sampling::getResults`, and
/// `BDSummarizationTooManyDistinct`.
[[nodiscard]] VELTRIX_BIGDATA_API Results getResults(const Parameters& parameters);

}  // namespace BigData::Summarization
