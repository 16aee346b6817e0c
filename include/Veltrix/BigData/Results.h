#pragma once

#include <cstdint>

#include "Veltrix/BigData/Settings.h"
#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace BigData {

using Veltrix::DataFrame;

/// What the replies of sampling and summarisation jobs have in common: run statistics, the columns'
/// descriptions and the rows.
class VELTRIX_BIGDATA_API Results {
  public:
    Results() = default;
    Results(const Results&) = default;
    Results(Results&&) noexcept = default;
    Results& operator=(const Results&) = default;
    Results& operator=(Results&&) noexcept = default;
    virtual ~Results();

    /// Seconds that the cluster says it took.
    [[nodiscard]] double getClusterTime() const noexcept { return clusterTime_; }
    Results& setClusterTime(double seconds);
    /// Rows and columns of the result, and of the file.
    [[nodiscard]] std::int64_t getNumRows() const noexcept { return numRows_; }
    Results& setNumRows(std::int64_t numRows);
    [[nodiscard]] std::int64_t getNumRowsTotal() const noexcept { return numRowsTotal_; }
    Results& setNumRowsTotal(std::int64_t numRowsTotal);
    [[nodiscard]] std::int64_t getNumCols() const noexcept { return numCols_; }
    Results& setNumCols(std::int64_t numCols);
    [[nodiscard]] std::int64_t getNumColsTotal() const noexcept { return numColsTotal_; }
    Results& setNumColsTotal(std::int64_t numColsTotal);
    [[nodiscard]] std::int64_t getNumTotalCores() const noexcept { return numTotalCores_; }
    Results& setNumTotalCores(std::int64_t numTotalCores);
    [[nodiscard]] const WString& getSparkMaster() const noexcept { return sparkMaster_; }
    Results& setSparkMaster(const WString& sparkMaster);

    /// Text columns "Column" and "Type", a row for each column of the rows; types that the server
    /// does not tell are empty.
    [[nodiscard]] const DataFrame& getSchema() const noexcept { return schema_; }
    Results& setSchema(DataFrame schema);
    /// The same for all columns of the file.
    [[nodiscard]] const DataFrame& getSchemaFull() const noexcept { return schemaFull_; }
    Results& setSchemaFull(DataFrame schemaFull);

    /// The rows. A column is numeric when the schema names a type of numbers for it; where it names
    /// none, when every cell converts to a number and not all are missing; otherwise text. Missing
    /// cells are NaN or empty texts. Cells of a text column that were no texts on the way are their
    /// JSON texts. Columns without a name in the schema are called "column1", "column2", … by
    /// place; row identifiers that come before the described columns are called "Row ID".
    [[nodiscard]] const DataFrame& getData() const noexcept { return data_; }
    Results& setData(DataFrame data);

  private:
    double clusterTime_ = 0.0;
    std::int64_t numRows_ = 0;
    std::int64_t numRowsTotal_ = 0;
    std::int64_t numCols_ = 0;
    std::int64_t numColsTotal_ = 0;
    std::int64_t numTotalCores_ = 0;
    WString sparkMaster_;
    DataFrame schema_;
    DataFrame schemaFull_;
    DataFrame data_;
};

}  // namespace BigData
