#pragma once

#include <string>
#include <vector>

#include "Veltrix/Data/Matrix.h"
#include "tools/veltrix/host/Prepared.h"
#include "tools/veltrix/report/ReportBuilder.h"

namespace Veltrix::Tool {

/// "Cluster 1", "Cluster 2", …
std::vector<std::string> numbered(const std::string& text, int count);

/// Records group by group in the plane of two columns.
struct GroupChart {
    std::string table;                ///< of the points
    std::string title;                ///< of the chart
    std::vector<std::string> groups;  ///< their names
    Column labels;                    ///< the heading of the groups, and what each is called
};

/// Adds the chart of the first two columns of a matrix with a row for each record; a single one is
/// shown against the row numbers. Left out when there are more groups than a workbook can draw.
void addGroupChart(ReportBuilder& report, const GroupChart& chart, const PartData& records,
                   const IntVector& groupOf, const Matrix& columns,
                   const std::vector<std::string>& names);

}  // namespace Veltrix::Tool
