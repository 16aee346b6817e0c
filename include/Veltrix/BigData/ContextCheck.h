#pragma once

#include "Veltrix/BigData/Settings.h"
#include "Veltrix/Export.h"

/// The Spark context in which jobs run.
namespace BigData::ContextCheck {

class VELTRIX_BIGDATA_API Parameters {
  public:
    [[nodiscard]] const SparkMasterSettings& getSparkSettings() const noexcept {
        return sparkSettings_;
    }
    Parameters& setSparkSettings(const SparkMasterSettings& sparkSettings);

  private:
    SparkMasterSettings sparkSettings_;
};

/// Makes sure that the configured context, and no other, runs: it is created on a server without
/// one, which may take a minute. Throws `BDIncorrectSparkApplication` for the one running context
/// when it is another, `BDMultipleSparkContexts` for several, `BDUriError`, `BDHttpError`,
/// `BDParsingError` and `BDUnexpectedError`.
VELTRIX_BIGDATA_API void run(const Parameters& parameters);

}  // namespace BigData::ContextCheck
