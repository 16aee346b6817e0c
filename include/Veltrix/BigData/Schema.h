#pragma once

#include "Veltrix/BigData/Parameters.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Export.h"

/// The columns of a file on the cluster.
namespace BigData::Schema {

/// Application of the server that looks into files.
inline constexpr const wchar_t* kClassPath = L"quorvan.spark.InferSchemaApplication";
inline constexpr const wchar_t* kDisplayName = L"Schema Inference";

class VELTRIX_BIGDATA_API Parameters : public BigData::Parameters {
  public:
    Parameters() = default;
    Parameters(const Parameters&) = default;
    Parameters(Parameters&&) noexcept = default;
    Parameters& operator=(const Parameters&) = default;
    Parameters& operator=(Parameters&&) noexcept = default;
    ~Parameters() override;
};

class VELTRIX_BIGDATA_API Results {
  public:
    /// Names of the columns in the order of the file.
    [[nodiscard]] const StringVector& getHeader() const noexcept { return header_; }
    Results& setHeader(const StringVector& header);
    /// Seconds that the cluster says it took.
    [[nodiscard]] double getExecutionTime() const noexcept { return executionTime_; }
    Results& setExecutionTime(double seconds);

  private:
    StringVector header_;
    double executionTime_ = 0.0;
};

/// Asks for the columns of the file and waits. Throws `BDUriError`, the failures of the Spark
/// context, `BDHttpError`, `BDParsingError` (also when the server reports a failure, which the
/// details tell) and `BDUnexpectedError`.
[[nodiscard]] VELTRIX_BIGDATA_API Results run(const Parameters& parameters);

}  // namespace BigData::Schema
