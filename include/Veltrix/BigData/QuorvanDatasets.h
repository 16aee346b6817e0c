#pragma once

#include "Veltrix/BigData/Settings.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Export.h"

/// The data sets that the cluster holds for optimisation models.
namespace BigData::QuorvanDatasets {

/// Application of the server that lists them.
inline constexpr const wchar_t* kClassPath = L"quorvan.spark.DataList";
inline constexpr const wchar_t* kDisplayName = L"Get Quorvan Datasets";

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
    /// The names in the server's order; an entry that is no text stands as its JSON text.
    [[nodiscard]] const Veltrix::StringVector& getDatasets() const noexcept { return datasets_; }
    Results& setDatasets(const Veltrix::StringVector& datasets);

  private:
    Veltrix::StringVector datasets_;
};

/// Asks for the list and waits. Throws as `Schema::run`.
[[nodiscard]] VELTRIX_BIGDATA_API Results run(const Parameters& parameters);

}  // namespace BigData::QuorvanDatasets
